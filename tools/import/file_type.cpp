#include "tools/import/file_type.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "foundation/ascii_case.h"
#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "platform/image_formats.h"
#include "platform/image_signature.h"

namespace corvy::tools {

namespace {

struct KnownExtension {
    std::string_view extension;  // ASCII lower case
    FileType type;
};

constexpr KnownExtension kExtensions[] = {
#include "tools/import/file_type_table.inc"
};
static_assert(std::ranges::is_sorted(kExtensions, {}, &KnownExtension::extension));

std::string_view charsOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A property list that names the main resource of a web archive.
bool looksLikeWebArchive(std::string_view head) {
    const bool isPropertyList = head.starts_with("bplist") || head.find("<plist") != head.npos;
    return isPropertyList && head.find("WebMainResource") != head.npos;
}

// What stands behind the comments and XML declarations at the start.
std::u16string_view behindProlog(std::u16string_view text) {
    for (;;) {
        text = trimWhite(text);
        const std::u16string_view end = text.starts_with(u"<?")     ? u"?>"
                                        : text.starts_with(u"<!--") ? u"-->"
                                                                    : u"";
        const std::size_t at = end.empty() ? text.npos : text.find(end);
        if (at == text.npos) return text;
        text.remove_prefix(at + end.size());
    }
}

// A byte order mark counts as white space.
bool looksLikeHtml(std::string_view head) {
    const std::u16string units = fromUtf8(head);
    const std::u16string_view text = behindProlog(units);
    for (const std::u16string_view start : {u"<!doctype html", u"<html"}) {
        if (!startsWithAsciiNoCase(text, start)) continue;
        const std::u16string_view behind = text.substr(start.size());
        if (behind.empty() || behind.front() == u'>' || isWhite(behind.front())) return true;
    }
    return false;
}

// UTF-8 without control characters that no text has. The head may end inside a character.
bool looksLikeText(std::string_view head) {
    const bool isWhole = head.size() < kHeadLength;
    for (std::size_t cut = 0; cut <= (isWhole ? 0 : 3); ++cut) {
        const std::string_view text = head.substr(0, head.size() - cut);
        if (!fromStrictUtf8(text)) continue;
        return std::ranges::none_of(text, [](char c) {
            return (c >= 0 && c < 0x20 && !(c >= '\t' && c <= '\r') && c != 0x1B) || c == 0x7F;
        });
    }
    return false;
}

// Packets of 188 bytes, each with the same first byte. By the name alone such a file could as well
// be a program's source.
bool isTransportStream(std::string_view head) {
    constexpr std::size_t kPacket = 188;
    constexpr std::size_t kLeast = 4;
    if (head.size() < kPacket * kLeast) return false;
    for (std::size_t at = 0; at < head.size(); at += kPacket) {
        if (head[at] != 'G') return false;
    }
    return true;
}

// Every picture that the helper opens, in the order of platform::imageFormats().
const std::vector<FileType>& pictureTypes() {
    static const std::vector<std::string> identifiers = [] {
        std::vector<std::string> out;
        for (const platform::ImageFormatEntry& entry : platform::imageFormats()) {
            const std::u16string_view all = entry.typeIdentifiers;
            out.push_back(all.empty() ? "public.image" : toUtf8(all.substr(0, all.find(u' '))));
        }
        return out;
    }();
    static const std::vector<FileType> types = [] {
        std::vector<FileType> out;
        out.reserve(identifiers.size());
        for (const std::string& identifier : identifiers) out.push_back({identifier, "image"});
        return out;
    }();
    return types;
}

const FileType& pictureType(platform::ImageFormat format) {
    const auto index = &platform::entryOf(format) - platform::imageFormats().data();
    return pictureTypes()[static_cast<std::size_t>(index)];
}

// Null when no picture has that extension.
const FileType* pictureTypeFor(std::string_view extension) {
    const std::u16string wanted = u' ' + fromUtf8(extension) + u' ';
    for (const platform::ImageFormatEntry& entry : platform::imageFormats()) {
        const std::u16string all = u' ' + std::u16string(entry.extensions) + u' ';
        if (all.find(wanted) != std::u16string::npos) return &pictureType(entry.format);
    }
    return nullptr;
}

}  // namespace

const FileType* typeForName(std::string_view name) {
    while (name.ends_with('/')) name.remove_suffix(1);
    name = name.substr(name.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return nullptr;
    std::string extension(name.substr(dot + 1));
    for (char& c : extension) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    const auto* found =
        std::ranges::lower_bound(kExtensions, extension, {}, &KnownExtension::extension);
    if (found != std::end(kExtensions) && found->extension == extension) return &found->type;
    return pictureTypeFor(extension);
}

FileType typeForHead(std::span<const std::byte> head) {
    if (hasPdfSignature(head)) return {"com.adobe.pdf", "pdf"};
    const platform::ImageFormat format = platform::imageFormatOf(head);
    if (format != platform::ImageFormat::unknown) return pictureType(format);
    if (isTransportStream(charsOf(head))) return {"public.mpeg-2-transport-stream", "movie"};
    if (looksLikeWebArchive(charsOf(head))) return {"com.apple.webarchive", "webarchive"};
    if (looksLikeHtml(charsOf(head))) return {"public.html", "html"};
    if (!head.empty() && looksLikeText(charsOf(head))) return {"public.plain-text", "text"};
    return kDataType;
}

bool hasPdfSignature(std::span<const std::byte> head) {
    return charsOf(head.first(std::min<std::size_t>(head.size(), 1024))).find("%PDF-") !=
           std::string_view::npos;
}

bool isPackageName(std::string_view name) {
    const FileType* type = typeForName(name);
    return type && type->isPackage;
}

}  // namespace corvy::tools
