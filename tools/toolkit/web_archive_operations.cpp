#include "text/web_archive.h"

#include "markup/file_types.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

constexpr Operation kOperations[] = {
    function<[](Text path) {
        WebArchiveText archive = searchableTextOfFile(path);
        return Reply{resultOf(std::move(archive.text)),
                     {{u"baseURL", resultOf(std::move(archive.baseURL))},
                      {u"source", resultOf(std::move(archive.source))}}};
    }>("searchableTextOfFile:baseURL:source:"),
    function<[](Text path) { return searchableTextOfFile(path).text; }>("searchableTextOfFile:"),
    function<[](Text path) {
        WebArchiveSource archive = documentSourceOfFile(path);
        return Reply{resultOf(std::move(archive.source)),
                     {{u"baseURL", resultOf(std::move(archive.baseURL))}}};
    }>("documentSourceOfFile:baseURL:"),
    function<[](Text path) { return documentSourceOfFile(path).source; }>("documentSourceOfFile:"),
    function<isWebArchiveExtension>("isWebArchiveExtension:"),
    function<isWebArchiveFile>("isWebArchiveFile:"),
    function<[] {
        const auto types = webArchiveFileTypes();
        return std::vector<std::u16string>(types.begin(), types.end());
    }>("webArchiveFileTypes"),
    method<isMarkupMIMEType>("isMarkupMIMEType"),
};

}  // namespace

std::span<const Operation> webArchiveOperations() {
    return kOperations;
}

}  // namespace corvy::tools
