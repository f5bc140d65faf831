// What travels between a pool and the processes of a worker program.
//
// A pool and the warm process of a program share a control socket (SOCK_SEQPACKET, one message a
// packet). Each operation has a channel of its own (SOCK_STREAM), on which frames go both ways.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/descriptor.h"
#include "foundation/property_list.h"
#include "platform/isolation.h"

namespace corvy::platform {

// How a pool starts a program; the folder for temporary files and the subject follow.
inline constexpr std::string_view kServe = "--serve";
inline constexpr std::string_view kServeWithNetwork = "--serve-with-network";
// The control socket of a program that was started by a pool.
inline constexpr int kControlDescriptor = 3;

enum class ControlKind : std::uint32_t {
    start = 1,      // to the program: fork a child for this operation; its channel comes along
    end,            // to the program: kill what is left of it
    endAndConfirm,  // the same, and tell when it is gone
    confirmed,      // to the pool
};

struct ControlMessage {
    ControlKind kind = ControlKind::end;
    std::uint64_t operation = 0;
    WorkerLimits limits;
};

// Without waiting; false when the other end is gone or takes no more.
bool sendControl(int socket, const ControlMessage& message, int channel = -1);
struct ReceivedControl {
    ControlMessage message;
    Descriptor channel;
};
// Waits; none at the end of the socket or for a packet that is no message.
std::optional<ReceivedControl> receiveControl(int socket);

enum class FrameKind : std::uint8_t {
    began = 1,  // null placeholder; the first frame of each child
    request,    // array: operation, arguments
    part,
    question,
    answer,
    result,
};

struct Frame {
    FrameKind kind = FrameKind::began;
    PropertyList value;
};

enum class FrameState {
    ready,
    wouldBlock,  // wait until the socket can be read or written, then go on
    closed,      // the other end is gone, or what it sent is no frame
};

// One frame on its way out.
class FrameWriter {
public:
    // None when the value is beyond the bounds of the codec.
    static std::optional<FrameWriter> of(FrameKind kind, const PropertyList& value);
    // Sends as much as can be sent without waiting; ready when all is sent.
    FrameState write(int socket);

private:
    FrameWriter() = default;

    std::vector<std::byte> bytes_;
    std::vector<Descriptor> files_;
    std::size_t sent_ = 0;
};

// The frames that come in on one channel.
class FrameReader {
public:
    // `budget` bounds what all frames together may cost the receiver, in bytes.
    FrameReader(int socket, std::uint64_t budget) : socket_(socket), budget_(budget) {}
    // Takes what has come, without waiting; ready when a frame is complete.
    FrameState read(Frame& frame);
    // The bytes that were taken from the socket so far.
    std::uint64_t received() const { return received_; }

private:
    bool receive(std::byte* target, std::size_t size, FrameState& state);
    FrameState finish(Frame& frame);
    bool charge(std::uint64_t bytes);

    int socket_;
    std::uint64_t budget_;
    std::uint64_t received_ = 0;
    std::vector<std::byte> bytes_;  // header and tree, as far as they have come
    std::vector<Descriptor> files_;
};

}  // namespace corvy::platform
