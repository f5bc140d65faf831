// Removal of markup from HTML, while the rest stays as it stands: no entity is decoded, and no
// white space changed beyond what is said here.
//
// Tag names are given in ASCII upper case. All of it takes one scan of the text.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvy {

// All tags, comments and sections removed, and `script` and `style` elements with their content.
// One space keeps apart the texts around them, unless the first ends in white space (or there is
// none).
std::u16string stripTags(std::u16string_view html);

// The tags of one name removed, the text between them kept. A `script` or `style` element goes
// as a whole.
std::u16string stripTag(std::u16string_view html, std::u16string_view name);

// The tags of one name without their attributes, but for the link target: HREF, else SRC.
// kept: an empty-element tag without a target is dropped.
std::u16string stripAttributesOfTag(std::u16string_view html, std::u16string_view name);

// The link elements removed with their text, and all `link` tags.
// kept: a link that is never closed removes all later text, but no later tags.
std::u16string stripLinks(std::u16string_view html);

// The elements whose start tag begins with one of the prefixes (such as u"<div class="), case
// ignored, removed with their content, or (except) kept alone, each followed by a line feed. Empty
// prefixes do not count. An element that never closes runs to the end.
// kept: a `script` or `style` element, which the scanner reports as one tag, counts as opened only.
// None when `except` is set and nothing matched, or no prefix is usable.
std::optional<std::u16string> stripTagBodies(std::u16string_view html,
                                             std::span<const std::u16string> prefixes,
                                             bool except = false);
std::optional<std::u16string> stripTagBodiesExcept(std::u16string_view html,
                                                   std::span<const std::u16string> prefixes);

// For reading without distraction. Removed are
// - applet, audio, canvas, iframe, noembed, object and video elements with their content (of one
//   that is never closed, the start tag), and script elements;
// - bgsound, embed, param, source and track tags;
// - images of a host with a label of advertising ("ads.example.org", "banner2.example.org"), and
//   those declared 1 pixel wide and high.
// With `replaceImages` every other image gives way to its ALT text in brackets, or to nothing.
std::u16string stripObjectsAndReplaceImages(std::u16string_view html, bool replaceImages);

}  // namespace corvy
