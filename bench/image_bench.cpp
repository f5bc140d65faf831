// Thumbnails of large pictures beside vipsthumbnail and libjpeg-turbo. Every turn is a process of
// its own, ours forked from a warm one as in the service; times are those of the processor, `MB` is
// the peak of the process. Its pictures are made at the first run and kept in the build folder.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "foundation/text.h"
#include "platform/image_encoder.h"
#include "platform/image_source.h"
#include "platform/vips_image.h"

extern char** environ;

namespace {

using namespace corvy;
using platform::PixelSize;

constexpr int kLongest = 256;

// Waves with some noise, which compress about as well as photographs do.
platform::Raster scene(PixelSize size) {
    platform::Raster raster{size.width, size.height, {}, false};
    raster.rgba.resize(std::size_t{4} * size.width * size.height);
    std::uint32_t random = 1;
    std::byte* to = raster.rgba.data();
    for (std::uint32_t y = 0; y < size.height; ++y) {
        for (std::uint32_t x = 0; x < size.width; ++x, to += 4) {
            random = random * 1664525 + 1013904223;
            const double noise = (random >> 24) / 32.0;
            const double wave = 60 * std::sin(x / 90.0) * std::cos(y / 70.0);
            for (int i = 0; i < 3; ++i) {
                to[i] = std::byte(static_cast<std::uint8_t>(110 + wave * (i + 1) / 2 + noise));
            }
            to[3] = std::byte{255};
        }
    }
    return raster;
}

void write(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary) << bytes.chars();
}

bool run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

std::string pictureFile(const char* name) {
    return std::string(CORVY_BUILD_DIR "/bench/") + name;
}

// Runs the function in a process that is forked for it.
void forkMaking(const std::function<void()>& make) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        make();
        ::_exit(0);
    }
    ::waitpid(pid, nullptr, 0);
}

// In children, so that the process that is measured stays small.
void makePictures() {
    if (::access(pictureFile("done").c_str(), F_OK) == 0) return;
    using platform::BitmapFileType;
    forkMaking([] {
        const auto photo = scene({6000, 4000});
        write(pictureFile("photo.jpg"),
              *platform::encodedPicture(photo,
                                        {.type = BitmapFileType::jpeg, .compressionFactor = 0.9F}));
        const auto small = *platform::resampled(photo, {160, 107});
        write(pictureFile("small.jpg"),
              *platform::encodedPicture(small, {.type = BitmapFileType::jpeg}));
    });
    forkMaking([] {
        write(pictureFile("large.png"), *platform::encodedPicture(scene({8000, 6000}), {}));
    });
    const std::string photo = pictureFile("photo.jpg");
    if (!run("vips jpegsave " + photo + " " + pictureFile("progressive.jpg") +
             " --interlace --Q 90") ||
        !run("cp " + photo + " " + pictureFile("carrying.jpg")) ||
        !run("exiftool -q -overwrite_original '-ThumbnailImage<=" + pictureFile("small.jpg") +
             "' " + pictureFile("carrying.jpg"))) {
        std::fputs("image_bench needs vips (libvips-tools) and exiftool\n", stderr);
        std::exit(1);
    }
    write(pictureFile("done"), {});
}

void measure(benchmark::State& state, const std::function<pid_t()>& start) {
    double peak = 0;
    for (auto _ : state) {
        const pid_t pid = start();
        int status = 0;
        rusage usage{};
        if (pid < 0 || ::wait4(pid, &status, 0, &usage) != pid || status != 0) {
            state.SkipWithError("no thumbnail");
            break;
        }
        double seconds = 0;
        for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        }
        state.SetIterationTime(seconds);
        peak = std::max(peak, static_cast<double>(usage.ru_maxrss) / 1024);
    }
    state.counters["MB"] = peak;
}

pid_t forked(const std::function<bool()>& work) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(work() ? 0 : 1);
    return pid;
}

void ours(benchmark::State& state, const char* name, bool always) {
    measure(state, [&] {
        return forked([&] {
            const auto source = platform::ImageSource::ofFile(fromUtf8(pictureFile(name)));
            return source && source->thumbnail({.maxPixelSize = kLongest,
                                                .fromImageAlways = always,
                                                .withTransform = true});
        });
    });
}

void nothing(benchmark::State& state) {
    measure(state, [] { return forked([] { return true; }); });
}

void vipsthumbnail(benchmark::State& state, const char* name) {
    measure(state, [&] {
        std::vector<std::string> words{
            "vipsthumbnail",        "--vips-concurrency=1", "-s", std::to_string(kLongest), "-o",
            pictureFile("out.tif"), pictureFile(name)};
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        pid_t pid = -1;
        return ::posix_spawnp(&pid, words[0].c_str(), nullptr, nullptr, arguments.data(),
                              environ) == 0
                   ? pid
                   : -1;
    });
}

// All that a thumbnail needs at the least: the picture at an eighth of its size.
void eighthByLibjpeg(benchmark::State& state, const char* name) {
    measure(state, [&] {
        return forked([&] {
            std::FILE* file = std::fopen(pictureFile(name).c_str(), "rb");
            jpeg_decompress_struct jpeg{};
            jpeg_error_mgr errors{};
            jpeg.err = jpeg_std_error(&errors);
            jpeg_create_decompress(&jpeg);
            jpeg_stdio_src(&jpeg, file);
            jpeg_read_header(&jpeg, TRUE);
            jpeg.scale_denom = 8;
            jpeg_start_decompress(&jpeg);
            std::vector<JSAMPLE> row(std::size_t{3} * jpeg.output_width);
            unsigned long sum = 0;
            while (jpeg.output_scanline < jpeg.output_height) {
                JSAMPROW rows[] = {row.data()};
                jpeg_read_scanlines(&jpeg, rows, 1);
                sum += row[0];
            }
            return jpeg.output_width == 750 && sum > 0;
        });
    });
}

void registerAll() {
    const auto add = [](const char* name, auto function, auto... arguments) {
        benchmark::RegisterBenchmark(name, function, arguments...)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    };
    add("nothing", nothing);
    add("jpeg 24 MP", ours, "photo.jpg", true);
    add("jpeg 24 MP/vipsthumbnail", vipsthumbnail, "photo.jpg");
    add("jpeg 24 MP/libjpeg eighth", eighthByLibjpeg, "photo.jpg");
    add("jpeg 24 MP/carried thumbnail", ours, "carrying.jpg", false);
    add("jpeg 24 MP progressive", ours, "progressive.jpg", true);
    add("jpeg 24 MP progressive/vipsthumbnail", vipsthumbnail, "progressive.jpg");
    add("jpeg 24 MP progressive/libjpeg eighth", eighthByLibjpeg, "progressive.jpg");
    add("png 48 MP", ours, "large.png", true);
    add("png 48 MP/vipsthumbnail", vipsthumbnail, "large.png");
}

}  // namespace

int main(int argc, char** argv) {
    platform::prepareVips();
    makePictures();
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
