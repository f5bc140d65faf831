#include "platform/worker_frames.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <type_traits>

#include "platform/property_list_codec.h"
#include "platform/sealed_memory.h"

namespace corvy::platform {

namespace {

constexpr std::uint32_t kMagic = 0x31575643;  // "CVW1"
// Trees beyond this lie in a memory file of their own, the first of the frame.
constexpr std::size_t kMaxInlineTree = kFileFrom;
constexpr std::size_t kMaxFiles = kMaxCodedFiles + 1;
constexpr std::size_t kReadStep = std::size_t{64} << 10;
// What a decoded value costs beside its bytes.
constexpr std::uint64_t kValueCost = 128;

struct Header {
    std::uint32_t magic = kMagic;
    FrameKind kind = FrameKind::began;
    std::uint8_t fileCount = 0;
    std::uint8_t treeInFile = 0;
    std::uint8_t unused = 0;
    std::uint64_t treeSize = 0;
};
static_assert(sizeof(Header) == 16 && std::is_trivially_copyable_v<Header>);
static_assert(std::is_trivially_copyable_v<ControlMessage>);

// Room for descriptors beside a message.
struct Ancillary {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(kMaxFiles * sizeof(int))> room;
};

void attach(msghdr& message, Ancillary& ancillary, std::span<const int> descriptors) {
    if (descriptors.empty()) return;
    ancillary.room.fill(0);
    message.msg_control = ancillary.room.data();
    message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
    std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
}

// Takes the descriptors of a received message over. False when there were more than there is room
// for.
bool detach(msghdr& message, std::vector<Descriptor>& descriptors) {
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(header) + i * sizeof(int), sizeof number);
            descriptors.emplace_back(number);
        }
    }
    return (message.msg_flags & MSG_CTRUNC) == 0;
}

}  // namespace

bool sendControl(int socket, const ControlMessage& message, int channel) {
    ControlMessage copy = message;
    iovec piece{&copy, sizeof copy};
    msghdr packet{};
    packet.msg_iov = &piece;
    packet.msg_iovlen = 1;
    Ancillary ancillary;
    if (channel >= 0) attach(packet, ancillary, {&channel, 1});
    ssize_t sent = 0;
    do {
        sent = ::sendmsg(socket, &packet, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent == sizeof copy;
}

std::optional<ReceivedControl> receiveControl(int socket) {
    ReceivedControl result;
    iovec piece{&result.message, sizeof result.message};
    msghdr packet{};
    packet.msg_iov = &piece;
    packet.msg_iovlen = 1;
    Ancillary ancillary;
    packet.msg_control = ancillary.room.data();
    packet.msg_controllen = ancillary.room.size();
    ssize_t size = 0;
    do {
        size = ::recvmsg(socket, &packet, MSG_CMSG_CLOEXEC);
    } while (size < 0 && errno == EINTR);
    if (size < 0) return std::nullopt;
    std::vector<Descriptor> descriptors;
    if (!detach(packet, descriptors) || size != sizeof result.message) return std::nullopt;
    if (!descriptors.empty()) result.channel = std::move(descriptors.front());
    return result;
}

std::optional<FrameWriter> FrameWriter::of(FrameKind kind, const PropertyList& value) {
    auto coded = codedPropertyList(value);
    if (!coded) return std::nullopt;
    FrameWriter writer;
    Header header;
    header.kind = kind;
    header.treeSize = coded->tree.size();
    writer.files_ = std::move(coded->files);
    if (coded->tree.size() > kMaxInlineTree) {
        Descriptor file = sealedMemoryOf(coded->tree);
        if (!file) return std::nullopt;
        writer.files_.insert(writer.files_.begin(), std::move(file));
        header.treeInFile = 1;
        coded->tree.clear();
    }
    header.fileCount = static_cast<std::uint8_t>(writer.files_.size());
    const auto start = std::as_bytes(std::span(&header, 1));
    writer.bytes_.reserve(start.size() + coded->tree.size());
    writer.bytes_.assign(start.begin(), start.end());
    writer.bytes_.insert(writer.bytes_.end(), coded->tree.begin(), coded->tree.end());
    return writer;
}

FrameState FrameWriter::write(int socket) {
    while (sent_ < bytes_.size()) {
        iovec piece{bytes_.data() + sent_, bytes_.size() - sent_};
        msghdr message{};
        message.msg_iov = &piece;
        message.msg_iovlen = 1;
        Ancillary ancillary;
        std::array<int, kMaxFiles> numbers{};
        std::transform(files_.begin(), files_.end(), numbers.begin(),
                       [](const Descriptor& file) { return file.get(); });
        attach(message, ancillary, std::span(numbers).first(files_.size()));
        const ssize_t size = ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0 && errno == EAGAIN) return FrameState::wouldBlock;
        if (size <= 0) return FrameState::closed;
        sent_ += static_cast<std::size_t>(size);
        files_.clear();  // they went with the first byte
    }
    return FrameState::ready;
}

bool FrameReader::charge(std::uint64_t bytes) {
    if (bytes > budget_) return false;
    budget_ -= bytes;
    return true;
}

// True when something has come; else the state says why not.
bool FrameReader::receive(std::byte* target, std::size_t size, FrameState& state) {
    iovec piece{target, size};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    Ancillary ancillary;
    message.msg_control = ancillary.room.data();
    message.msg_controllen = ancillary.room.size();
    ssize_t taken = 0;
    do {
        taken = ::recvmsg(socket_, &message, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
    } while (taken < 0 && errno == EINTR);
    state = taken < 0 && errno == EAGAIN ? FrameState::wouldBlock : FrameState::closed;
    if (taken <= 0 || !detach(message, files_) || files_.size() > kMaxFiles) {
        bytes_.resize(bytes_.size() - size);
        return false;
    }
    received_ += static_cast<std::uint64_t>(taken);
    bytes_.resize(bytes_.size() - size + static_cast<std::size_t>(taken));
    return true;
}

FrameState FrameReader::read(Frame& frame) {
    FrameState state = FrameState::closed;
    for (;;) {
        std::size_t wanted = sizeof(Header);
        if (bytes_.size() >= sizeof(Header)) {
            Header header;
            std::memcpy(&header, bytes_.data(), sizeof header);
            if (header.magic != kMagic) return FrameState::closed;
            if (header.treeInFile == 0) {
                if (header.treeSize > kMaxInlineTree) return FrameState::closed;
                wanted += header.treeSize;
            }
        }
        if (bytes_.size() >= sizeof(Header) && bytes_.size() == wanted) return finish(frame);
        // The buffer grows with what comes, not with what was announced.
        const std::size_t before = bytes_.size();
        const std::size_t step = std::min(wanted - before, kReadStep);
        bytes_.resize(before + step);
        if (!receive(bytes_.data() + before, step, state)) return state;
    }
}

FrameState FrameReader::finish(Frame& frame) {
    Header header;
    std::memcpy(&header, bytes_.data(), sizeof header);
    std::vector<Descriptor> files = std::exchange(files_, {});
    if (files.size() != header.fileCount || !charge(header.treeSize)) return FrameState::closed;

    Bytes mapped;
    std::span<const std::byte> tree = std::span(bytes_).subspan(sizeof(Header));
    if (header.treeInFile != 0) {
        if (files.empty() || header.treeSize > kMaxCodedSize) return FrameState::closed;
        auto bytes = bytesOfSealedMemory(std::move(files.front()), header.treeSize);
        if (!bytes) return FrameState::closed;
        files.erase(files.begin());
        mapped = std::move(*bytes);
        tree = mapped;
    }
    // Each file is charged as a large one, so that many small ones do not use up the mappings.
    if (!charge(files.size() * kFileFrom)) return FrameState::closed;
    auto decoded = decodedPropertyList(tree, std::move(files));
    if (!decoded || !charge(decoded->fileBytes) || !charge(decoded->values * kValueCost)) {
        return FrameState::closed;
    }
    bytes_.clear();
    frame.kind = header.kind;
    frame.value = std::move(decoded->value);
    return FrameState::ready;
}

}  // namespace corvy::platform
