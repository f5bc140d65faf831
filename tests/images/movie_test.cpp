#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <set>

#include "foundation/apple_double.h"
#include "foundation/text.h"
#include "images/movie_frames.h"
#include "images/movie_types.h"
#include "platform/movie_formats.h"
#include "tests/support/clips.h"

namespace corvy {
namespace {

TEST(MovieFrames, MiddleIsWholeSecondsAndAtMostFifteen) {
    struct Case {
        double duration, time;
    };
    for (const Case& c :
         {Case{10, 5}, Case{7, 3}, Case{7200, 15}, Case{30, 15}, Case{29.9, 14}, Case{32, 15},
          Case{1.99, 0}, Case{2, 1}, Case{0, 0}, Case{-8, 0}, Case{INFINITY, 15}, Case{NAN, 0}}) {
        EXPECT_EQ(middleTime(c.duration), c.time) << c.duration;
    }
}

TEST(MovieFrames, ThumbnailIsTheMiddleElseThePoster) {
    if (!test::Clips::areAvailable()) GTEST_SKIP() << "no ffmpeg";
    platform::prepareMovieLibrary();
    test::Clips clips;
    const std::u16string video =
        pathFromBytes(clips.make("seven.mp4", "-c:v libx264 -preset veryfast -t 7"));
    bool wasLoaded = false;
    std::optional<Dictionary> attributes;
    const auto frame = thumbnailImageForMovieWithFile(
        video, &attributes, [&wasLoaded](const platform::Movie& movie) {
            wasLoaded = movie.loadState() >= platform::kMovieLoaded;
        });
    EXPECT_EQ(test::numberIn(frame.value()), 90);
    EXPECT_TRUE(wasLoaded);
    EXPECT_EQ(stringOf(attributes.value(), u"QTMovieFileNameAttribute"), video);
    EXPECT_EQ(test::numberIn(middleImageForMovieWithFile(video).value()), 90);
    EXPECT_EQ(test::numberIn(posterImageForMovieWithFile(video).value()), 0);

    const std::u16string sound = pathFromBytes(
        clips.make("cover.m4a", "-map 0 -map 1 -c:v mjpeg -frames:v 1 -disposition:v attached_pic",
                   "-f lavfi -i sine=d=8 -f lavfi -i color=red:s=30x20:d=1"));
    EXPECT_FALSE(middleImageForMovieWithFile(sound));
    EXPECT_EQ(thumbnailImageForMovieWithFile(sound).value().width, 30U);

    EXPECT_FALSE(thumbnailImageForMovieWithFile(u"/nowhere.mp4", &attributes));
    EXPECT_FALSE(attributes);
}

TEST(MovieTypes, ListsWhatIsOpenedThenTheOthersEachOnce) {
    const auto& types = QuickTimeFileTypes();
    EXPECT_EQ(std::set(types.begin(), types.end()).size(), types.size());
    EXPECT_EQ(types.front(), u"mov");
    // The last that are opened, then the first and the last two that are new.
    const auto own = std::ranges::find(types, u"'Midi'");
    ASSERT_NE(own, types.end());
    EXPECT_EQ(*std::next(own), u"m3u");
    EXPECT_EQ(*std::next(own, 2), u"m1s");
    EXPECT_EQ(types[types.size() - 2], u"qhtm");
    EXPECT_EQ(types.back(), u"'MPGv'");
}

TEST(MovieTypes, ExtensionsMatchInAnyCaseAndTypeCodesExactly) {
    struct Case {
        OptionalText extension, type;
        bool isMovie;
    };
    const Case cases[] = {
        {u"mov", {}, true},    {u"MoV", u"", true},   {u"mqv", {}, true},
        {u"webm", {}, true},   {u"", u"", false},     {{}, {}, false},
        {u".mov", {}, false},  {u"txt", {}, false},   {u"txt", u"'MooV'", true},
        {{}, u"'MPGa'", true}, {{}, u"'MPGA'", true}, {{}, u"'mpga'", false},
        {{}, u"MPGa", false},  {{}, u"'VfW '", true}, {{}, u"'VfW'", false},
        {{}, u"mov", true},    {{}, u"MOV", false},   {u"'mpga'", {}, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(isQuickTimeExtension(c.extension, c.type), c.isMovie)
            << toUtf8(c.extension.value_or(u"none")) << ", " << toUtf8(c.type.value_or(u"none"));
    }
    const test::TemporaryFolder folder;
    std::ofstream(folder.path("._clip.txt"))
        << AppleDouble::make("MooVTVOD").withResourceFork("").value();
    EXPECT_TRUE(isQuickTimeFile(pathFromBytes(folder.path("clip.txt"))));
    EXPECT_FALSE(isQuickTimeFile(pathFromBytes(folder.path("other.txt"))));
    EXPECT_TRUE(isQuickTimeFile(u"/nowhere/a.MP4"));
}

}  // namespace
}  // namespace corvy
