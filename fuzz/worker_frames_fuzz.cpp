// Frames as a child could send them: read to the end, never more than was sent, and what is a frame
// can be sent on.
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

#include "platform/worker_frames.h"

using namespace corvy::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kFitsIntoSocket = 64 << 10;
    size = std::min(size, kFitsIntoSocket);
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0) return 0;
    const corvy::Descriptor reading(ends[0]);
    corvy::Descriptor writing(ends[1]);
    if (::send(writing.get(), data, size, 0) != static_cast<ssize_t>(size)) return 0;
    writing.reset();

    FrameReader reader(reading.get(), std::uint64_t{1} << 20);
    Frame frame;
    FrameState state = FrameState::ready;
    while ((state = reader.read(frame)) == FrameState::ready) {
        if (!FrameWriter::of(frame.kind, frame.value)) std::abort();
    }
    if (state != FrameState::closed || reader.received() > size) std::abort();
    return 0;
}
