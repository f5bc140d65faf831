// Web archives: a saved page in one file, with what it shows and the pages of its frames.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"
#include "foundation/property_list.h"

namespace corvy {

// What an archive keeps of its frames; those beyond are left out. Frames within each other: the
// archive itself is at depth 0.
inline constexpr std::size_t kMaxFrameDepth = 100;
// Bytes of the main resources of all frames. A file can name the same bytes for many of them.
inline constexpr std::size_t kMaxFrameBytes = std::size_t{1} << 29;

struct WebResource {
    Bytes data;
    std::optional<Url> URL;
    std::optional<std::u16string> MIMEType;
    std::optional<std::u16string> textEncodingName;

    // The data as text; none when the type is not one of markup, or nothing decodes them.
    std::optional<std::u16string> documentSource() const;
};

struct SearchableText {
    std::u16string text;                   // empty when there is none
    std::optional<std::u16string> source;  // of the main resource
};

struct WebArchive {
    std::optional<WebResource> mainResource;
    std::vector<WebResource> subresources;
    std::vector<WebArchive> subframeArchives;

    // The archive in the bytes of its file, whose storage the resources share. None when they are
    // no property list, or one without any part of an archive; parts that are malformed, and
    // resources without data, are left out.
    static std::optional<WebArchive> initWithData(const Bytes& bytes);

    // Of the main resource.
    std::optional<std::u16string> documentSource() const;
    std::optional<Url> baseURL() const;

    // The plain text of the main resource, and of those of the frames in their order, depth first;
    // two line feeds stand before each.
    std::u16string searchableText() const;
    SearchableText searchableTextAndSource() const;
    void appendSearchableTextTo(std::u16string& text) const;

    // The first whose address is equal: the main resource, then the subresources, then those of
    // each frame. Null when there is none, or no address; valid as long as the archive.
    const WebResource* subresourceForURL(const std::optional<Url>& url) const;
    // The first whose main resource has the address: the archive, then each frame.
    const WebArchive* subArchiveForURL(const std::optional<Url>& url) const;
};

// What the file of an archive gives, each part none independently of the others; all are none when
// it cannot be read.
struct WebArchiveText {
    std::optional<std::u16string> text;  // empty for an archive without any
    std::optional<Url> baseURL;
    std::optional<std::u16string> source;
};
WebArchiveText searchableTextOfFile(std::u16string_view path);

struct WebArchiveSource {
    std::optional<std::u16string> source;
    std::optional<Url> baseURL;
};
WebArchiveSource documentSourceOfFile(std::u16string_view path);

std::span<const std::u16string_view> webArchiveFileTypes();
// In any case; none is of no type.
bool isWebArchiveExtension(std::optional<std::u16string_view> extension);
bool isWebArchiveFile(std::optional<std::u16string_view> path);

}  // namespace corvy
