#include "images/image_types.h"
#include "images/movie_types.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

std::optional<std::u16string> extensionForData(const std::optional<Bytes>& data) {
    return pathExtensionForData(data);
}

constexpr Operation kOperations[] = {
    function<isImageExtension>("isImageExtension:type:"),
    function<isImageFile>("isImageFile:"),
    function<isWebImageExtension>("isWebImageExtension:"),
    function<isPDFExtension>("isPDFExtension:type:"),
    function<isPDFFile>("isPDFFile:"),
    function<isRealPDFExtension>("isRealPDFExtension:type:"),
    function<isRealPDFFile>("isRealPDFFile:"),
    function<isPDFBundle>("isPDFBundle:"),
    function<isPostScriptExtension>("isPostScriptExtension:"),
    function<isPostScriptFile>("isPostScriptFile:"),
    function<pathToPDF>("pathToPDF:"),
    function<pathExtensionForType>("pathExtensionForType:"),
    function<extensionForData>("pathExtensionForData:"),
    function<pathExtensionForBitmapImageFileType>("pathExtensionForBitmapImageFileType:"),
    function<isQuickTimeExtension>("isQuickTimeExtension:type:"),
    function<isQuickTimeFile>("isQuickTimeFile:"),
    function<scale>("scale:forSize:"),
    function<thumb>("thumb:forSize:"),
};

}  // namespace

std::span<const Operation> imageOperations() {
    return kOperations;
}

}  // namespace corvy::tools
