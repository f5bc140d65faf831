// The text of an OpenDocument text.
#pragma once

#include <functional>
#include <optional>
#include <pugixml.hpp>
#include <string_view>

#include "foundation/bytes.h"
#include "platform/document_readers/open_document_styles.h"
#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

// The bytes of a picture by its name in the archive; none when there is none.
using FindPicture = std::function<std::optional<Bytes>(std::string_view name)>;

// `body` is <office:text>. Deleted text, hidden text and annotations are left out, notes stand at
// the end.
AttributedText textOfOpenDocument(pugi::xml_node body, OpenDocumentStyles& styles,
                                  const FindPicture& picture);

}  // namespace corvy::platform
