#include "platform/attribute_values.h"

#include <cmath>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kMostBytesOfUnit = 3;  // of UTF-16, in UTF-8

class ValueCopier {
public:
    std::optional<PropertyList> copy(const CorvyValue& value, std::size_t depth) {
        if (++parts_ > kMaxAttributeParts || depth > kMaxAttributeDepth) return std::nullopt;
        const auto& as = value.as;
        switch (value.kind) {
            case CORVY_NULL: return PropertyList();
            case CORVY_BOOLEAN: return PropertyList(as.boolean != 0);
            case CORVY_INTEGER: return PropertyList(as.integer);
            case CORVY_REAL:
                return std::isfinite(as.real) ? std::optional(PropertyList(as.real)) : std::nullopt;
            case CORVY_DATE:
                return std::isfinite(as.real) ? std::optional(PropertyList(Date{as.real}))
                                              : std::nullopt;
            default: break;
        }
        if (!as.items.start && as.items.count > 0) return std::nullopt;
        switch (value.kind) {
            case CORVY_STRING: {
                const auto bytes = items<char>(value);
                return PropertyList(fromUtf8({bytes.data(), bytes.size()}));
            }
            case CORVY_STRING16: {
                const auto units = items<char16_t>(value);
                return PropertyList(std::u16string(units.begin(), units.end()));
            }
            case CORVY_BYTES: return PropertyList(Bytes::copyOf(items<std::byte>(value)));
            case CORVY_ARRAY: return array(items<CorvyValue>(value), depth);
            case CORVY_DICTIONARY: return dictionary(items<CorvyEntry>(value), depth);
            default: return std::nullopt;
        }
    }

private:
    template <typename T>
    static std::span<const T> items(const CorvyValue& value) {
        return {static_cast<const T*>(value.as.items.start), value.as.items.count};
    }

    std::optional<PropertyList> array(std::span<const CorvyValue> values, std::size_t depth) {
        Array copied;
        for (const CorvyValue& value : values) {
            auto element = copy(value, depth + 1);
            if (!element) return std::nullopt;
            copied.push_back(*std::move(element));
        }
        return PropertyList(std::move(copied));
    }

    std::optional<PropertyList> dictionary(std::span<const CorvyEntry> entries, std::size_t depth) {
        Dictionary copied;
        for (const CorvyEntry& entry : entries) {
            if (!entry.key) return std::nullopt;
            auto value = copy(entry.value, depth + 1);
            if (!value) return std::nullopt;
            copied.set(fromUtf8(entry.key), *std::move(value));
        }
        return PropertyList(std::move(copied));
    }

    std::size_t parts_ = 0;
};

void addBytes(std::size_t count, AttributeWeight& weight) {
    if (count >= kLargeAttribute) {
        ++weight.large;
    } else {
        weight.bytes += count;
    }
}

void addText(std::u16string_view text, AttributeWeight& weight) {
    addBytes(text.size() * kMostBytesOfUnit, weight);
}

void addValue(const PropertyList& value, AttributeWeight& weight) {
    ++weight.parts;
    if (const std::u16string* text = value.string()) addText(*text, weight);
    if (const Bytes* bytes = value.bytes()) addBytes(bytes->size(), weight);
    if (const Array* array = value.array()) {
        for (const PropertyList& element : *array) addValue(element, weight);
    }
    if (const Dictionary* dictionary = value.dictionary()) {
        for (const auto& [key, entry] : *dictionary) {
            weight.bytes += key.size() * kMostBytesOfUnit;
            addValue(entry, weight);
        }
    }
}

}  // namespace

AttributeWeight& AttributeWeight::operator+=(const AttributeWeight& other) {
    parts += other.parts;
    large += other.large;
    bytes += other.bytes;
    return *this;
}

AttributeWeight& AttributeWeight::operator-=(const AttributeWeight& other) {
    parts -= other.parts;
    large -= other.large;
    bytes -= other.bytes;
    return *this;
}

bool AttributeWeight::isWithinBounds() const {
    return parts <= kMaxAttributeParts && large <= kMaxLargeAttributes &&
           bytes <= kMaxAttributeBytes;
}

AttributeWeight weightOfAttribute(std::u16string_view key, const PropertyList& value) {
    AttributeWeight weight{.bytes = key.size() * kMostBytesOfUnit};
    addValue(value, weight);
    return weight;
}

std::optional<PropertyList> copyOfValue(const CorvyValue& value) {
    return ValueCopier().copy(value, 0);
}

}  // namespace corvy::platform
