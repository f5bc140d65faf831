#include "platform/movie.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "foundation/text.h"
#include "tests/support/clips.h"

namespace corvy::platform {
namespace {

using test::Clips;
using test::numberIn;

std::optional<Movie> openMovie(const std::string& path) {
    return Movie::open(pathFromBytes(path));
}

constexpr const char* kH264 = "-c:v libx264 -preset veryfast -g 250 -bf 3 -threads 1 ";

class MovieTest : public testing::Test {
protected:
    void SetUp() override {
        if (!Clips::areAvailable()) GTEST_SKIP() << "no ffmpeg";
        prepareMovieLibrary();
    }
    // A file with these bytes.
    std::string write(const std::string& name, std::string_view bytes) {
        std::ofstream(clips_.path(name), std::ios::binary) << bytes;
        return clips_.path(name);
    }

    Clips clips_;
};

TEST_F(MovieTest, GivesTheVeryFrameOfEveryContainer) {
    struct Case {
        const char* file;
        std::string arguments;
        Size size = {160, 32};
        // Of frames at 0, 3, 7 and 15 s.
        std::array<int, 4> numbers = {0, 90, 210, 450};
    };
    const std::string h264 = kH264;
    const Case cases[] = {
        {"a.mp4", h264},
        {"a.mov", h264},
        {"a.mkv", h264},
        {"fragments.mp4", h264 + "-movflags frag_keyframe+empty_moov"},
        {"vp9.webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 200k"},
        // With frames that are never shown.
        {"vp8.webm", "-c:v libvpx -auto-alt-ref 1 -lag-in-frames 16 -b:v 200k"},
        {"a.avi", "-c:v mpeg4 -q:v 3 -g 100"},
        // Without presentation times.
        {"b-frames.avi", "-c:v mpeg4 -bf 2 -q:v 3 -g 100"},
        {"b-frames-h264.avi", h264},
        // With few times in large packets.
        {"mpeg1.mpg", "-c:v mpeg1video -bf 2 -q:v 2 -g 15"},
        {"mpeg2.mpg", "-c:v mpeg2video -bf 2 -q:v 2 -g 15"},
        {"mpeg2.ts", "-c:v mpeg2video -bf 2 -q:v 2 -g 60"},
        {"a.ts", h264},
        // Sound that begins before the pictures.
        {"sound.ts", "-f lavfi -i sine=d=20 -c:a mp2 " + h264},
        {"sound.mkv", "-f lavfi -i sine=d=20 -c:a aac " + h264},
        // Key frames that others before them refer to; no key frames at all.
        {"open.ts", h264 + "-x264-params open-gop=1:keyint=60"},
        {"refresh.ts", h264 + "-x264-params intra-refresh=1:keyint=60"},
        {"late.ts", h264 + "-output_ts_offset 36000"},
        // What comes before its start is there to be decoded, not to be shown.
        {"edited.mp4",
         "-ss 1 -i " + clips_.path("a.mp4") + " -map 1 -c copy",
         {160, 32},
         {30, 120, 240, 480}},
        {"h263.3gp", "-vf scale=128:96:flags=neighbor,setsar=1 -c:v h263 -q:v 2", {128, 96}},
        {"a.3gp", h264},
        {"a.flv", "-c:v flv -q:v 2"},
        {"h264.flv", h264},
        {"a.wmv", "-c:v wmv2 -q:v 2"},
        {"a.ogv", "-c:v libtheora -q:v 8"},
        {"anamorphic.mp4", h264 + "-vf setsar=2", {320, 32}},
        {"anamorphic.mkv", h264 + "-vf setsar=64/45", {228, 32}},
        {"no-aspect.mp4", h264 + "-vf setsar=1/1000"},
        // One frame in seven after the first second, and one every half hour.
        {"vfr.mp4",
         h264 + "-vf \"select='not(mod(n,7))+lt(n,30)'\" -vsync vfr",
         {160, 32},
         {0, 84, 210, 448}},
        {"hours.mkv", h264 + "-vf setpts=54000*PTS -frames:v 20", {160, 32}, {0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const std::string path = clips_.make(c.file, c.arguments);
        ASSERT_NE(path, "");
        auto movie = openMovie(path);
        ASSERT_TRUE(movie);
        EXPECT_EQ(movie->naturalSize(), c.size);
        EXPECT_EQ(movie->loadState(), kMovieLoaded);
        // Forwards, and back again in the same movie.
        for (const std::size_t i : {0, 1, 2, 3, 1}) {
            const double time = std::array{0, 3, 7, 15}[i];
            const auto frame = movie->frameImageAtTime(time);
            ASSERT_TRUE(frame) << time;
            EXPECT_EQ(numberIn(*frame), c.numbers[i]) << "at " << time;
            EXPECT_EQ(frame->width, c.size.width);
            EXPECT_EQ(frame->height, c.size.height);
            EXPECT_FALSE(frame->hasAlpha);
        }
    }
}

TEST_F(MovieTest, TurnsPicturesAsThePhoneWasHeld) {
    const std::string upright = clips_.make("upright.mp4", kH264);
    struct Case {
        const char* rotate;  // counter-clockwise, as the display matrix counts
        Size size;
        int turned;
    };
    for (const Case& c : {Case{"0", {160, 32}, 0}, Case{"90", {32, 160}, 270},
                          Case{"180", {160, 32}, 180}, Case{"270", {32, 160}, 90}}) {
        SCOPED_TRACE(c.rotate);
        auto movie = openMovie(clips_.make("turned.mov",
                                           "-c copy -metadata:s:v rotate=" + std::string(c.rotate),
                                           "-i " + upright));
        ASSERT_TRUE(movie);
        EXPECT_EQ(movie->naturalSize(), c.size);
        const auto frame = movie->frameImageAtTime(15);
        ASSERT_TRUE(frame);
        EXPECT_EQ(numberIn(*frame, c.turned), 450);
    }
}

TEST_F(MovieTest, TellsWhatTheFileSays) {
    auto movie = openMovie(
        clips_.make("tagged.mp4", std::string(kH264) + "-t 2.5 -metadata title=T\xC3\xA4st"));
    ASSERT_TRUE(movie);
    EXPECT_NEAR(movie->duration(), 2.5, 0.01);
    const Dictionary attributes = movie->movieAttributes();
    EXPECT_EQ(stringOf(attributes, u"title"), u"T\xE4st");
    EXPECT_EQ(stringOf(attributes, u"QTMovieNaturalSizeAttribute"), u"{160, 32}");
    EXPECT_EQ(*attributes.find(u"QTMovieDurationAttribute"), PropertyList(movie->duration()));

    movie->setCurrentTime(2);
    EXPECT_EQ(movie->currentTime(), 2);
    movie->setCurrentTime(7);
    EXPECT_EQ(movie->currentTime(), movie->duration());
    for (const double none : {-1.0, std::nan("")}) {
        movie->setCurrentTime(none);
        EXPECT_EQ(movie->currentTime(), 0);
    }
    // Behind its end a movie shows its last frame.
    EXPECT_EQ(numberIn(movie->frameImageAtTime(100).value()), 74);

    // A movie that had no time to load is used as it is.
    auto hasty = Movie::open(pathFromBytes(clips_.path("tagged.mp4")), {.load = 0});
    ASSERT_TRUE(hasty);
    EXPECT_EQ(hasty->loadState(), kMovieLoading);
    EXPECT_EQ(numberIn(hasty->frameImageAtTime(1).value()), 30);
    EXPECT_FALSE(Movie::open(pathFromBytes(clips_.path("tagged.mp4")), {.all = 0}));
}

TEST_F(MovieTest, SoundsHaveNoFrameAndPerhapsACover) {
    const std::string sound = "-f lavfi -i sine=d=3";
    auto plain = openMovie(clips_.make("plain.mp3", "", sound));
    auto covered = openMovie(clips_.make(
        "covered.mp3", "-map 0 -map 1 -c:v mjpeg -frames:v 1 -disposition:v attached_pic",
        sound + " -f lavfi -i color=red:s=30x20:d=1"));
    for (const bool hasCover : {false, true}) {
        auto& movie = hasCover ? covered : plain;
        ASSERT_TRUE(movie);
        EXPECT_NEAR(movie->duration(), 3, 0.1);
        EXPECT_EQ(movie->naturalSize(), Size());
        EXPECT_FALSE(movie->frameImageAtTime(1));
        EXPECT_EQ(movie->posterImage().has_value(), hasCover);
    }
    const auto cover = covered->posterImage();
    EXPECT_EQ(cover->width, 30U);
    EXPECT_GT(std::to_integer<int>(cover->rgba[0]), 240);
}

TEST_F(MovieTest, KeepsAlpha) {
    auto movie = openMovie(clips_.make("alpha.mov", "-c:v qtrle -pix_fmt argb -frames:v 2",
                                       "-f lavfi -i color=red@0.5:s=16x16:d=1,format=argb"));
    const auto frame = movie.value().frameImageAtTime(0);
    ASSERT_TRUE(frame && frame->hasAlpha);
    EXPECT_EQ(frame->rgba[0], std::byte{0xFF});
    EXPECT_NEAR(std::to_integer<int>(frame->rgba[3]), 128, 1);
}

TEST_F(MovieTest, DamagedMoviesGiveWhatTheyHave) {
    const std::string whole = test::contentsOf(clips_.make("whole.mkv", kH264));
    // What is left ends before the frame.
    auto cut = openMovie(write("cut.mkv", whole.substr(0, whole.size() / 4)));
    ASSERT_TRUE(cut);
    const auto frame = cut->frameImageAtTime(15);
    ASSERT_TRUE(frame);
    EXPECT_GT(numberIn(*frame), 100);
    EXPECT_LT(numberIn(*frame), 450);
    // An AVI without its index at the end.
    const std::string avi = test::contentsOf(clips_.make("whole.avi", "-c:v mpeg4 -q:v 3 -g 100"));
    auto unindexed = openMovie(write("unindexed.avi", avi.substr(0, avi.rfind("idx1"))));
    ASSERT_TRUE(unindexed);
    EXPECT_EQ(numberIn(unindexed->frameImageAtTime(15).value()), 450);

    auto encrypted = openMovie(clips_.make(
        "encrypted.mp4", std::string(kH264) + "-t 3 -encryption_scheme cenc-aes-ctr "
                                              "-encryption_key 76a6c65c5ea762046bd749a2e632ccbb "
                                              "-encryption_kid a7e61c373e219033c21091fa607bf3b8"));
    ASSERT_TRUE(encrypted);
    EXPECT_NEAR(encrypted->duration(), 3, 0.1);
    EXPECT_FALSE(encrypted->frameImageAtTime(1));
    EXPECT_FALSE(encrypted->posterImage());
}

TEST_F(MovieTest, WhatIsNoMovieDoesNotOpen) {
    const std::string clip = clips_.make("clip.ts", std::string(kH264) + "-t 2");
    const std::string mp4 = test::contentsOf(clips_.make("clip.mp4", std::string(kH264) + "-t 2"));
    ASSERT_NE(mp4, "");
    // Each would be a movie if the file that it names were opened.
    const std::pair<const char*, std::string> files[] = {
        {"list.m3u8",
         "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n" + clip + "\n#EXT-X-ENDLIST\n"},
        {"list.m3u", "#EXTM3U\n#EXTINF:2,\nfile://" + clip + "\n"},
        {"concat.mp4", "ffconcat version 1.0\nfile '" + clip + "'\n"},
        {"list.pls", "[playlist]\nFile1=" + clip + "\nNumberOfEntries=1\n"},
        {"session.sdp",
         "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
         "m=video 5004 RTP/AVP 33\n"},
        {"manifest.mpd",
         "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\"><Period>"
         "<AdaptationSet><Representation><BaseURL>" +
             clip + "</BaseURL></Representation></AdaptationSet></Period></MPD>"},
        {"text.mp4", "This is not a movie.\n"},
        {"lyrics.lrc", "[00:01.00]la la la\n[00:02.00]la\n"},
        {"picture.bmp",
         std::string("BM\x3A\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\1\0\0\0\1\0\x18\0"
                     "\0\0\0\0\4\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\xFF\0",
                     58)},
        {"empty.mp4", ""},
        {"header.mp4", mp4.substr(0, 40)},
        {"no-index.mp4", mp4.substr(0, mp4.rfind("moov"))},
        {"riff.avi", std::string("RIFF\xFF\xFF\xFF\xFF"
                                 "AVI LIST",
                                 16)},
    };
    for (const auto& [name, bytes] : files) EXPECT_FALSE(openMovie(write(name, bytes))) << name;

    const std::string pipe = clips_.path("pipe.mp4");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path :
         {pipe, clips_.path(""), clips_.path("missing.mp4"), std::string("/dev/zero"),
          std::string("file://") + clip, std::string("concat:") + clip, std::string()}) {
        EXPECT_FALSE(openMovie(path)) << path;
    }
}

}  // namespace
}  // namespace corvy::platform
