// Documents as RTF.
#pragma once

#include <span>
#include <string>

#include "platform/rich_text/rich_document.h"

namespace corvy::platform {

// 7-bit ASCII. Fonts stand under their PostScript names; bold and italic are said beside the name
// as well. With names, one for each attachment of the text, attachments are references to files of
// these names in the document's package. Without names PNG and JPEG pictures are written into the
// text, and other attachments are left out.
std::string rtfOf(const RichDocument& document,
                  std::span<const std::u16string> attachmentNames = {});

}  // namespace corvy::platform
