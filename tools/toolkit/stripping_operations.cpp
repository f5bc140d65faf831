#include "markup/stripping.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;
using Texts = std::vector<std::u16string>;

constexpr Operation kOperations[] = {
    method<stripTags>("stripTags"),
    method<stripLinks>("stripLinks"),
    method<stripTag>("stripTag:"),
    method<stripAttributesOfTag>("stripAttributesOfTag:"),
    method<[](Text html, const Texts& prefixes) { return stripTagBodies(html, prefixes); }>(
        "stripTagBodies:"),
    method<[](Text html, const Texts& prefixes) { return stripTagBodiesExcept(html, prefixes); }>(
        "stripTagBodiesExcept:"),
    method<[](Text html, const Texts& prefixes, bool except) {
        return stripTagBodies(html, prefixes, except);
    }>("stripTagBodies:except:"),
    method<stripObjectsAndReplaceImages>("stripObjectsAndReplaceImages:"),
};

}  // namespace

std::span<const Operation> strippingOperations() {
    return kOperations;
}

}  // namespace corvy::tools
