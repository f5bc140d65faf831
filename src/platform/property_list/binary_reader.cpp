#include <algorithm>
#include <bit>
#include <cmath>
#include <span>
#include <string>
#include <utility>

#include "foundation/text.h"
#include "platform/property_list/readers.h"
#include "platform/property_list_reader.h"

namespace corvy::platform {

namespace {

// "bplist00", then the objects, then the table of their offsets, then the trailer:
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;
// whose last fields are two sizes of a byte each and three numbers of eight bytes.
constexpr std::size_t kSizesInTrailer = 6;
// Members that a collection gets room for on its word alone.
constexpr std::size_t kMostReserved = 64;

std::uint64_t bigEndian(std::span<const std::byte> bytes) {
    std::uint64_t number = 0;
    for (const std::byte byte : bytes) number = number << 8 | std::to_integer<std::uint64_t>(byte);
    return number;
}

class BinaryReader {
public:
    explicit BinaryReader(const Bytes& bytes)
        : bytes_(bytes), units_(bytes.size() + kMaxRepeatedUnits) {}

    std::optional<PropertyList> read() {
        PropertyList root;
        if (!readTrailer() || !readObject(topObject_, 0, root)) return std::nullopt;
        return root;
    }

private:
    bool readTrailer() {
        if (bytes_.size() < kHeaderSize + kTrailerSize) return false;
        const std::size_t end = bytes_.size() - kTrailerSize;
        const auto trailer = bytes_.span().subspan(end);
        offsetSize_ = std::to_integer<std::size_t>(trailer[kSizesInTrailer]);
        referenceSize_ = std::to_integer<std::size_t>(trailer[kSizesInTrailer + 1]);
        objectCount_ = bigEndian(trailer.subspan(8, 8));
        topObject_ = bigEndian(trailer.subspan(16, 8));
        const std::uint64_t table = bigEndian(trailer.subspan(24, 8));
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8 ||
            table < kHeaderSize || table > end || objectCount_ > (end - table) / offsetSize_) {
            return false;
        }
        objects_ = bytes_.span().first(table);
        offsets_ = bytes_.span().subspan(table, objectCount_ * offsetSize_);
        return true;
    }

    // The object's marker; `at` is moved behind it.
    bool readMarker(std::uint64_t object, std::size_t& at, unsigned& marker) {
        if (object >= objectCount_) return false;
        const std::uint64_t offset = bigEndian(offsets_.subspan(object * offsetSize_, offsetSize_));
        if (offset < kHeaderSize || offset >= objects_.size()) return false;
        at = offset;
        marker = std::to_integer<unsigned>(objects_[at++]);
        return true;
    }

    bool take(std::size_t& at, std::uint64_t size, std::span<const std::byte>& taken) const {
        if (size > objects_.size() - at) return false;
        taken = objects_.subspan(at, size);
        at += size;
        return true;
    }

    // The length that the low half of the marker gives, or the integer behind it.
    bool takeLength(std::size_t& at, unsigned marker, std::uint64_t& length) const {
        length = marker & 0xF;
        if (length < 0xF) return true;
        std::span<const std::byte> field;
        if (!take(at, 1, field)) return false;
        const auto kind = std::to_integer<unsigned>(field[0]);
        if (kind < 0x10 || kind > 0x13 || !take(at, std::size_t{1} << (kind & 3), field)) {
            return false;
        }
        length = bigEndian(field);
        return true;
    }

    bool count() { return ++values_ <= kMaxPropertyListValues; }

    bool readObject(std::uint64_t object, std::size_t depth, PropertyList& value) {
        std::size_t at = 0;
        unsigned marker = 0;
        if (!count() || !readMarker(object, at, marker)) return false;
        switch (marker >> 4) {
            case 0x0: return readSingle(marker, value);
            case 0x1: return readInteger(at, marker, value);
            case 0x2: return readReal(at, marker, value);
            case 0x3: return readDate(at, marker, value);
            case 0x4: return readBytes(at, marker, value);
            case 0x5:
            case 0x6: {
                std::u16string text;
                if (!readText(at, marker, text)) return false;
                value = std::move(text);
                return true;
            }
            case 0x8: return readReference(at, marker, value);
            case 0xA: return readArray(at, marker, depth, value);
            case 0xD: return readDictionary(at, marker, depth, value);
            default: return false;
        }
    }

    static bool readSingle(unsigned marker, PropertyList& value) {
        switch (marker) {
            case 0x00: value = Null(); return true;
            case 0x08: value = false; return true;
            case 0x09: value = true; return true;
            default: return false;
        }
    }

    bool readInteger(std::size_t at, unsigned marker, PropertyList& value) const {
        std::span<const std::byte> field;
        if (marker > 0x14 || !take(at, std::size_t{1} << (marker & 0xF), field)) return false;
        if (field.size() < 16) {
            // Eight bytes have a sign, fewer have none.
            value = static_cast<std::int64_t>(bigEndian(field));
            return true;
        }
        const std::uint64_t high = bigEndian(field.first(8)), low = bigEndian(field.subspan(8));
        const bool negative = high >> 63 != 0;
        if (negative && high == ~std::uint64_t{0} && low != 0) {
            value = wideInteger(0 - low, true);
        } else if (!negative && high == 0) {
            value = wideInteger(low, false);
        } else {
            value = std::ldexp(static_cast<double>(static_cast<std::int64_t>(high)), 64) +
                    static_cast<double>(low);
        }
        return true;
    }

    bool readReal(std::size_t at, unsigned marker, PropertyList& value) const {
        std::span<const std::byte> field;
        if (marker == 0x22 && take(at, 4, field)) {
            value = std::bit_cast<float>(static_cast<std::uint32_t>(bigEndian(field)));
            return true;
        }
        if (marker != 0x23 || !take(at, 8, field)) return false;
        value = std::bit_cast<double>(bigEndian(field));
        return true;
    }

    bool readDate(std::size_t at, unsigned marker, PropertyList& value) const {
        std::span<const std::byte> field;
        if (marker != 0x33 || !take(at, 8, field)) return false;
        const double seconds = std::bit_cast<double>(bigEndian(field)) + kDateOrigin;
        value = Date{seconds};
        return std::abs(seconds) <= kMaxDate;  // not for what is no number
    }

    bool readBytes(std::size_t at, unsigned marker, PropertyList& value) const {
        std::uint64_t length = 0;
        std::span<const std::byte> content;
        if (!takeLength(at, marker, length) || !take(at, length, content)) return false;
        value = Bytes::sharing(content, owner_);
        return true;
    }

    bool readText(std::size_t at, unsigned marker, std::u16string& text) {
        std::uint64_t length = 0;
        std::span<const std::byte> content;
        if (!takeLength(at, marker, length) || length > units_) return false;
        units_ -= length;
        if (marker >> 4 == 0x5) {
            if (!take(at, length, content)) return false;
            text.resize(length);
            unsigned all = 0;
            for (std::size_t i = 0; i < length; ++i) {
                const auto unit = std::to_integer<unsigned char>(content[i]);
                text[i] = unit;
                all |= unit;
            }
            // Some writers take it to be UTF-8.
            if (all >= 0x80) {
                text = fromUtf8({reinterpret_cast<const char*>(content.data()), content.size()});
            }
            return true;
        }
        if (!take(at, 2 * length, content)) return false;
        text.resize(length);
        for (std::size_t i = 0; i < length; ++i) {
            text[i] = static_cast<char16_t>(std::to_integer<unsigned>(content[2 * i]) << 8 |
                                            std::to_integer<unsigned>(content[2 * i + 1]));
        }
        return true;
    }

    bool readKey(std::uint64_t object, std::u16string& key) {
        std::size_t at = 0;
        unsigned marker = 0;
        return count() && readMarker(object, at, marker) &&
               (marker >> 4 == 0x5 || marker >> 4 == 0x6) && readText(at, marker, key);
    }

    bool readReference(std::size_t at, unsigned marker, PropertyList& value) const {
        std::span<const std::byte> field;
        if (marker > 0x87 || !take(at, (marker & 0xF) + 1, field)) return false;
        value = Dictionary{{u"CF$UID", wideInteger(bigEndian(field), false)}};
        return true;
    }

    // `count` lists of references, one behind the other, all of the length that is found.
    bool takeReferences(std::size_t& at, unsigned marker, std::size_t lists,
                        std::span<const std::byte>& references) const {
        std::uint64_t length = 0;
        return takeLength(at, marker, length) && length <= objects_.size() &&
               take(at, length * lists * referenceSize_, references);
    }

    std::uint64_t referenceAt(std::span<const std::byte> references, std::size_t index) const {
        return bigEndian(references.subspan(index * referenceSize_, referenceSize_));
    }

    bool readArray(std::size_t at, unsigned marker, std::size_t depth, PropertyList& value) {
        std::span<const std::byte> references;
        if (depth >= kMaxPropertyListDepth || !takeReferences(at, marker, 1, references)) {
            return false;
        }
        Array array;
        array.reserve(std::min(references.size() / referenceSize_, kMostReserved));
        for (std::size_t i = 0; i < references.size() / referenceSize_; ++i) {
            if (!readObject(referenceAt(references, i), depth + 1, array.emplace_back())) {
                return false;
            }
        }
        value = std::move(array);
        return true;
    }

    bool readDictionary(std::size_t at, unsigned marker, std::size_t depth, PropertyList& value) {
        std::span<const std::byte> references;
        if (depth >= kMaxPropertyListDepth || !takeReferences(at, marker, 2, references)) {
            return false;
        }
        Dictionary dictionary;
        const std::size_t length = references.size() / referenceSize_ / 2;
        dictionary.reserve(std::min(length, kMostReserved));
        for (std::size_t i = 0; i < length; ++i) {
            PropertyList entry;
            if (!readObject(referenceAt(references, length + i), depth + 1, entry) ||
                !readKey(referenceAt(references, i), key_)) {
                return false;
            }
            dictionary.set(key_, std::move(entry));
        }
        value = std::move(dictionary);
        return true;
    }

    const Bytes& bytes_;
    // Keeps the file's bytes for the values that lie in them.
    std::shared_ptr<const void> owner_ = std::make_shared<const Bytes>(bytes_);
    std::span<const std::byte> objects_;  // from the file's start, so that offsets count in it
    std::span<const std::byte> offsets_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t topObject_ = 0;
    std::u16string key_;  // of the entry at hand
    std::size_t values_ = 0;
    std::uint64_t units_;  // that strings may still take
};

}  // namespace

std::optional<PropertyList> readBinaryPropertyList(const Bytes& bytes) {
    return BinaryReader(bytes).read();
}

}  // namespace corvy::platform
