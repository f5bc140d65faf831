#include "tools/toolkit/values.h"

#include "foundation/json.h"
#include "foundation/text.h"

namespace corvy::tools {

namespace {

// The value in an object of that one entry; null when it is none.
const PropertyList* inObject(const PropertyList& json, std::u16string_view key) {
    const Dictionary* object = json.dictionary();
    return object && object->size() == 1 ? object->find(key) : nullptr;
}

// A value out of the objects that stand for it; none when an object stands for no value.
std::optional<PropertyList> valueOf(const PropertyList& json) {
    if (const Array* array = json.array()) {
        Array values;
        for (const PropertyList& element : *array) {
            auto value = valueOf(element);
            if (!value) return std::nullopt;
            values.push_back(*std::move(value));
        }
        return values;
    }
    if (!json.dictionary()) return json;
    if (Argument<Dictionary> dictionary; dictionary.read(json)) return dictionary.value();
    if (Argument<Url> url; url.read(json)) return url.value();
    if (Argument<Bytes> bytes; bytes.read(json)) return bytes.value();
    const PropertyList* seconds = inObject(json, u"date");
    const auto number = seconds ? seconds->number() : std::nullopt;
    return number ? std::optional<PropertyList>(Date{*number}) : std::nullopt;
}

}  // namespace

bool Argument<std::u16string_view>::read(const PropertyList& json) {
    text_ = json.string();
    return text_ != nullptr;
}

bool Argument<bool>::read(const PropertyList& json) {
    const auto value = json.boolean();
    value_ = value.value_or(false);
    return value.has_value();
}

bool Argument<std::int64_t>::read(const PropertyList& json) {
    const auto value = json.integer();
    value_ = value.value_or(0);
    return value.has_value();
}

bool Argument<double>::read(const PropertyList& json) {
    const auto value = json.number();
    value_ = value.value_or(0);
    return value.has_value();
}

bool Argument<Size>::read(const PropertyList& json) {
    const PropertyList* held = inObject(json, u"size");
    const Array* pair = held ? held->array() : nullptr;
    if (!pair || pair->size() != 2) return false;
    const auto width = (*pair)[0].number();
    const auto height = (*pair)[1].number();
    value_ = {width.value_or(0), height.value_or(0)};
    return width && height;
}

bool Argument<char16_t>::read(const PropertyList& json) {
    const auto value = json.integer();
    if (!value || *value < 0 || *value > 0xFFFF) return false;
    value_ = static_cast<char16_t>(*value);
    return true;
}

bool Argument<Range>::read(const PropertyList& json) {
    const PropertyList* held = inObject(json, u"range");
    const Array* pair = held ? held->array() : nullptr;
    if (!pair || pair->size() != 2) return false;
    const auto location = (*pair)[0].integer();
    const auto length = (*pair)[1].integer();
    if (!location || !length || *location < 0 || *length < 0) return false;
    value_ = {static_cast<std::uint64_t>(*location), static_cast<std::uint64_t>(*length)};
    return true;
}

bool Argument<Bytes>::read(const PropertyList& json) {
    const PropertyList* held = inObject(json, u"bytes");
    const std::u16string* text = held ? held->string() : nullptr;
    const auto bytes = text ? bytesOfBase64(toUtf8(*text)) : std::nullopt;
    if (bytes) value_ = Bytes::copyOf(*bytes);
    return bytes.has_value();
}

bool Argument<Url>::read(const PropertyList& json) {
    const PropertyList* held = inObject(json, u"url");
    const std::u16string* text = held ? held->string() : nullptr;
    if (text) value_.absoluteString = *text;
    return text != nullptr;
}

bool Argument<Encoding>::read(const PropertyList& json) {
    if (json.isNull()) return true;
    const auto encoding = json.string() ? encodingNamed(toUtf8(*json.string())) : std::nullopt;
    if (encoding) value_ = *encoding;
    return encoding.has_value();
}

bool Argument<std::vector<std::u16string>>::read(const PropertyList& json) {
    if (!json.array()) return false;
    for (const PropertyList& element : *json.array()) {
        if (!element.string()) return false;
        value_.push_back(*element.string());
    }
    return true;
}

bool Argument<Dictionary>::read(const PropertyList& json) {
    const PropertyList* held = inObject(json, u"dict");
    if (!held || !held->dictionary()) return false;
    for (const auto& [key, element] : *held->dictionary()) {
        auto value = valueOf(element);
        if (!value) return false;
        value_.set(key, *std::move(value));
    }
    return true;
}

bool Argument<Array>::read(const PropertyList& json) {
    if (!json.array()) return false;
    for (const PropertyList& element : *json.array()) {
        Argument<Dictionary> dictionary;
        if (!dictionary.read(element)) return false;
        value_.emplace_back(dictionary.value());
    }
    return true;
}

PropertyList resultOf(Range value) {
    return Dictionary{{u"range", Array{static_cast<std::int64_t>(value.location),
                                       static_cast<std::int64_t>(value.length)}}};
}

PropertyList resultOf(Size value) {
    return Dictionary{{u"size", Array{value.width, value.height}}};
}

PropertyList resultOf(Encoding value) {
    if (value == Encoding::kInvalid) return Null();
    return fromUtf8(nameOfEncoding(value));
}

PropertyList resultOf(std::vector<std::u16string> list) {
    Array array;
    array.reserve(list.size());
    for (std::u16string& text : list) array.emplace_back(std::move(text));
    return array;
}

PropertyList resultOf(PropertyList value) {
    if (Array* array = value.array()) {
        for (PropertyList& element : *array) element = resultOf(std::move(element));
    } else if (const Dictionary* dictionary = value.dictionary()) {
        Dictionary wrapped;
        for (const auto& [key, held] : *dictionary) wrapped.set(key, resultOf(held));
        return Dictionary{{u"dict", std::move(wrapped)}};
    }
    return value;
}

}  // namespace corvy::tools
