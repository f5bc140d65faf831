// The rules of all style sheets of a page, those that hold for its medium.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/html_import/atoms.h"
#include "platform/html_import/css_properties.h"
#include "platform/html_import/css_selectors.h"
#include "platform/html_import/css_tokens.h"
#include "platform/html_import/text_arena.h"

namespace corvy::platform::css {

enum class Origin : std::uint8_t { userAgent, author };

struct StyleRule {
    std::uint32_t selector = 0;  // in Selectors
    std::uint32_t block = 0;     // of declarations
    std::uint64_t rank = 0;      // among rules that are equally important the highest one wins
};

struct SheetText {
    std::string text;
    std::string address;  // what its own imports are relative to
};
// Gives the sheet at `reference`, as it stands in one at `base`; none when there is none.
using SheetImporter =
    std::function<std::optional<SheetText>(const std::string& reference, const std::string& base)>;

class StyleSheets {
public:
    StyleSheets(AtomTable& atoms, bool quirks, SheetImporter importer = {});
    StyleSheets(const StyleSheets&) = delete;
    StyleSheets& operator=(const StyleSheets&) = delete;

    // Reads a sheet; later ones win over earlier ones.
    void add(SheetText sheet, Origin origin);
    // Reads the value of a style attribute and gives the block for it. The text must outlive this.
    std::uint32_t addStyleAttribute(std::string_view text);

    const std::vector<StyleRule>& rules() const { return rules_; }
    const Selectors& selectors() const { return selectors_; }
    const std::vector<Declaration>& block(std::uint32_t index) const { return blocks_[index]; }
    AtomTable& atoms() const { return atoms_; }
    bool quirks() const { return quirks_; }

private:
    friend class SheetReader;

    AtomTable& atoms_;
    bool quirks_;
    SheetImporter importer_;
    Selectors selectors_;
    std::vector<StyleRule> rules_;
    std::deque<std::vector<Declaration>> blocks_;
    std::deque<SheetText> texts_;  // what views of tokens go into
    std::deque<TokenList> tokens_;
    TextArena madeTexts_;
    std::unordered_map<std::string, std::uint64_t> layers_;
    std::unordered_map<std::string_view, std::uint32_t> styleAttributes_;
    std::size_t size_ = 0;  // of all texts
};

}  // namespace corvy::platform::css
