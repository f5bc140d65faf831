#include "platform/midi.h"

#include <string_view>

namespace corvy::platform {
namespace {

using namespace std::string_literals;

// A file of tracks, all of them with a right length; 96 ticks to a quarter note unless told.
std::string midi(std::initializer_list<std::string> tracks, char format = 1,
                 const std::string& division = "\0\x60"s) {
    std::string file =
        "MThd\0\0\0\6\0"s + format + '\0' + static_cast<char>(tracks.size()) + division;
    for (const std::string& track : tracks) {
        file += "MTrk\0\0"s + static_cast<char>(track.size() >> 8) +
                static_cast<char>(track.size() & 0xFF) + track;
    }
    return file;
}

std::optional<double> durationOf(const std::string& file) {
    return midiDuration(std::as_bytes(std::span(file)));
}

const std::string kEnd = "\0\xFF\x2F\0"s;
// Two quarter notes: note on, note off after 0x81 0x40 = 192 ticks.
const std::string kTwoQuarters = "\0\x90\x40\x40\x81\x40\x80\x40\0"s + kEnd;

TEST(Midi, CountsTicksByTheTempo) {
    struct Case {
        const char* name;
        std::string file;
        double seconds;
    };
    const Case cases[] = {
        {"half a second a quarter by default", midi({kTwoQuarters}), 1},
        {"the longest track counts", midi({kTwoQuarters, "\x60\xFF\x2F\0"s}), 1},
        // One quarter of 1,000,000 us, then one of 250,000.
        {"the tempo of one track holds in all",
         midi({"\0\xFF\x51\3\x0F\x42\x40\x60\xFF\x51\3\3\xD0\x90"s + kEnd, kTwoQuarters}), 1.25},
        {"patterns one after the other, each with its tempo",
         midi({"\0\xFF\x51\3\x0F\x42\x40"s + kTwoQuarters, kTwoQuarters}, 2), 3},
        {"running status, and messages of one byte",
         midi({"\0\x90\x40\x40\x30\x40\0\x30\xC0\1\x60\2"s + kEnd}), 1},
        {"system messages are skipped", midi({"\0\xF0\3\x90\x40\xF7\x60\xF7\1\0"s + kEnd}), 0.5},
        // 25 frames of 40 ticks: 1000 ticks a second; 0x83 0x74 = 500.
        {"frames of a film", midi({"\x83\x74\xFF\x2F\0"s}, 1, "\xE7\x28"), 0.5},
        {"29 stands for 29.97", midi({"\x83\x74\xFF\x2F\0"s}, 1, "\xE3\x0A"), 500 / 299.7003},
        {"what follows the end does not count", midi({"\x60\xFF\x2F\0"s + kTwoQuarters}), 0.5},
        {"a track that is cut off", midi({kTwoQuarters}).substr(0, 29), 1},
        {"damage ends a track", midi({"\x60\x90\x40\x40\x60\xF4"s + kTwoQuarters}), 1},
        {"another chunk", midi({kTwoQuarters}).insert(14, "XFIH\0\0\0\1?"s), 1},
        {"in a RIFF file", "RIFF\x30\0\0\0RMIDdata\x28\0\0\0"s + midi({kTwoQuarters}), 1},
        {"no division", midi({kTwoQuarters}, 1, "\0\0"s), 0},
        {"no track", midi({}), 0},
    };
    for (const Case& c : cases) {
        const auto seconds = durationOf(c.file);
        ASSERT_TRUE(seconds) << c.name;
        EXPECT_NEAR(*seconds, c.seconds, 1e-6) << c.name;
        EXPECT_TRUE(hasMidiSignature(std::as_bytes(std::span(c.file)))) << c.name;
    }
    for (const std::string& none : {""s, "MThd"s, "MTrk\0\0\0\0"s, "RIFF\0\0\0\0RMIDMThd"s})
        EXPECT_FALSE(durationOf(none));
}

}  // namespace
}  // namespace corvy::platform
