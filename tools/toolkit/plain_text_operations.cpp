#include "text/plain_text.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

Reply convertTellingOfJunk(Text html, const PlainTextOptions& options) {
    bool didRemoveJunk = false;
    Reply reply{stringByConvertingHtml2PlainText(html, options, &didRemoveJunk), {}};
    reply.out.set(u"didRemoveJunk", didRemoveJunk);
    return reply;
}

constexpr Operation kOperations[] = {
    method<[](Text html) { return stringByConvertingHtml2PlainText(html); }>(
        "stringByConvertingHtml2PlainText"),
    method<stringByConvertingHtml2ReformattedPlainText>(
        "stringByConvertingHtml2ReformattedPlainText"),
    method<stringByConvertingHtml2PlainTextNonUmlauted>(
        "stringByConvertingHtml2PlainTextNonUmlauted:"),
    method<[](Text html, bool nonUmlauted, bool reformat, bool onlyBody, bool googleTags) {
        return stringByConvertingHtml2PlainText(html, {.nonUmlauted = nonUmlauted,
                                                       .reformat = reformat,
                                                       .onlyBody = onlyBody,
                                                       .googleTags = googleTags});
    }>("stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:googleTags:"),
    method<[](Text html, bool nonUmlauted, bool reformat, bool onlyBody, bool googleTags,
              bool imageAlts) {
        return stringByConvertingHtml2PlainText(html, {.nonUmlauted = nonUmlauted,
                                                       .reformat = reformat,
                                                       .onlyBody = onlyBody,
                                                       .googleTags = googleTags,
                                                       .imageAlts = imageAlts});
    }>("stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:googleTags:imageAlts:"),
    method<[](Text html, bool nonUmlauted, bool reformat, bool onlyBody, bool removeJunk,
              bool googleTags, bool imageAlts) {
        return convertTellingOfJunk(html, {.nonUmlauted = nonUmlauted,
                                           .reformat = reformat,
                                           .onlyBody = onlyBody,
                                           .removeJunk = removeJunk,
                                           .googleTags = googleTags,
                                           .imageAlts = imageAlts});
    }>("stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:removeJunk:didRemoveJunk:"
       "googleTags:imageAlts:"),
    method<[](Text html, bool entities, bool stdEntities, bool nonUmlauted, bool reformat,
              bool onlyBody, bool removeJunk, bool googleTags, bool imageAlts) {
        return convertTellingOfJunk(html, {entities, stdEntities, nonUmlauted, reformat, onlyBody,
                                           removeJunk, googleTags, imageAlts});
    }>("stringByConvertingHtml2PlainTextEntities:stdEntities:nonUmlauted:reformat:onlyBody:"
       "removeJunk:didRemoveJunk:googleTags:imageAlts:"),
    method<stringByConvertingHtml2SimplifiedPlainText>(
        "stringByConvertingHtml2SimplifiedPlainText"),
};

}  // namespace

std::span<const Operation> plainTextOperations() {
    return kOperations;
}

}  // namespace corvy::tools
