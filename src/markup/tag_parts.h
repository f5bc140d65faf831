// The parts of a tag that the scan looks for once it has found its ends.
#pragma once

#include <cstddef>
#include <string_view>

#include "foundation/range.h"

namespace corvy {

// The name of the tag from the "<" at `start` to its ">" at `end`: from the first letter up to
// white space, "/", ">" or the end. kNotFoundRange without a letter. Linear in the tag.
Range nameOfTag(std::u16string_view characters, std::size_t start, std::size_t end);

// Finds the ends of `script` and `style` elements. Holds for one scan what it has not found, so
// that all of its searches together are linear in the text.
class ElementEnds {
public:
    explicit ElementEnds(std::u16string_view characters) : characters_(characters) {}

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

    std::u16string_view characters_;
    Closing script_ = {u"</script", std::u16string_view::npos};
    Closing style_ = {u"</style", std::u16string_view::npos};
    // The first "-->" at or after `commentEndFrom_` is known to be at `commentEnd_`.
    std::size_t commentEndFrom_ = std::u16string_view::npos;
    std::size_t commentEnd_ = std::u16string_view::npos;
};

}  // namespace corvy
