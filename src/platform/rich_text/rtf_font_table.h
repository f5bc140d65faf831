// The fonts of an RTF document, and what bytes and letters mean in them.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/rich_text/rtf_encoding.h"
#include "platform/rich_text/rtf_state.h"
#include "platform/rich_text/rtf_words.h"

namespace corvy::platform {

class RtfFontTable {
public:
    // The fonts go into `resources`, which must outlive it.
    explicit RtfFontTable(RtfResources& resources) : resources_(resources) {}

    // The encoding of the document, and its default font.
    void applyHeaderWord(RtfWord word, std::int32_t value);
    // The entry of the table that words speak of from now on.
    void beginEntry(std::int32_t number) { entry_ = number; }
    void applyFontWord(RtfWord word, std::int32_t value);
    void endEntry(std::u16string_view name);

    Encoding documentEncoding() const { return encoding_; }
    // Of the names in the table.
    Encoding entryEncoding() const;
    Encoding encodingOf(const RtfCharacters& characters);
    SymbolFont symbolsOf(const RtfCharacters& characters);

private:
    static constexpr std::int32_t kNoFont = -2;

    void lookUp(const RtfCharacters& characters);

    RtfResources& resources_;
    Encoding encoding_ = Encoding::kWindows1252;
    std::int32_t entry_ = 0;
    // The font that was looked up last.
    std::int32_t known_ = kNoFont;
    Encoding knownEncoding_ = Encoding::kInvalid;
    SymbolFont knownSymbols_ = SymbolFont::none;
};

}  // namespace corvy::platform
