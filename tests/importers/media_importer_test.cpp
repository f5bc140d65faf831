#include <gtest/gtest.h>

#include "tests/importers/imported.h"
#include "tests/importers/packed.h"

namespace corvy {
namespace {

using namespace std::literals;
using test::contentOf;

// The bell with other tags: names of four letters and texts.
std::string bell(std::initializer_list<std::pair<const char*, std::string>> tags) {
    std::string list = "INFO";
    const auto length = [](std::size_t size) {
        return std::string{static_cast<char>(size), static_cast<char>(size >> 8), 0, 0};
    };
    for (auto [name, text] : tags) {
        if (text.size() % 2 != 0) text += ' ';
        list += name + length(text.size()) + text;
    }
    const std::string whole = contentOf(CORVY_EXAMPLES "/bell.wav");
    const std::string data = whole.substr(whole.find("data"));
    const std::string chunks = whole.substr(8, 28) + "LIST" + length(list.size()) + list + data;
    return "RIFF" + length(chunks.size()) + chunks;
}

// A file of one track.
std::string midi(const std::string& events) {
    const auto size = static_cast<char>(events.size());
    return "MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0"s + size + events;
}

TEST(MediaImporter, TellsTagsAndTracks) {
    const test::Imported sound(CORVY_EXAMPLES "/bell.wav");
    EXPECT_EQ(sound[u"kMDItemTitle"], R"("The bell of the ferry house")");
    EXPECT_EQ(sound[u"kMDItemAuthors"], R"(["Anneliese Moor", "Tom Weir"])");
    EXPECT_EQ(sound[u"kMDItemAlbum"], R"("Sounds of the valley")");
    EXPECT_EQ(sound[u"kMDItemAudioTrackNumber"], "3");
    EXPECT_EQ(sound[u"kMDItemRecordingYear"], "2024");
    EXPECT_EQ(sound[u"kMDItemDurationSeconds"], "0.1");
    EXPECT_EQ(sound[u"kMDItemAudioSampleRate"], "8000");
    EXPECT_EQ(sound[u"kMDItemBitsPerSample"], "8");
    EXPECT_EQ(sound[u"kMDItemMediaTypes"], R"(["Sound"])");
    EXPECT_EQ(sound[u"kMDItemPixelWidth"], "");

    const test::Imported movie(CORVY_EXAMPLES "/fog.avi");
    EXPECT_EQ(movie[u"kMDItemTitle"], R"("Fog over the weir")");
    EXPECT_EQ(movie[u"kMDItemPixelWidth"], "24");
    EXPECT_EQ(movie[u"kMDItemCodecs"], R"(["Motion JPEG"])");
    EXPECT_EQ(movie[u"kMDItemHasAlphaChannel"], "false");
    EXPECT_EQ(movie[u"org_corvystack_frameRate"], "10");
    EXPECT_EQ(movie[u"kMDItemStreamable"], "true");
    EXPECT_EQ(movie[u"kMDItemAudioChannelCount"], "");
}

TEST(MediaImporter, MakesSenseOfTags) {
    test::expectImported({
        {"a.wav", bell({{"IPRT", "7/12"}}), u"kMDItemAudioTrackNumber", "7"},
        {"a.wav", bell({{"IPRT", "B1"}}), u"kMDItemAudioTrackNumber", ""},
        {"a.wav", bell({{"ICRD", "1987"}}), u"kMDItemRecordingYear", "1987"},
        {"a.wav", bell({{"ICRD", "1987"}}), u"kMDItemRecordingDate", ""},
        {"a.wav", bell({{"ICRD", "long ago"}}), u"kMDItemRecordingYear", ""},
        {"a.wav", bell({{"INAM", "  "}}), u"kMDItemTitle", ""},
        {"a.wav", bell({{"IART", "A;;B ; A"}}), u"kMDItemAuthors", R"(["A", "B"])"},
        {"a.wav", bell({}).substr(0, 20), u"kMDItemMediaTypes", ""},
        {"a.mid", midi("\x60\x90\x3C\x40\x60\x80\x3C\0\0\xFF\x2F\0"s), u"kMDItemDurationSeconds",
         "1"},
        {"a.mid", midi("\0\xFF\x2F\0"s), u"kMDItemCodecs", R"(["MIDI"])"},
        {"a.mp4", "no movie", u"kMDItemMediaTypes", ""},
    });
}

}  // namespace
}  // namespace corvy
