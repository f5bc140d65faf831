#include "markup/stripping.h"

#include <algorithm>
#include <vector>

#include "foundation/character_tables.h"
#include "markup/tag_predicates.h"

namespace corvy {

namespace {

// A copy of the scanned text in long pieces: what is not left out between two changes is appended
// at once.
class Copier {
public:
    explicit Copier(std::u16string_view source) : source_(source) {}

    bool hasChanged() const { return changed_; }
    // Copies on to `location` and goes on behind the tag; `replacement` stands in its place.
    void replaceTag(const TagCall& call, std::u16string_view replacement = {}) {
        copyTo(call.tagLocation);
        result_ += replacement;
        skipTo(call.tagLocation + call.tagLength);
    }
    void copyTo(std::size_t location) {
        location = std::min(location, source_.size());
        if (location > copied_) result_ += source_.substr(copied_, location - copied_);
        copied_ = std::max(copied_, location);
    }
    void skipTo(std::size_t location) {
        changed_ = true;
        copied_ = std::max(copied_, std::min(location, source_.size()));
    }
    void append(std::u16string_view text) { result_ += text; }
    std::u16string take() { return std::move(result_); }
    // The result when everything behind the last change is copied as well.
    std::u16string finish() {
        copyTo(source_.size());
        return take();
    }

private:
    std::u16string_view source_;
    std::u16string result_;
    std::size_t copied_ = 0;  // all before it is copied or left out
    bool changed_ = false;
};

bool StripTagsHandler(const TagCall& call) {
    auto& result = *static_cast<std::u16string*>(call.context);
    const std::u16string_view text = call.text();
    if (text.empty()) return false;
    if (!result.empty() && !isWhite(result.back())) result += u' ';
    result += text;
    return false;
}

struct StripTagContext {
    std::u16string_view name;
    Copier copier;
};

bool StripTagHandler(const TagCall& call) {
    auto& context = *static_cast<StripTagContext*>(call.context);
    if (isNamed(call, context.name)) context.copier.replaceTag(call);
    return false;
}

bool StripTagAttributesHandler(const TagCall& call) {
    auto& context = *static_cast<StripTagContext*>(call.context);
    if (!isNamed(call, context.name)) return false;
    const bool isEmpty = isEmptyElementTag(call);
    std::u16string tag;
    if (!isStartTag(call)) {
        ((tag += u"</") += context.name) += u'>';
    } else {
        std::u16string_view kind = u"HREF";
        std::u16string_view target = attributeViewOfTag(call, kind);
        if (target.empty()) {
            kind = u"SRC";
            target = attributeViewOfTag(call, kind);
        }
        if (!target.empty()) {
            ((tag += u'<') += context.name) += u' ';
            ((tag += kind) += u"=\"") += target;
            tag += isEmpty ? u"\"/>" : u"\">";
        } else if (!isEmpty) {
            ((tag += u'<') += context.name) += u'>';
        }
    }
    context.copier.replaceTag(call, tag);
    return false;
}

struct StripLinksContext {
    Copier copier;
    bool inLink = false;
};

bool StripLinksHandler(const TagCall& call) {
    auto& context = *static_cast<StripLinksContext*>(call.context);
    if (context.inLink) context.copier.skipTo(call.tagLocation);
    if (isNamed(call, u"A")) {
        context.copier.replaceTag(call);
        context.inLink = isStartTag(call) && !isEmptyElementTag(call);
    } else if (isNamed(call, u"LINK")) {
        context.copier.replaceTag(call);
    } else if (context.inLink) {
        context.copier.copyTo(call.tagLocation + call.tagLength);
    }
    return false;
}

struct StripTagBodiesContext {
    std::span<const std::u16string> prefixes;  // in upper case
    Copier copier;
    std::u16string_view name = {};  // of the element that is removed or kept
    std::size_t depth = 0;          // of elements of that name; 0 outside
};

// Follows the elements that match: true when the call opens or closes the outermost one, with
// depth 1 or 0 then.
bool opensOrCloses(const TagCall& call, StripTagBodiesContext& context) {
    if (call.tagKind != TagKindElement) return false;
    const bool opens = isStartTag(call) && !isEmptyElementTag(call);
    if (context.depth == 0) {
        const auto begins = [tag = call.tag()](std::u16string_view prefix) {
            return prefix.size() <= tag.size() &&
                   equalsUpperCase(tag.substr(0, prefix.size()), prefix);
        };
        if (!opens || std::none_of(context.prefixes.begin(), context.prefixes.end(), begins)) {
            return false;
        }
        context.name = call.name();
        context.depth = 1;
        return true;
    }
    const auto sameLetter = [](char16_t a, char16_t b) { return toUpper(a) == toUpper(b); };
    const std::u16string_view name = call.name();
    if (!std::equal(name.begin(), name.end(), context.name.begin(), context.name.end(),
                    sameLetter)) {
        return false;
    }
    if (opens) {
        ++context.depth;
    } else if (call.tagLength >= 3) {  // "<>" is neither
        --context.depth;
    }
    return context.depth == 0;
}

bool StripTagBodiesHandler(const TagCall& call) {
    auto& context = *static_cast<StripTagBodiesContext*>(call.context);
    if (!opensOrCloses(call, context)) return false;
    if (context.depth) {
        context.copier.copyTo(call.tagLocation);
    } else {
        context.copier.skipTo(call.tagLocation + call.tagLength);
    }
    return false;
}

bool StripTagBodiesExceptHandler(const TagCall& call) {
    auto& context = *static_cast<StripTagBodiesContext*>(call.context);
    if (!opensOrCloses(call, context)) return false;
    if (context.depth) {
        context.copier.skipTo(call.tagLocation);
    } else {
        context.copier.copyTo(call.tagLocation + call.tagLength);
        context.copier.append(u"\n");
    }
    return false;
}

std::u16string upperCase(std::u16string_view text) {
    std::u16string out(text);
    std::transform(out.begin(), out.end(), out.begin(), toUpper);
    return out;
}

}  // namespace

std::u16string stripTags(std::u16string_view html) {
    std::u16string result;
    GetTagsOfString(html, StripTagsHandler, &result);
    return result;
}

std::u16string stripTag(std::u16string_view html, std::u16string_view name) {
    StripTagContext context{name, Copier(html)};
    if (!name.empty()) GetTagsOfString(html, StripTagHandler, &context);
    return context.copier.finish();
}

std::u16string stripAttributesOfTag(std::u16string_view html, std::u16string_view name) {
    StripTagContext context{name, Copier(html)};
    if (!name.empty()) GetTagsOfString(html, StripTagAttributesHandler, &context);
    return context.copier.finish();
}

std::u16string stripLinks(std::u16string_view html) {
    StripLinksContext context{Copier(html)};
    GetTagsOfString(html, StripLinksHandler, &context);
    return context.copier.finish();
}

std::optional<std::u16string> stripTagBodies(std::u16string_view html,
                                             std::span<const std::u16string> prefixes,
                                             bool except) {
    std::vector<std::u16string> usable;
    for (const std::u16string& prefix : prefixes) {
        if (!prefix.empty()) usable.push_back(upperCase(prefix));
    }
    StripTagBodiesContext context{usable, Copier(html)};
    if (usable.empty()) return except ? std::nullopt : std::optional(std::u16string(html));
    GetTagsOfString(html, except ? StripTagBodiesExceptHandler : StripTagBodiesHandler, &context);
    const bool isOpen = context.depth > 0;
    if (!except) return isOpen ? context.copier.take() : context.copier.finish();
    if (!context.copier.hasChanged()) return std::nullopt;
    return isOpen ? context.copier.finish() : context.copier.take();
}

std::optional<std::u16string> stripTagBodiesExcept(std::u16string_view html,
                                                   std::span<const std::u16string> prefixes) {
    return stripTagBodies(html, prefixes, true);
}

}  // namespace corvy
