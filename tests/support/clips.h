// Movies made by ffmpeg, whose frames say their number.
#pragma once

#include <cstdlib>
#include <string>

#include "platform/raster.h"
#include "tests/support/processes.h"

namespace corvy::test {

// A folder of clips. Each frame shows its number in ten blocks side by side, the lowest bit first,
// white for one.
class Clips {
public:
    // 20 s of 160 x 32 pixels, 30 frames a second.
    static constexpr const char* kNumbers =
        "-f lavfi -i \"color=s=160x32:r=30:d=20,"
        "geq=lum='if(mod(floor(N/pow(2,floor(X/16))),2),235,16)':cb=128:cr=128\" -c:v ffv1";

    static bool areAvailable() { return std::system("command -v ffmpeg >/dev/null") == 0; }

    std::string path(const std::string& name) const { return folder_.path(name); }
    // The path of a new clip, "" when ffmpeg does not make it. `arguments` stand between the
    // input and the name; of the numbers unless another input is given.
    std::string make(const std::string& name, const std::string& arguments,
                     const std::string& input = {}) {
        const std::string from = input.empty() ? "-i " + numbers() : input;
        return run(from + ' ' + arguments, path(name)) ? path(name) : "";
    }

private:
    static bool run(const std::string& arguments, const std::string& out) {
        const std::string quiet = "timeout 60 ffmpeg -v quiet -nostdin -y ";
        return std::system((quiet + arguments + ' ' + out + " >/dev/null 2>&1").c_str()) == 0;
    }
    // Drawn once; the clips are made of this file.
    std::string numbers() {
        if (numbers_.empty()) {
            numbers_ = path("numbers.mkv");
            run(kNumbers, numbers_);
        }
        return numbers_;
    }

    TemporaryFolder folder_;
    std::string numbers_;
};

// The number in a picture that is turned clockwise by so many degrees, a multiple of 90.
inline int numberIn(const platform::Raster& raster, int turned = 0) {
    constexpr int kBlocks = 10;
    const bool isUpright = turned % 180 == 0;
    const double length = isUpright ? raster.width : raster.height;
    int number = 0;
    for (int block = 0; block < kBlocks; ++block) {
        double along = (block + 0.5) * length / kBlocks;
        if (turned == 180 || turned == 270) along = length - along;
        const auto x = static_cast<std::size_t>(isUpright ? along : raster.width / 2.0);
        const auto y = static_cast<std::size_t>(isUpright ? raster.height / 2.0 : along);
        const auto luma = std::to_integer<int>(raster.rgba[(y * raster.width + x) * 4 + 1]);
        number |= (luma > 128 ? 1 : 0) << block;
    }
    return number;
}

}  // namespace corvy::test
