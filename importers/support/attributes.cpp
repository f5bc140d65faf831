#include "importers/support/attributes.h"

#include <deque>

#include "foundation/text.h"

namespace corvy {

namespace {

// Lays values out as the C interface has them. What they point to lives as long as this, or belongs
// to the value that is laid out.
class ValueLayout {
public:
    CorvyValue valueOf(const PropertyList& value) {
        return value.visit([this](const auto& held) { return lay(held); });
    }

private:
    static CorvyValue items(CorvyKind kind, const void* start, std::size_t count) {
        CorvyValue value{};
        value.kind = kind;
        value.as.items.start = start;
        value.as.items.count = count;
        return value;
    }
    static CorvyValue real(CorvyKind kind, double number) {
        CorvyValue value{};
        value.kind = kind;
        value.as.real = number;
        return value;
    }

    CorvyValue lay(Null) { return items(CORVY_NULL, nullptr, 0); }
    CorvyValue lay(bool flag) {
        CorvyValue value{};
        value.kind = CORVY_BOOLEAN;
        value.as.boolean = flag ? 1 : 0;
        return value;
    }
    CorvyValue lay(std::int32_t number) { return lay(std::int64_t{number}); }
    CorvyValue lay(std::int64_t number) {
        CorvyValue value{};
        value.kind = CORVY_INTEGER;
        value.as.integer = number;
        return value;
    }
    CorvyValue lay(float number) { return real(CORVY_REAL, double{number}); }
    CorvyValue lay(double number) { return real(CORVY_REAL, number); }
    CorvyValue lay(Date date) { return real(CORVY_DATE, date.seconds); }
    CorvyValue lay(const std::u16string& text) {
        return items(CORVY_STRING16, text.data(), text.size());
    }
    CorvyValue lay(const Url& url) { return lay(url.absoluteString); }
    CorvyValue lay(const Bytes& bytes) { return items(CORVY_BYTES, bytes.data(), bytes.size()); }
    CorvyValue lay(const Array& array) {
        std::vector<CorvyValue> values;
        values.reserve(array.size());
        for (const PropertyList& element : array) values.push_back(valueOf(element));
        const auto& kept = values_.emplace_back(std::move(values));
        return items(CORVY_ARRAY, kept.data(), kept.size());
    }
    CorvyValue lay(const Dictionary& dictionary) {
        std::vector<CorvyEntry> entries;
        entries.reserve(dictionary.size());
        for (const auto& [key, value] : dictionary) {
            entries.push_back({keys_.emplace_back(toUtf8(key)).c_str(), valueOf(value)});
        }
        const auto& kept = entries_.emplace_back(std::move(entries));
        return items(CORVY_DICTIONARY, kept.data(), kept.size());
    }

    std::deque<std::vector<CorvyValue>> values_;
    std::deque<std::vector<CorvyEntry>> entries_;
    std::deque<std::string> keys_;
};

bool saysNothing(const PropertyList& value) {
    if (const auto* text = value.string()) return text->empty();
    if (const auto* array = value.array()) return array->empty();
    if (const auto* dictionary = value.dictionary()) return dictionary->empty();
    return value.isNull();
}

}  // namespace

void Attributes::set(const char* key, const PropertyList& value) {
    if (saysNothing(value)) return;
    ValueLayout layout;
    const CorvyValue laidOut = layout.valueOf(value);
    attributes_->functions->set(attributes_, key, &laidOut);
}

void Attributes::setTextContent(std::u16string_view text) {
    const bool cutsPair = text.size() > kMostText && (text[kMostText] & 0xFC00) == 0xDC00;
    set("kMDItemTextContent", text.substr(0, cutsPair ? kMostText - 1 : kMostText));
}

void Attributes::set(const char* key, const std::vector<std::u16string>& texts) {
    set(key, Array(texts.begin(), texts.end()));
}

}  // namespace corvy
