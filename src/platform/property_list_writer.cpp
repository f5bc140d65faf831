#include "platform/property_list_writer.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "platform/property_list/readers.h"
#include "platform/property_list_reader.h"

namespace corvy::platform {

namespace {

// Bytes that the number takes, of the sizes that there are.
std::size_t sizeOf(std::uint64_t number) {
    if (number <= 0xFF) return 1;
    if (number <= 0xFFFF) return 2;
    return number <= 0xFFFF'FFFF ? 4 : 8;
}

class BinaryWriter {
public:
    // Lists the value and all within it; the number is that of the value.
    bool add(const PropertyList& value, std::size_t depth, std::size_t& number) {
        if (const std::u16string* text = value.string()) {
            number = addText(*text);
            return true;
        }
        if (const Url* url = value.url()) {
            number = addText(url->absoluteString);
            return true;
        }
        number = objects_.size();
        if (const Bytes* bytes = value.bytes()) {
            const auto key = std::pair(bytes->data(), bytes->size());
            const auto [found, isNew] = bytes_.try_emplace(key, number);
            if (!isNew) {
                number = found->second;
                return true;
            }
        }
        objects_.push_back({.value = &value});
        const Array* array = value.array();
        const Dictionary* dictionary = value.dictionary();
        if (!array && !dictionary) return true;
        if (depth >= kMaxPropertyListDepth) return false;
        std::vector<std::size_t> members(array ? array->size() : 2 * dictionary->size());
        std::size_t at = 0;
        if (array) {
            for (const PropertyList& element : *array) {
                if (!add(element, depth + 1, members[at++])) return false;
            }
        } else {
            for (const auto& entry : *dictionary) members[at++] = addText(entry.key);
            for (const auto& entry : *dictionary) {
                if (!add(entry.value, depth + 1, members[at++])) return false;
            }
        }
        objects_[number].members = std::move(members);
        return true;
    }

    std::vector<std::byte> write() {
        constexpr std::string_view kHeader = "bplist00";
        for (const char c : kHeader) out_.push_back(static_cast<std::byte>(c));
        referenceSize_ = sizeOf(objects_.size());
        std::vector<std::size_t> offsets;
        for (const Object& object : objects_) {
            offsets.push_back(out_.size());
            if (object.value) {
                object.value->visit([&](const auto& content) { put(content, object); });
            } else {
                putText(object.text);
            }
        }
        const std::size_t table = out_.size(), offsetSize = sizeOf(table);
        for (const std::size_t offset : offsets) putNumber(offset, offsetSize);
        putNumber(0, 6);
        putNumber(offsetSize, 1);
        putNumber(referenceSize_, 1);
        putNumber(objects_.size(), 8);
        putNumber(0, 8);  // the root is the first object
        putNumber(table, 8);
        return std::move(out_);
    }

private:
    struct Object {
        const PropertyList* value = nullptr;  // null: a text
        std::u16string_view text = {};
        std::vector<std::size_t> members = {};  // of a collection; of dictionaries the keys first
    };

    std::size_t addText(std::u16string_view text) {
        const auto [found, isNew] = texts_.try_emplace(text, objects_.size());
        if (isNew) objects_.push_back({.text = text});
        return found->second;
    }

    void putNumber(std::uint64_t number, std::size_t size) {
        for (std::size_t i = size; i-- > 0;) {
            out_.push_back(i < 8 ? static_cast<std::byte>(number >> (8 * i)) : std::byte{});
        }
    }

    void putInteger(std::uint64_t number) {
        const std::size_t size = sizeOf(number);
        putNumber(0x10 | static_cast<unsigned>(std::countr_zero(size)), 1);
        putNumber(number, size);
    }

    void putMarker(unsigned kind, std::size_t length) {
        putNumber(kind | std::min<std::size_t>(length, 0xF), 1);
        if (length >= 0xF) putInteger(length);
    }

    void putText(std::u16string_view text) {
        const bool isAscii = std::ranges::all_of(text, [](char16_t unit) { return unit < 0x80; });
        putMarker(isAscii ? 0x50 : 0x60, text.size());
        for (const char16_t unit : text) putNumber(unit, isAscii ? 1 : 2);
    }

    void putMembers(unsigned kind, std::size_t length, const Object& object) {
        putMarker(kind, length);
        for (const std::size_t member : object.members) putNumber(member, referenceSize_);
    }

    void put(Null, const Object&) { putNumber(0x00, 1); }
    void put(bool value, const Object&) { putNumber(value ? 0x09 : 0x08, 1); }
    void put(std::int32_t value, const Object&) { put(std::int64_t{value}, {}); }
    void put(std::int64_t value, const Object&) { putInteger(static_cast<std::uint64_t>(value)); }
    void put(float value, const Object&) {
        putNumber(0x22, 1);
        putNumber(std::bit_cast<std::uint32_t>(value), 4);
    }
    void put(double value, const Object&) {
        putNumber(0x23, 1);
        putNumber(std::bit_cast<std::uint64_t>(value), 8);
    }
    void put(Date value, const Object&) {
        putNumber(0x33, 1);
        putNumber(std::bit_cast<std::uint64_t>(value.seconds - kDateOrigin), 8);
    }
    void put(const Bytes& value, const Object&) {
        putMarker(0x40, value.size());
        out_.insert(out_.end(), value.span().begin(), value.span().end());
    }
    void put(const Array& value, const Object& object) { putMembers(0xA0, value.size(), object); }
    void put(const Dictionary& value, const Object& object) {
        putMembers(0xD0, value.size(), object);
    }
    void put(const std::u16string& value, const Object&) { putText(value); }
    void put(const Url& value, const Object&) { putText(value.absoluteString); }

    std::vector<Object> objects_;
    std::unordered_map<std::u16string_view, std::size_t> texts_;
    std::map<std::pair<const std::byte*, std::size_t>, std::size_t> bytes_;
    std::size_t referenceSize_ = 1;
    std::vector<std::byte> out_;
};

}  // namespace

std::optional<std::vector<std::byte>> binaryPropertyList(const PropertyList& value) {
    BinaryWriter writer;
    std::size_t root = 0;
    if (!writer.add(value, 0, root)) return std::nullopt;
    return writer.write();
}

}  // namespace corvy::platform
