#include "tools/picture_file.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "foundation/text.h"
#include "service/image_conversion.h"
#include "tools/command.h"
#include "tools/files.h"

namespace corvy::tools {

namespace {

struct PictureName {
    std::string_view extension;
    const char16_t* type;  // as the worker calls it
};
constexpr PictureName kPictureNames[] = {
    {".png", u"png"}, {".jpg", u"jpg"}, {".jpeg", u"jpg"}, {".tif", u"tiff"}, {".tiff", u"tiff"}};

const PictureName* nameOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::ranges::transform(extension, extension.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    const auto* found = std::ranges::find(kPictureNames, extension, &PictureName::extension);
    return found != std::end(kPictureNames) ? found : nullptr;
}

}  // namespace

std::optional<Bytes> encodedPicture(platform::WorkerPool& pool, const Bytes& picture,
                                    std::u16string_view type, std::int64_t longestSide) {
    platform::WorkerRequest request;
    request.family = image_exchange::kFamily;
    request.operation = image_exchange::kEncodePicture;
    request.arguments.set(image_exchange::kPicture, picture);
    request.arguments.set(image_exchange::kType, std::u16string(type));
    if (longestSide > 0) request.arguments.set(image_exchange::kMaxSize, longestSide);
    const auto answer = pool.run(request);
    const Dictionary* result = answer ? answer->dictionary() : nullptr;
    const PropertyList* made = result ? result->find(image_exchange::kPicture) : nullptr;
    if (made == nullptr || made->bytes() == nullptr) return std::nullopt;
    return *made->bytes();
}

bool isPictureName(const std::string& path) {
    return nameOf(path) != nullptr;
}

const Bytes* pictureIn(const RemoteValue& answer) {
    const Dictionary* entries = answer ? answer->dictionary() : nullptr;
    const PropertyList* picture = entries ? entries->find(u"Thumbnail") : nullptr;
    return picture ? picture->bytes() : nullptr;
}

std::string writePicture(platform::WorkerPool& pool, const Bytes& tiff, const std::string& path) {
    const PictureName* name = nameOf(path);
    if (name == nullptr) return "the name has to end with " + std::string(kPictureExtensions);
    std::optional<Bytes> picture = tiff;
    if (std::u16string_view(name->type) != u"tiff") {
        picture = encodedPicture(pool, tiff, name->type);
    }
    if (!picture) return "the picture could not be encoded";
    const int error = writeFile(path, picture->chars());
    return error == 0 ? "" : reasonOf(error);
}

}  // namespace corvy::tools
