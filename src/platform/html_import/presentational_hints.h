// What attributes of HTML say about presentation (bgcolor, align, <font size>), as declarations.
#pragma once

#include <vector>

#include "platform/html_import/css_properties.h"
#include "platform/html_import/html_tree.h"

namespace corvy::platform::css {

// Adds those of one element. They count less than any rule of the page.
void addPresentationalHints(const HtmlTree& tree, NodeIndex node, AtomTable& atoms,
                            std::vector<Declaration>& out);

// Elements whose content is never text of the page, whatever its sheets say.
bool isNeverShown(Atom tag);

}  // namespace corvy::platform::css
