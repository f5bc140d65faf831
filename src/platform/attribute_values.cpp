#include "platform/attribute_values.h"

#include <cmath>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

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

}  // namespace

std::optional<PropertyList> copyOfValue(const CorvyValue& value) {
    return ValueCopier().copy(value, 0);
}

}  // namespace corvy::platform
