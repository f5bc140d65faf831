// The lists that are open while an OpenDocument text is read, and the numbers of their items.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/document_readers/document_story.h"
#include "platform/document_readers/open_document_styles.h"

namespace corvy::platform {

class OpenDocumentLists {
public:
    explicit OpenDocumentLists(const OpenDocumentStyles& styles) : styles_(styles) {}

    // A <text:list>; lists within each other follow the style of the outermost.
    void begin(pugi::xml_node list);
    void end();
    bool isInList() const { return !open_.empty(); }
    // An item with a marker, which the next paragraph gets.
    void beginItem(pugi::xml_node item);
    // An item without one.
    void beginHeader() { isMarkerDue_ = false; }

    // Makes the paragraph an item, if one has begun, and gives its marker; else puts it beside the
    // text of the item it belongs to. `styleList`: the list style of the paragraph's own style.
    std::u16string place(ParagraphStyle& paragraph, std::string_view styleList,
                         DocumentStory& story);

private:
    struct OpenList {
        std::string style;
        std::string identifier;
    };
    using Counters = std::array<std::int32_t, OpenDocumentStyles::kLevels>;

    std::u16string markerOf(const OpenDocumentStyles::ListStyle& style, std::size_t level) const;

    const OpenDocumentStyles& styles_;
    std::vector<OpenList> open_;
    Counters counters_{};
    bool isMarkerDue_ = false;
    bool hasStartValue_ = false;
    std::int32_t startValue_ = 0;
    // Where lists ended, by their styles and identifiers.
    std::map<std::string, Counters, std::less<>> ended_;
    std::uint32_t number_ = 0;  // of the outermost list
};

}  // namespace corvy::platform
