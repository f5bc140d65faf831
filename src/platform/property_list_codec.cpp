#include "platform/property_list_codec.h"

#include <fcntl.h>

#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

#include "platform/sealed_memory.h"

namespace corvy::platform {

namespace {

using Kind = PropertyList::Kind;

// A value is its kind as one byte and what the kind asks for: numbers and dates as they lie in
// memory, lengths and counts as LEB128, strings and keys as units. The two forms below stand for
// values in files: only the length follows.
constexpr auto kStringInFile = std::byte{0x80};
constexpr auto kBytesInFile = std::byte{0x81};

std::span<const std::byte> bytesOf(std::u16string_view text) {
    return std::as_bytes(std::span(text));
}

class Encoder {
public:
    bool encode(const PropertyList& value, std::size_t depth = 0) {
        if (depth > kMaxCodedDepth || !count(1)) return false;
        return value.visit([&](const auto& content) { return encodeContent(content, depth); }) &&
               result.tree.size() <= kMaxCodedSize;
    }

    CodedPropertyList result;

private:
    bool count(std::size_t more) {
        values_ += more;
        return values_ <= kMaxCodedValues;
    }

    void putByte(std::byte byte) { result.tree.push_back(byte); }
    void putKind(Kind kind) { putByte(static_cast<std::byte>(kind)); }

    void put(std::span<const std::byte> bytes) {
        result.tree.insert(result.tree.end(), bytes.begin(), bytes.end());
    }

    void putLength(std::uint64_t length) {
        for (; length >= 0x80; length >>= 7) putByte(static_cast<std::byte>(length | 0x80));
        putByte(static_cast<std::byte>(length));
    }

    template <typename Number>
    bool putNumber(Kind kind, Number number) {
        putKind(kind);
        put(std::as_bytes(std::span(&number, 1)));
        return true;
    }

    void putText(std::u16string_view text) {
        putLength(text.size());
        put(bytesOf(text));
    }

    bool hasRoomForFile() const { return result.files.size() < kMaxCodedFiles; }

    bool putFile(std::byte form, Descriptor file, std::size_t length) {
        if (!file) return false;
        result.files.push_back(std::move(file));
        putByte(form);
        putLength(length);
        return true;
    }

    bool encodeContent(Null, std::size_t) {
        putKind(Kind::null);
        return true;
    }
    bool encodeContent(bool value, std::size_t) {
        putKind(Kind::boolean);
        putByte(static_cast<std::byte>(value));
        return true;
    }
    bool encodeContent(std::int32_t value, std::size_t) { return putNumber(Kind::int32, value); }
    bool encodeContent(std::int64_t value, std::size_t) { return putNumber(Kind::int64, value); }
    bool encodeContent(float value, std::size_t) { return putNumber(Kind::float32, value); }
    bool encodeContent(double value, std::size_t) { return putNumber(Kind::real, value); }
    bool encodeContent(Date value, std::size_t) { return putNumber(Kind::date, value.seconds); }

    bool encodeContent(const std::u16string& value, std::size_t) {
        if (value.size() >= kFileFrom / sizeof(char16_t) && hasRoomForFile()) {
            return putFile(kStringInFile, sealedMemoryOf(bytesOf(value)), value.size());
        }
        putKind(Kind::string);
        putText(value);
        return true;
    }

    bool encodeContent(const Url& value, std::size_t) {
        putKind(Kind::url);
        putText(value.absoluteString);
        return true;
    }

    bool encodeContent(const Bytes& value, std::size_t) {
        if (hasRoomForFile()) {
            if (value.descriptor() >= 0) {
                return putFile(kBytesInFile,
                               Descriptor(::fcntl(value.descriptor(), F_DUPFD_CLOEXEC, 0)),
                               value.size());
            }
            if (value.size() >= kFileFrom) {
                return putFile(kBytesInFile, sealedMemoryOf(value), value.size());
            }
        }
        putKind(Kind::bytes);
        putLength(value.size());
        put(value);
        return true;
    }

    bool encodeContent(const Array& value, std::size_t depth) {
        putKind(Kind::array);
        putLength(value.size());
        for (const PropertyList& element : value) {
            if (!encode(element, depth + 1)) return false;
        }
        return true;
    }

    bool encodeContent(const Dictionary& value, std::size_t depth) {
        putKind(Kind::dictionary);
        putLength(value.size());
        for (const auto& entry : value) {
            if (!count(1)) return false;
            putText(entry.key);
            if (!encode(entry.value, depth + 1)) return false;
        }
        return true;
    }

    std::size_t values_ = 0;
};

// Every function is false when the tree is malformed; what it wrote does not count then.
class Decoder {
public:
    Decoder(std::span<const std::byte> tree, std::vector<Descriptor> files)
        : rest_(tree), files_(std::move(files)) {}

    bool decode(PropertyList& value, std::size_t depth = 0) {
        std::byte form{};
        if (depth > kMaxCodedDepth || !count(1) || !take(&form, 1)) return false;
        if (form == kStringInFile) return decodeStringInFile(value);
        if (form == kBytesInFile) return decodeBytesInFile(value);
        switch (static_cast<Kind>(form)) {
            case Kind::null: value = Null(); return true;
            case Kind::boolean: return decodeBoolean(value);
            case Kind::int32: return decodeNumber<std::int32_t>(value);
            case Kind::int64: return decodeNumber<std::int64_t>(value);
            case Kind::float32: return decodeNumber<float>(value);
            case Kind::real: return decodeNumber<double>(value);
            case Kind::date: return decodeNumber<Date>(value);
            case Kind::string: {
                std::u16string text;
                if (!takeText(text)) return false;
                value = std::move(text);
                return true;
            }
            case Kind::url: {
                Url url;
                if (!takeText(url.absoluteString)) return false;
                value = std::move(url);
                return true;
            }
            case Kind::bytes: return decodeBytes(value);
            case Kind::array: return decodeArray(value, depth);
            case Kind::dictionary: return decodeDictionary(value, depth);
        }
        return false;
    }

    bool isAtEnd() const { return rest_.empty() && nextFile_ == files_.size(); }

    std::size_t values = 0;
    std::size_t fileBytes = 0;

private:
    bool count(std::size_t more) {
        values += more;
        return values <= kMaxCodedValues;
    }

    bool take(void* target, std::size_t size) {
        if (size > rest_.size()) return false;
        if (size > 0) std::memcpy(target, rest_.data(), size);
        rest_ = rest_.subspan(size);
        return true;
    }

    bool takeLength(std::uint64_t& length) {
        length = 0;
        for (unsigned shift = 0; shift < 63; shift += 7) {
            std::byte byte{};
            if (!take(&byte, 1)) return false;
            length |= std::to_integer<std::uint64_t>(byte & std::byte{0x7F}) << shift;
            if ((byte & std::byte{0x80}) == std::byte{}) return true;
        }
        return false;
    }

    bool takeText(std::u16string& text) {
        std::uint64_t units = 0;
        if (!takeLength(units) || units > rest_.size() / sizeof(char16_t)) return false;
        text.resize(units);
        return take(text.data(), units * sizeof(char16_t));
    }

    template <typename Number>
    bool decodeNumber(PropertyList& value) {
        static_assert(std::is_trivially_copyable_v<Number>);
        Number number{};
        if (!take(&number, sizeof number)) return false;
        value = number;
        return true;
    }

    bool decodeBoolean(PropertyList& value) {
        std::byte byte{};
        if (!take(&byte, 1) || byte > std::byte{1}) return false;
        value = byte == std::byte{1};
        return true;
    }

    bool decodeBytes(PropertyList& value) {
        std::uint64_t size = 0;
        if (!takeLength(size) || size > rest_.size()) return false;
        value = Bytes::copyOf(rest_.first(size));
        rest_ = rest_.subspan(size);
        return true;
    }

    // Each file is named once, so that no file is copied into many strings.
    bool takeFile(Bytes& bytes, std::uint64_t unitSize) {
        std::uint64_t units = 0;
        if (!takeLength(units) || nextFile_ == files_.size()) return false;
        if (units > std::numeric_limits<std::uint64_t>::max() / unitSize) return false;
        auto mapped = bytesOfSealedMemory(std::move(files_[nextFile_++]), units * unitSize);
        if (!mapped) return false;
        bytes = std::move(*mapped);
        fileBytes += bytes.size();
        return true;
    }

    bool decodeStringInFile(PropertyList& value) {
        Bytes bytes;
        if (!takeFile(bytes, sizeof(char16_t))) return false;
        std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
        if (!text.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
        value = std::move(text);
        return true;
    }

    bool decodeBytesInFile(PropertyList& value) {
        Bytes bytes;
        if (!takeFile(bytes, 1)) return false;
        value = std::move(bytes);
        return true;
    }

    bool decodeArray(PropertyList& value, std::size_t depth) {
        std::uint64_t size = 0;
        if (!takeLength(size) || size > rest_.size()) return false;
        Array array;
        for (std::uint64_t i = 0; i < size; ++i) {
            if (!decode(array.emplace_back(), depth + 1)) return false;
        }
        value = std::move(array);
        return true;
    }

    bool decodeDictionary(PropertyList& value, std::size_t depth) {
        std::uint64_t size = 0;
        if (!takeLength(size) || size > rest_.size() / 2) return false;
        Dictionary dictionary;
        std::u16string key;
        for (std::uint64_t i = 0; i < size; ++i) {
            PropertyList entry;
            if (!count(1) || !takeText(key) || !decode(entry, depth + 1)) return false;
            dictionary.set(key, std::move(entry));
        }
        if (dictionary.size() != size) return false;  // a key stood there twice
        value = std::move(dictionary);
        return true;
    }

    std::span<const std::byte> rest_;
    std::vector<Descriptor> files_;
    std::size_t nextFile_ = 0;
};

}  // namespace

std::optional<CodedPropertyList> codedPropertyList(const PropertyList& value) {
    Encoder encoder;
    if (!encoder.encode(value)) return std::nullopt;
    return std::move(encoder.result);
}

std::optional<DecodedPropertyList> decodedPropertyList(std::span<const std::byte> tree,
                                                       std::vector<Descriptor> files) {
    if (tree.size() > kMaxCodedSize) return std::nullopt;
    Decoder decoder(tree, std::move(files));
    DecodedPropertyList result;
    if (!decoder.decode(result.value) || !decoder.isAtEnd()) return std::nullopt;
    result.values = decoder.values;
    result.fileBytes = decoder.fileBytes;
    return result;
}

}  // namespace corvy::platform
