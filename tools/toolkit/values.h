// The values of the toolkit bridge: what JSON stands for each C++ type of arguments and results.
//
// Requests come in as plain property lists, in which bytes, dates, addresses, ranges, sizes and
// dictionaries are objects of one entry, such as {"range": [0, 4]}.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/encoding.h"
#include "foundation/property_list.h"
#include "foundation/range.h"
#include "foundation/size_string.h"

namespace corvy::tools {

// A result and the out-parameters by name.
struct Reply {
    PropertyList result;
    Dictionary out;
};

// An argument of type T as it is read: `read` is false when the JSON is of another type, `value`
// gives what the function takes. It is valid as long as the value that was read.
template <typename T>
struct Argument;

// A last argument that need not be there.
template <typename T>
struct LastIfAny {
    std::optional<T> given;
};

struct RequiredArgument {
    static constexpr bool kCanBeLeftOut = false;
};

template <>
struct Argument<std::u16string_view> : RequiredArgument {
    static constexpr const char* kName = "string";
    bool read(const PropertyList& json);
    std::u16string_view value() const { return *text_; }

private:
    const std::u16string* text_ = nullptr;
};

template <>
struct Argument<bool> : RequiredArgument {
    static constexpr const char* kName = "boolean";
    bool read(const PropertyList& json);
    bool value() const { return value_; }

private:
    bool value_ = false;
};

template <>
struct Argument<std::int64_t> : RequiredArgument {
    static constexpr const char* kName = "integer";
    bool read(const PropertyList& json);
    std::int64_t value() const { return value_; }

private:
    std::int64_t value_ = 0;
};

template <>
struct Argument<double> : RequiredArgument {
    static constexpr const char* kName = "real";
    bool read(const PropertyList& json);
    double value() const { return value_; }

private:
    double value_ = 0;
};

template <>
struct Argument<Size> : RequiredArgument {
    static constexpr const char* kName = "size";
    bool read(const PropertyList& json);
    Size value() const { return value_; }

private:
    Size value_;
};

// One UTF-16 code unit, as its number.
template <>
struct Argument<char16_t> : RequiredArgument {
    static constexpr const char* kName = "code unit";
    bool read(const PropertyList& json);
    char16_t value() const { return value_; }

private:
    char16_t value_ = 0;
};

template <>
struct Argument<Range> : RequiredArgument {
    static constexpr const char* kName = "range";
    bool read(const PropertyList& json);
    Range value() const { return value_; }

private:
    Range value_;
};

template <>
struct Argument<Bytes> : RequiredArgument {
    static constexpr const char* kName = "bytes";
    bool read(const PropertyList& json);
    const Bytes& value() const { return value_; }

private:
    Bytes value_;
};

template <>
struct Argument<Url> : RequiredArgument {
    static constexpr const char* kName = "address";
    bool read(const PropertyList& json);
    const Url& value() const { return value_; }

private:
    Url value_;
};

template <>
struct Argument<Encoding> : RequiredArgument {
    static constexpr const char* kName = "encoding";
    bool read(const PropertyList& json);
    Encoding value() const { return value_; }

private:
    Encoding value_ = Encoding::kInvalid;
};

template <>
struct Argument<std::vector<std::u16string>> : RequiredArgument {
    static constexpr const char* kName = "list of strings";
    bool read(const PropertyList& json);
    const std::vector<std::u16string>& value() const { return value_; }

private:
    std::vector<std::u16string> value_;
};

// A dictionary in its object of one entry, {"dict": {...}}. What it holds is taken out of such
// objects as well.
template <>
struct Argument<Dictionary> : RequiredArgument {
    static constexpr const char* kName = "dictionary";
    bool read(const PropertyList& json);
    const Dictionary& value() const { return value_; }

private:
    Dictionary value_;
};

// A list of dictionaries.
template <>
struct Argument<Array> : RequiredArgument {
    static constexpr const char* kName = "list of dictionaries";
    bool read(const PropertyList& json);
    const Array& value() const { return value_; }

private:
    Array value_;
};

template <typename T>
constexpr const char* kOptionalName = nullptr;
template <>
inline constexpr const char* kOptionalName<std::u16string_view> = "string or null";
template <>
inline constexpr const char* kOptionalName<std::int64_t> = "integer or null";
template <>
inline constexpr const char* kOptionalName<Bytes> = "bytes or null";
template <>
inline constexpr const char* kOptionalName<Url> = "address or null";

template <typename T>
struct Argument<std::optional<T>> : RequiredArgument {
    static constexpr const char* kName = kOptionalName<T>;
    bool read(const PropertyList& json) {
        isSet_ = !json.isNull();
        return !isSet_ || held_.read(json);
    }
    std::optional<T> value() const {
        return isSet_ ? std::optional<T>(held_.value()) : std::nullopt;
    }

private:
    Argument<T> held_;
    bool isSet_ = false;
};

template <typename T>
struct Argument<LastIfAny<T>> : Argument<std::optional<T>> {
    static constexpr bool kCanBeLeftOut = true;
    LastIfAny<T> value() const { return {Argument<std::optional<T>>::value()}; }
};

// A value as the reply holds it.
inline PropertyList resultOf(bool value) {
    return value;
}
inline PropertyList resultOf(std::int64_t value) {
    return value;
}
inline PropertyList resultOf(std::uint64_t value) {
    return static_cast<std::int64_t>(value);
}
inline PropertyList resultOf(char16_t value) {
    return std::int32_t{value};
}
inline PropertyList resultOf(std::u16string value) {
    return value;
}
inline PropertyList resultOf(Bytes value) {
    return value;
}
inline PropertyList resultOf(Url value) {
    return value;
}
PropertyList resultOf(Range value);
PropertyList resultOf(Size value);
PropertyList resultOf(Encoding value);
PropertyList resultOf(std::vector<std::u16string> list);
// A dictionary goes out in its object of one entry, and so do those inside it.
PropertyList resultOf(PropertyList value);

template <typename T>
PropertyList resultOf(std::optional<T> value) {
    return value ? resultOf(std::move(*value)) : PropertyList();
}

}  // namespace corvy::tools
