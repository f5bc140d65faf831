// Files of any kind as documents.
//
// What a file is, its first bytes tell; its name only counts where they leave it open.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/bytes.h"
#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// A larger file is none, except plain text in parts of it: no reader would finish in time.
inline constexpr std::size_t kMaxDocumentFile = std::size_t{1} << 29;

enum class DocumentKind : std::uint8_t {
    unknown,  // none of these, though another program may know it
    plainText,
    rtf,
    flatRtfd,
    html,
    webArchive,
    wordPackage,
    wordXml,
    wordBinary,
    openDocument,
    flatOpenDocument,
};

// `path` is the file's name.
DocumentKind kindOfDocument(const Bytes& bytes, std::string_view path);

// What the readers of other modules do for this one; without them such files are no documents.
struct DocumentReaders {
    // The page in the bytes of the file at `path`.
    std::function<std::optional<RichDocument>(const Bytes& bytes, const std::string& path)> html =
        {};
    std::function<std::optional<RichDocument>(const Bytes& bytes)> webArchive = {};
    // Turns a file of any other kind into RTF.
    std::function<std::optional<Bytes>(const std::string& path)> converter = {};
};

// The document in the file or package; none when it cannot be read, and for what is no document.
std::optional<RichDocument> readDocument(const std::string& path, const DocumentReaders& readers);
// The same for bytes that are in memory.
std::optional<RichDocument> readDocument(const Bytes& bytes, const std::string& path,
                                         const DocumentReaders& readers);

}  // namespace corvy::platform
