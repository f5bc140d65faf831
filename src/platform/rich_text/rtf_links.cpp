#include "platform/rich_text/rtf_links.h"

#include <algorithm>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

// Cuts off the next word, or what stands in quotes. A quote inside quotes has a backslash before
// it, and so may a backslash.
std::u16string takeArgument(std::u16string_view& text) {
    text = trimWhite(text);
    std::u16string argument;
    if (!text.starts_with(u'"')) {
        const std::size_t end = std::min(text.find_first_of(u" \t\""), text.size());
        argument = text.substr(0, end);
        text.remove_prefix(end);
        return argument;
    }
    std::size_t i = 1;
    for (; i < text.size() && text[i] != u'"'; ++i) {
        const bool isEscape = text[i] == u'\\' && i + 1 < text.size() &&
                              (text[i + 1] == u'"' || text[i + 1] == u'\\');
        if (isEscape) ++i;
        argument += text[i];
    }
    text.remove_prefix(std::min(i + 1, text.size()));
    return argument;
}

}  // namespace

std::optional<std::u16string> linkOfInstruction(std::u16string_view instruction) {
    if (!equalNoCase(takeArgument(instruction), u"HYPERLINK")) return std::nullopt;
    std::u16string address, place;
    while (!trimWhite(instruction).empty()) {
        const bool isQuoted = trimWhite(instruction).starts_with(u'"');
        const std::u16string argument = takeArgument(instruction);
        if (isQuoted || !argument.starts_with(u'\\')) {
            if (address.empty()) address = argument;
        } else if (argument == u"\\l") {
            place = takeArgument(instruction);
        } else if (argument == u"\\o" || argument == u"\\t") {
            takeArgument(instruction);  // a hint, a frame
        }
    }
    if (!place.empty()) address += u'#' + place;
    if (address.empty()) return std::nullopt;
    return address;
}

}  // namespace corvy::platform
