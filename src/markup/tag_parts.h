// The parts of a tag that the scan looks for once it has found its ends.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "foundation/range.h"
#include "markup/tag_end.h"

namespace corvy {

// The name of the tag from the "<" at `start` to its ">" at `end`: from the first letter up to
// white space, "/", ">" or the end. kNotFoundRange without a letter. Linear in the tag.
Range nameOfTag(std::u16string_view characters, std::size_t start, std::size_t end);

// Finds ends that lie far from where their tags begin. Holds for one scan what it has learnt, so
// that all of its searches together are linear in the text.
class ElementEnds {
public:
    explicit ElementEnds(std::u16string_view characters) : characters_(characters) {}

    // The ">" that ends the tag whose walk is in `state` in front of `at`; npos when there is none.
    std::size_t endOfTag(std::size_t at, scan::TagState state);

    // The tag from `start` to the ">" at `end`, named `name`, may open an element whose body is no
    // markup: then the index of the ">" that ends the element, or the length of the text when it
    // has none. Otherwise `end`. `start` grows from call to call.
    std::size_t endOfElement(std::u16string_view name, std::size_t start, std::size_t end);

private:
    struct Closing {
        std::u16string_view text;
        std::size_t noneFrom;  // no such text begins here or later
    };

    // The first closing text from `from` on, npos when there is none. `comment`, when given, holds
    // npos and gets the place of the first "<!-" in front of it.
    std::size_t findClosing(Closing& closing, std::size_t from, std::size_t* comment = nullptr);
    // The first "-->" from `from` on, npos when there is none.
    std::size_t findCommentEnd(std::size_t from);

    // The entry of `tagEnds_` for a walk that comes in `state` to `at`, a multiple of kGrid.
    static std::size_t indexOfWalk(std::size_t at, scan::TagState state);

    // An element can end inside its own start tag, whose further units are walked again as the tags
    // that they hold. From then on the ends of walks are kept by their states at every kGrid units.
    static constexpr std::size_t kGrid = 1024;
    static constexpr std::size_t kStates = 4;
    static constexpr std::size_t kUnknown = std::u16string_view::npos - 1;

    std::u16string_view characters_;
    std::vector<std::size_t> tagEnds_;  // empty until the first such element
    Closing script_ = {u"</script", std::u16string_view::npos};
    Closing style_ = {u"</style", std::u16string_view::npos};
    // The first "-->" at or after `commentEndFrom_` is known to be at `commentEnd_`.
    std::size_t commentEndFrom_ = std::u16string_view::npos;
    std::size_t commentEnd_ = std::u16string_view::npos;
};

}  // namespace corvy
