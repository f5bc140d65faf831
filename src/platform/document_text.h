// Documents of word processors, spreadsheets and presentations as they are searched: what they say
// of themselves, and their text without styles and pictures.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/document_readers/document_facts.h"

namespace corvy::platform {

// The text of the file or package, lines ended by line feeds; none when it cannot be read. `tell`
// is called once for what is a document, whatever comes of its text; before that is read, where
// the format has the facts apart from it. Of spreadsheets and presentations in binary files there
// are facts only.
std::optional<TextInParts> textOfDocument(const std::string& path,
                                          const std::function<void(const DocumentFacts&)>& tell);

}  // namespace corvy::platform
