// JSON and property lists.
//
// Text is UTF-8; a lone surrogate is written as its \uD800-style escape and read from it, so that
// every string survives both ways.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

struct JsonStyle {
    bool pretty = false;  // indented by two blanks, one entry a line
    // Dictionaries as plain JSON objects and null placeholders as null. Without it a dictionary is
    // {"dict": {...}}, so that no reader takes {"bytes": "..."} for one.
    bool plainDictionaries = false;
    // Gives the JSON of bytes instead of the form below. `key` is the one that they stand under, or
    // the array that holds them; empty outside of a dictionary.
    std::function<std::string(std::u16string_view key, const Bytes& bytes)> bytesForm = {};
};

// Bytes are {"bytes": BASE64}, dates {"date": SECONDS}, addresses {"url": TEXT}; numbers take the
// shortest form that reads back, and what is no finite number is null.
std::string jsonOf(const PropertyList& value, const JsonStyle& style = {});
// The string with its quotation marks.
std::string jsonString(std::u16string_view text);

// Objects become dictionaries (of equal keys the last counts), numbers 64-bit integers where they
// are whole and fit, else doubles. None for anything that is not one JSON value, or is nested
// deeper than 200.
std::optional<PropertyList> propertyListOfJson(std::string_view json);

std::string base64Of(std::string_view bytes);
// None for characters outside the alphabet, or a wrong length; white space does not count.
std::optional<std::string> bytesOfBase64(std::string_view text);

}  // namespace corvy
