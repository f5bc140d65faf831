// Rich text in and out of the vended operations.
//
// The service half. Documents are read in a worker (rich_text_worker.h); files are written here,
// so that a worker which breaks leaves nothing half done.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/isolation.h"

namespace corvy {

// Runs a worker's operation; the pool's `run`.
using RunWorker = std::function<std::optional<PropertyList>(const platform::WorkerRequest&)>;

// The document in the file, of any format that is known: "Rtfd", and "DocumentAttributes" when
// there are some. None when it is no document.
std::optional<Dictionary> attributedStringWithContentsOfFile(std::u16string_view path,
                                                             const RunWorker& runWorker);

// Writes the document in the bytes, flat RTFD or RTF, as a package. False when the bytes are no
// such document, and when the package cannot be written; what was written before stays then.
bool writeRTFDData(const Bytes& rtfd, std::u16string_view toFile, const RunWorker& runWorker);

// What service and worker say to each other.
namespace rich_text_exchange {
inline constexpr const char* kFamily = "richtext";
// The package of a document. Its result: a folder, which is a dictionary from the names of its
// entries to bytes, and to dictionaries that are folders inside it.
inline constexpr const char* kPackage = "package";
// The document in a file. Its result: the dictionary of the vended operation.
inline constexpr const char* kDocument = "document";
// In the result: it takes an office program, and with it the right to open sockets. As an argument:
// it may be used.
inline constexpr const char16_t* kOffice = u"office";  // flag
// Arguments.
inline constexpr const char16_t* kRtfd = u"rtfd";  // bytes
inline constexpr const char16_t* kPath = u"path";  // absolute
}  // namespace rich_text_exchange

}  // namespace corvy
