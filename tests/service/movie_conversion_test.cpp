#include "service/movie_conversion.h"

#include <fstream>

#include "foundation/system_log.h"
#include "foundation/text.h"
#include "tests/support/clips.h"

namespace corvy {
namespace {

using platform::WorkerRequest;

Dictionary attributesOf(PropertyList duration) {
    return {{u"QTMovieNaturalSizeAttribute", u"{640, 480}"},
            {u"QTMovieDurationAttribute", std::move(duration)}};
}

// The result when the worker sends these parts and gives this result.
Dictionary resultOf(const std::vector<PropertyList>& parts, std::optional<PropertyList> result) {
    return posterImageForMovieWithFile(u"/a.mov", {.runWorker =
                                                       [&](const WorkerRequest& request) {
                                                           for (const auto& part : parts)
                                                               request.part(part);
                                                           return result;
                                                       },
                                                   .clock = [] { return 0.0; }});
}

TEST(MovieConversion, ResultAlwaysHasDurationAndSize) {
    const Dictionary facts{{movie_exchange::kAttributes, attributesOf(2.1)}};
    const Bytes tiff = Bytes::copyOf("II*");
    Dictionary whole = facts;
    whole.set(movie_exchange::kTiff, tiff);
    const Dictionary nothing{{u"Duration", 0.0F}, {u"Size", u"{0, 0}"}};
    const Dictionary known{{u"Duration", 2.1F}, {u"Size", u"{640, 480}"}};
    Dictionary shown = known;
    shown.set(u"Thumbnail", tiff);

    EXPECT_EQ(resultOf({facts}, whole), shown);
    EXPECT_EQ(resultOf({facts}, whole).begin()->key, u"Duration");
    EXPECT_EQ(std::prev(resultOf({facts}, whole).end())->key, u"Thumbnail");
    EXPECT_EQ(resultOf({}, Dictionary()), nothing);
    // A worker that dies, before the movie had loaded and after.
    EXPECT_EQ(resultOf({}, std::nullopt), nothing);
    EXPECT_EQ(resultOf({facts}, std::nullopt), known);
    // Answers that no worker gives.
    EXPECT_EQ(resultOf({PropertyList(1.0), Dictionary{{movie_exchange::kAttributes, true}}},
                       PropertyList(true)),
              nothing);
    const Dictionary odd{{movie_exchange::kAttributes, attributesOf(u"2")},
                         {movie_exchange::kTiff, u"II*"}};
    EXPECT_EQ(resultOf({}, odd), (Dictionary{{u"Duration", 0.0F}, {u"Size", u"{640, 480}"}}));

    const LogCapture log;
    resultOf({Dictionary{{movie_exchange::kLog, u"line"}}}, Dictionary());
    EXPECT_EQ(log.entries(), std::vector<std::u16string>{u"line"});
}

TEST(MovieConversion, ServesOthersForASecondOrUntilTheMovieHasLoaded) {
    // The whole seconds and hundredths at which the wait is still nested.
    const auto slicesOf = [](int loadedAfter) {
        int slices = 0;
        posterImageForMovieWithFile(
            u"/a.mov",
            {.runWorker = [&](const WorkerRequest& request) -> std::optional<PropertyList> {
                 EXPECT_TRUE(request.runsContext);
                 while (request.runsContextWhile() && slices < 1000) {
                     if (++slices == loadedAfter) {
                         request.part(Dictionary{{movie_exchange::kAttributes, attributesOf(1.0)}});
                     }
                 }
                 return std::nullopt;
             },
             .clock = [&slices] { return 500 + slices * 0.01; }});
        return slices;
    };
    EXPECT_EQ(slicesOf(1), 1);
    EXPECT_EQ(slicesOf(37), 37);
    EXPECT_NEAR(slicesOf(-1), 100, 1);
}

TEST(MovieConversion, TheWorkerDoesIt) {
    if (!test::Clips::areAvailable()) GTEST_SKIP() << "no ffmpeg";
    test::Clips clips;
    platform::WorkerPool pool(CORVY_BUILD_DIR);
    const auto convert = [&pool](const std::string& path) {
        return posterImageForMovieWithFile(
            pathFromBytes(path),
            {.runWorker = [&pool](const WorkerRequest& request) { return pool.run(request); },
             .clock = [] { return 0.0; }});
    };
    const Dictionary movie = convert(clips.make("a.mp4", "-c:v libx264 -t 4"));
    EXPECT_EQ(*movie.find(u"Duration"), PropertyList(4.0F));
    EXPECT_EQ(stringOf(movie, u"Size"), u"{160, 32}");
    ASSERT_TRUE(movie.contains(u"Thumbnail"));
    EXPECT_TRUE(movie.find(u"Thumbnail")->bytes()->chars().starts_with("II*"));
    const Dictionary sound = convert(clips.make("a.wav", "", "-f lavfi -i sine=d=1.5"));
    EXPECT_EQ(sound, (Dictionary{{u"Duration", 1.5F}, {u"Size", u"{0, 0}"}}));
    EXPECT_EQ(convert("/etc/hostname"), (Dictionary{{u"Duration", 0.0F}, {u"Size", u"{0, 0}"}}));
}

}  // namespace
}  // namespace corvy
