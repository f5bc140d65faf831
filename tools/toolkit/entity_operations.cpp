#include "markup/entities.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

constexpr Operation kOperations[] = {
    method<[](Text text) { return stringByConvertingEntitiesToCharacters(text); }>(
        "stringByConvertingEntitiesToCharacters"),
    method<[](Text text, bool markup, bool onlyNumericEntities, bool nonUmlauted) {
        return stringByConvertingEntitiesToCharacters(text,
                                                      {markup, onlyNumericEntities, nonUmlauted});
    }>("stringByConvertingEntitiesToCharacters:onlyNumericEntities:nonUmlauted:"),
    method<stringByConvertingEntitiesToCharactersNonUmlauted>(
        "stringByConvertingEntitiesToCharactersNonUmlauted:"),
    method<stringByConvertingStandardEntitiesToCharacters>(
        "stringByConvertingStandardEntitiesToCharacters"),
    method<stringByConvertingCharactersToEntities>("stringByConvertingCharactersToEntities"),
    method<stringByConvertingHighCharactersToEntities>(
        "stringByConvertingHighCharactersToEntities"),
    method<stringByConvertingCharactersToStandardEntities>(
        "stringByConvertingCharactersToStandardEntities"),
    method<stringByConvertingCharactersToJSON>("stringByConvertingCharactersToJSON"),
};

}  // namespace

std::span<const Operation> entityOperations() {
    return kOperations;
}

}  // namespace corvy::tools
