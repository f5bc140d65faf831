// The styles, fonts and lists of a binary Word document.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/document_readers/word_binary_parts.h"
#include "platform/document_readers/word_binary_properties.h"
#include "platform/document_readers/word_numbering.h"

namespace corvy::platform {

struct WordBinaryStyle {
    TextProperties text;
    WordParagraphProperties paragraph;
};

std::vector<std::u16string> wordBinaryFonts(const WordBinaryParts& parts);

// By number, with all that they inherit.
std::vector<WordBinaryStyle> wordBinaryStyles(const WordBinaryParts& parts,
                                              const std::vector<std::u16string>& fonts);

// Lists under the numbers of their references, from "1".
WordNumbering wordBinaryNumbering(const WordBinaryParts& parts,
                                  const std::vector<std::u16string>& fonts);

}  // namespace corvy::platform
