// The value of every result: a tree of property-list values.
//
// Strings are runs of UTF-16 code units, lone surrogates included. A dictionary keeps its keys in
// the order in which they were first set. Values are copied deeply, except that bytes share their
// storage.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "foundation/bytes.h"

namespace corvy {

class PropertyList;

// The placeholder for "no value" inside a collection.
struct Null {
    friend bool operator==(Null, Null) { return true; }
};

// A point in time, in seconds since 1970-01-01T00:00:00Z.
struct Date {
    double seconds = 0;
    friend bool operator==(Date, Date) = default;
};

// An absolute address.
struct Url {
    std::u16string absoluteString;
    friend bool operator==(const Url&, const Url&) = default;
};

using Array = std::vector<PropertyList>;

class Dictionary {
public:
    struct Entry;

    Dictionary();
    Dictionary(std::initializer_list<Entry> entries);
    Dictionary(const Dictionary&);
    Dictionary(Dictionary&&) noexcept;
    Dictionary& operator=(const Dictionary&);
    Dictionary& operator=(Dictionary&&) noexcept;
    ~Dictionary();

    // Sets the value of a key; a new key goes to the end, a known one keeps its place.
    void set(std::u16string_view key, PropertyList value);
    // Sets every entry of `other`, in its order.
    void addEntries(const Dictionary& other);
    // Makes room for so many entries.
    void reserve(std::size_t entries);
    // False when the key was not there.
    bool remove(std::u16string_view key);
    // Null when the key is not there. Valid until the dictionary changes.
    const PropertyList* find(std::u16string_view key) const;
    PropertyList* find(std::u16string_view key);
    bool contains(std::u16string_view key) const { return find(key) != nullptr; }

    std::size_t size() const;
    bool empty() const { return size() == 0; }
    const Entry* begin() const;
    const Entry* end() const;

    // Equal when the keys and their values are; the order does not count.
    friend bool operator==(const Dictionary& a, const Dictionary& b);

private:
    std::size_t indexOf(std::u16string_view key) const;
    void rebuildIndex();

    std::vector<Entry> entries_;
    // Filled only once the dictionary has grown past a few dozen entries.
    std::unordered_map<std::u16string, std::size_t> index_;
};

class PropertyList {
public:
    // In the order of the variant below.
    enum class Kind {
        null,
        boolean,
        int32,
        int64,
        float32,
        real,
        string,
        bytes,
        date,
        url,
        array,
        dictionary
    };

    PropertyList() = default;  // the null placeholder
    PropertyList(Null) {}
    PropertyList(bool value) : value_(value) {}
    PropertyList(std::int32_t value) : value_(value) {}
    PropertyList(std::int64_t value) : value_(value) {}
    PropertyList(float value) : value_(value) {}
    PropertyList(double value) : value_(value) {}
    PropertyList(std::u16string value) : value_(std::move(value)) {}
    PropertyList(std::u16string_view value) : value_(std::u16string(value)) {}
    PropertyList(const char16_t* value) : value_(std::u16string(value)) {}
    PropertyList(Bytes value) : value_(std::move(value)) {}
    PropertyList(Date value) : value_(value) {}
    PropertyList(Url value) : value_(std::move(value)) {}
    PropertyList(Array value) : value_(std::move(value)) {}
    PropertyList(Dictionary value) : value_(std::move(value)) {}
    template <typename T>
    PropertyList(T*) = delete;  // a pointer is no truth value

    Kind kind() const { return static_cast<Kind>(value_.index()); }
    bool isNull() const { return kind() == Kind::null; }

    // The value, or null when it is of another kind.
    const std::u16string* string() const { return std::get_if<std::u16string>(&value_); }
    const Bytes* bytes() const { return std::get_if<Bytes>(&value_); }
    const Date* date() const { return std::get_if<Date>(&value_); }
    const Url* url() const { return std::get_if<Url>(&value_); }
    const Array* array() const { return std::get_if<Array>(&value_); }
    Array* array() { return std::get_if<Array>(&value_); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value_); }
    Dictionary* dictionary() { return std::get_if<Dictionary>(&value_); }
    std::optional<bool> boolean() const;
    // Both widths of integer.
    std::optional<std::int64_t> integer() const;
    // Every number: integers and both widths of real.
    std::optional<double> number() const;

    template <typename Visitor>
    decltype(auto) visit(Visitor&& visitor) const {
        return std::visit(std::forward<Visitor>(visitor), value_);
    }

    friend bool operator==(const PropertyList& a, const PropertyList& b) = default;

private:
    std::variant<Null, bool, std::int32_t, std::int64_t, float, double, std::u16string, Bytes, Date,
                 Url, Array, Dictionary>
        value_;
};

struct Dictionary::Entry {
    std::u16string key;
    PropertyList value;
    friend bool operator==(const Entry&, const Entry&) = default;
};

// The entry of a dictionary as a string; none when it is missing or of another kind.
std::optional<std::u16string> stringOf(const Dictionary& dictionary, std::u16string_view key);

}  // namespace corvy
