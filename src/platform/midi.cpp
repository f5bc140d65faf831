#include "platform/midi.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/big_endian.h"

namespace corvy::platform {

namespace {

using ByteSpan = std::span<const std::byte>;

constexpr std::size_t kChunkHeader = 8;  // name and length
constexpr std::size_t kFileHeader = 6;   // format, tracks, division
constexpr std::size_t kRiffHeader = 12;  // "RIFF", length, "RMID"
constexpr std::uint16_t kPatterns = 2;   // format of independent tracks
constexpr double kDefaultTempo = 0.5;    // seconds for a quarter note
constexpr double kMicrosecond = 0.000001;

bool hasNameAt(ByteSpan bytes, std::size_t at, std::string_view name) {
    if (at > bytes.size() || bytes.size() - at < name.size()) return false;
    return std::ranges::equal(bytes.subspan(at, name.size()), std::as_bytes(std::span(name)));
}

// Where the MIDI file proper begins.
std::size_t startOf(ByteSpan bytes) {
    if (!hasNameAt(bytes, 0, "RIFF") || !hasNameAt(bytes, 8, "RMID")) return 0;
    return hasNameAt(bytes, kRiffHeader, "data") ? kRiffHeader + kChunkHeader : 0;
}

// From a tick on, a tick takes so long.
struct Tempo {
    std::uint64_t tick;
    double quarter;  // seconds
};

// What counts of one track, or of several that sound together.
struct Score {
    std::uint64_t ticks = 0;
    std::vector<Tempo> tempi;
};

// Reads the events of one track.
class TrackReader {
public:
    TrackReader(ByteSpan track, Score& score) : track_(track), score_(score) {}

    void read() {
        while (!isDone_ && readEvent()) {
        }
        score_.ticks = std::max(score_.ticks, tick_);
    }

private:
    // False at the end, and where the bytes are no event.
    bool readEvent() {
        std::uint64_t delta = 0;
        if (!readNumber(delta) || at_ >= track_.size()) return false;
        tick_ += delta;
        auto status = std::to_integer<std::uint8_t>(track_[at_]);
        if (status >= 0x80) {
            ++at_;
        } else {
            status = running_;
        }
        if (status == 0xFF) return readMeta();
        if (status == 0xF0 || status == 0xF7) {
            std::uint64_t length = 0;
            return readNumber(length) && skip(length);
        }
        if (status < 0x80 || status > 0xF0) return false;
        running_ = status;
        const bool hasOneByte = (status & 0xF0) == 0xC0 || (status & 0xF0) == 0xD0;
        return skip(hasOneByte ? 1 : 2);
    }

    bool readMeta() {
        constexpr std::uint8_t kEndOfTrack = 0x2F;
        constexpr std::uint8_t kTempo = 0x51;
        if (at_ >= track_.size()) return false;
        const auto type = std::to_integer<std::uint8_t>(track_[at_++]);
        std::uint64_t length = 0;
        if (!readNumber(length) || length > track_.size() - at_) return false;
        if (type == kTempo && length == 3) {
            const auto quarter = static_cast<double>(bigEndianAt(track_, at_, 3));
            score_.tempi.push_back({tick_, quarter * kMicrosecond});
        }
        isDone_ = type == kEndOfTrack;
        return skip(length);
    }

    // Groups of seven bits, four at most, the first the most significant.
    bool readNumber(std::uint64_t& number) {
        number = 0;
        for (int i = 0; i < 4; ++i) {
            if (at_ >= track_.size()) return false;
            const auto byte = std::to_integer<std::uint8_t>(track_[at_++]);
            number = number << 7 | (byte & 0x7F);
            if (byte < 0x80) return true;
        }
        return false;
    }

    bool skip(std::uint64_t length) {
        if (length > track_.size() - at_) return false;
        at_ += length;
        return true;
    }

    ByteSpan track_;
    Score& score_;
    std::size_t at_ = 0;
    std::uint64_t tick_ = 0;
    std::uint8_t running_ = 0;
    bool isDone_ = false;
};

double secondsOf(Score score, std::uint16_t division) {
    constexpr std::uint16_t kByFrames = 0x8000;
    if ((division & kByFrames) != 0) {
        // The upper byte is the negative number of frames a second; 29 stands for the 29.97 of
        // colour television.
        const int frames = 256 - (division >> 8);
        const int ticks = division & 0xFF;
        const double rate = frames == 29 ? 30000.0 / 1001 : frames;
        return ticks == 0 ? 0 : static_cast<double>(score.ticks) / (rate * ticks);
    }
    if (division == 0) return 0;
    std::ranges::stable_sort(score.tempi, {}, &Tempo::tick);
    double seconds = 0;
    Tempo current{0, kDefaultTempo};
    const auto advance = [&](std::uint64_t tick) {
        seconds += static_cast<double>(tick - current.tick) * current.quarter / division;
    };
    for (const Tempo& tempo : score.tempi) {
        if (tempo.tick >= score.ticks) break;
        advance(tempo.tick);
        current = tempo;
    }
    advance(score.ticks);
    return seconds;
}

}  // namespace

bool hasMidiSignature(ByteSpan head) {
    return hasNameAt(head, startOf(head), "MThd");
}

std::optional<double> midiDuration(ByteSpan file) {
    std::size_t at = startOf(file);
    if (!hasNameAt(file, at, "MThd") || file.size() - at < kChunkHeader + kFileHeader) {
        return std::nullopt;
    }
    const auto number = [file, at](std::size_t offset) {
        return static_cast<std::uint16_t>(bigEndianAt(file, at + kChunkHeader + offset, 2));
    };
    const std::uint16_t format = number(0);
    const std::uint16_t division = number(4);
    double seconds = 0;
    Score score;
    while (file.size() - at >= kChunkHeader) {
        const std::uint64_t length = bigEndianAt(file, at + 4, 4);
        const bool isTrack = hasNameAt(file, at, "MTrk");
        at += kChunkHeader;
        const std::size_t held = std::min<std::uint64_t>(length, file.size() - at);
        if (isTrack) TrackReader(file.subspan(at, held), score).read();
        if (isTrack && format == kPatterns) {
            seconds += secondsOf(std::move(score), division);
            score = {};
        }
        at += held;
    }
    return seconds + secondsOf(std::move(score), division);
}

}  // namespace corvy::platform
