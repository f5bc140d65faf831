#include "text/plain_text.h"

#include <memory>
#include <new>

#include "markup/tag_scanner.h"
#include "text/plain_text_context.h"
#include "text/plain_text_handler.h"

namespace corvy {

namespace {

// A context that begins to write at `buffer`.
PlainTextContext contextFor(const PlainTextOptions& options, char16_t* buffer, bool onlyBody) {
    return {.outputStart = buffer,
            .output = buffer,
            .lineStart = buffer,
            .entities = options.entities,
            .stdEntities = options.stdEntities,
            .nonUmlauted = options.nonUmlauted,
            .reformat = options.reformat,
            .removeJunk = options.removeJunk,
            .googleTags = options.googleTags,
            .imageAlts = options.imageAlts,
            .bodyDepth = onlyBody ? 0 : kWholeDocument};
}

std::u16string convertHtml2PlainTextUsingHandler(std::u16string_view html, TagHandler handler,
                                                 const PlainTextOptions& options,
                                                 bool* didRemoveJunk) {
    if (didRemoveJunk) *didRemoveJunk = false;
    // Pages that are not written to cost nothing.
    const std::unique_ptr<char16_t[]> buffer(
        new (std::nothrow) char16_t[plainTextCapacity(html.size())]);
    if (!buffer) return std::u16string(html);
    PlainTextContext page = contextFor(options, buffer.get(), options.onlyBody);
    const bool scanned = parseXmlWithHandler(html, handler, &page);
    if (scanned && options.onlyBody && !page.sawBodyContent) {
        page = contextFor(options, buffer.get(), false);
        parseXmlWithHandler(html, handler, &page);
    }
    if (!page.sawBodyContent) return std::u16string(html);
    if (didRemoveJunk) *didRemoveJunk = page.didRemoveJunk;
    return {page.outputStart, page.output};
}

}  // namespace

std::u16string stringByConvertingHtml2PlainText(std::u16string_view html,
                                                const PlainTextOptions& options,
                                                bool* didRemoveJunk) {
    return convertHtml2PlainTextUsingHandler(html, PlainTextHandler, options, didRemoveJunk);
}

std::u16string stringByConvertingHtml2ReformattedPlainText(std::u16string_view html) {
    return stringByConvertingHtml2PlainText(html, {.reformat = true});
}

std::u16string stringByConvertingHtml2PlainTextNonUmlauted(std::u16string_view html,
                                                           bool nonUmlauted) {
    return stringByConvertingHtml2PlainText(html, {.nonUmlauted = nonUmlauted});
}

std::u16string stringByConvertingHtml2SimplifiedPlainText(std::u16string_view html) {
    return convertHtml2PlainTextUsingHandler(html, SimplePlainTextHandler, {.onlyBody = true},
                                             nullptr);
}

}  // namespace corvy
