// HTML to plain text: the text that is indexed, searched and shown as a snippet.
//
// One pass over the tags, without a tree: what is written depends on each tag's name, on whether it
// opens or closes, on a few attributes, and on the last characters written. Blocks and rows become
// lines, headings and paragraphs are followed by an empty line, cells are kept apart by spaces,
// images speak by their alternative texts, and hidden or scripted content is left out. Time and
// memory are linear in the page, whatever it holds.
#pragma once

#include <string>
#include <string_view>

namespace corvy {

// Switches of the conversion; the defaults give the plain variant.
struct PlainTextOptions {
    bool entities = true;      // decode character references
    bool stdEntities = true;   // those of markup (" & < >), by themselves when `entities` is off
    bool nonUmlauted = false;  // letters without accents; only together with `entities`
    bool reformat = false;     // keep paragraphs and join hard-wrapped lines inside `pre`
    bool onlyBody = false;     // the whole document when it has no body
    bool removeJunk = false;   // leave out overlong texts, and text made invisible by its font
    bool googleTags = false;   // obey "googleoff:" and "googleon:" comments, leave out feed dates
    bool imageAlts = true;     // write the alternative texts of images
};

// The text of the page. The page itself when it is empty, when memory is short, or when the scan
// failed before it came to anything.
// `didRemoveJunk`, if given, tells whether text was left out as junk.
std::u16string stringByConvertingHtml2PlainText(std::u16string_view html,
                                                const PlainTextOptions& options = {},
                                                bool* didRemoveJunk = nullptr);
std::u16string stringByConvertingHtml2ReformattedPlainText(std::u16string_view html);
std::u16string stringByConvertingHtml2PlainTextNonUmlauted(std::u16string_view html,
                                                           bool nonUmlauted);

// The runs of text of the body (of the whole document when that gives none), references decoded
// and otherwise as they stand, each behind a space.
// kept: a page without any text comes back as it is, as HTML.
std::u16string stringByConvertingHtml2SimplifiedPlainText(std::u16string_view html);

}  // namespace corvy
