#include <fcntl.h>

#include <bit>
#include <cstring>
#include <limits>

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "platform/messaging/wire.h"
#include "platform/sealed_memory.h"

namespace corvy::platform::wire {

namespace {

static_assert(std::endian::native == std::endian::little, "units are sent as they lie in memory");

// What one level of a property list takes is at most an array, a dictionary entry and a variant.
constexpr unsigned kMaxContainers = 3 * (kMaxDepth + 1);

// Throws for an error, and gives false for "nothing there".
bool check(int result) {
    if (result < 0) throw Malformed(std::strerror(-result));
    return result > 0;
}

std::u16string textOfUnits(std::span<const std::byte> bytes) {
    if (bytes.size() % sizeof(char16_t) != 0) throw Malformed("half a code unit");
    std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
    if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
    return text;
}

class Reader {
public:
    explicit Reader(sd_bus_message* message) : message_(message) {}

    RemoteValue argument(RemoteType type);
    Dictionary dictionary();
    void end() {
        if (!check(sd_bus_message_at_end(message_, 1))) throw Malformed("more than was agreed on");
    }

private:
    PropertyList value();
    PropertyList valueOf(char type, const std::string& contents);
    PropertyList structure(const std::string& contents);
    PropertyList fileValue();
    Array array(const std::string& element);
    std::span<const std::byte> byteArray();

    template <typename T>
    T basic(char type) {
        T value = {};
        if (!check(sd_bus_message_read_basic(message_, type, &value))) {
            throw Malformed("less than was agreed on");
        }
        return value;
    }
    std::string_view text(char type = 's') { return basic<const char*>(type); }
    void expectTag(std::string_view wanted) {
        if (text() != wanted) throw Malformed("unknown tag");
    }
    void enter(char type, const char* contents) {
        if (++depth_ > kMaxContainers) throw Malformed("nested too deeply");
        if (!check(sd_bus_message_enter_container(message_, type, contents))) {
            throw Malformed("less than was agreed on");
        }
    }
    void leave() {
        --depth_;
        check(sd_bus_message_exit_container(message_));
    }
    bool atEnd() { return check(sd_bus_message_at_end(message_, 0)); }

    sd_bus_message* message_;
    unsigned depth_ = 0;
    std::size_t values_ = 0;
    std::size_t files_ = 0;
    std::uint64_t fileBytes_ = 0;
};

RemoteValue Reader::argument(RemoteType type) {
    switch (type) {
        case RemoteType::flag: return PropertyList(basic<int>('b') != 0);
        case RemoteType::size: return PropertyList(basic<std::int64_t>('x'));
        case RemoteType::object: break;
    }
    RemoteValue result;
    enter('a', "v");
    if (!atEnd()) result = value();
    if (!atEnd()) throw Malformed("several values for one argument");
    leave();
    return result;
}

PropertyList Reader::value() {
    char type = 0;
    const char* contents = nullptr;
    if (!check(sd_bus_message_peek_type(message_, &type, &contents))) {
        throw Malformed("less than was agreed on");
    }
    return valueOf(type, contents == nullptr ? "" : contents);
}

PropertyList Reader::valueOf(char type, const std::string& contents) {
    if (++values_ > kMaxValues) throw Malformed("too many values");
    switch (type) {
        case 'b': return basic<int>('b') != 0;
        case 'y': return std::int32_t{basic<std::uint8_t>('y')};
        case 'n': return std::int32_t{basic<std::int16_t>('n')};
        case 'q': return std::int32_t{basic<std::uint16_t>('q')};
        case 'i': return basic<std::int32_t>('i');
        case 'u': return std::int64_t{basic<std::uint32_t>('u')};
        case 'x': return basic<std::int64_t>('x');
        case 't': {
            const auto number = basic<std::uint64_t>('t');
            if (number > std::uint64_t{std::numeric_limits<std::int64_t>::max()}) {
                throw Malformed("number out of range");
            }
            return static_cast<std::int64_t>(number);
        }
        case 'd': return basic<double>('d');
        case 's':
        case 'o':
        case 'g': return fromUtf8(text(type));
        case 'v': {
            enter('v', contents.c_str());
            PropertyList result = value();
            leave();
            return result;
        }
        case 'a':
            if (contents == "y") return Bytes::copyOf(byteArray());
            if (contents.starts_with('{')) return dictionary();
            return array(contents);
        case 'r': return structure(contents);
        default: throw Malformed("a type that no value has");
    }
}

std::span<const std::byte> Reader::byteArray() {
    const void* bytes = nullptr;
    std::size_t size = 0;
    check(sd_bus_message_read_array(message_, 'y', &bytes, &size));
    return {static_cast<const std::byte*>(bytes), size};
}

Array Reader::array(const std::string& element) {
    Array result;
    enter('a', element.c_str());
    while (!atEnd()) result.push_back(value());
    leave();
    return result;
}

Dictionary Reader::dictionary() {
    char type = 0;
    const char* contents = nullptr;
    check(sd_bus_message_peek_type(message_, &type, &contents));
    const std::string entry = contents == nullptr ? "" : contents;  // such as "{sv}"
    if (type != 'a' || !entry.starts_with("{s")) throw Malformed("keys that are no text");
    const std::string keyAndValue = entry.substr(1, entry.size() - 2);

    Dictionary result;
    enter('a', entry.c_str());
    while (!atEnd()) {
        enter('e', keyAndValue.c_str());
        const std::u16string key = fromUtf8(text());
        result.set(key, value());
        leave();
    }
    leave();
    return result;
}

PropertyList Reader::structure(const std::string& contents) {
    enter('r', contents.c_str());
    PropertyList result;
    if (contents == "s") {
        expectTag("null");
    } else if (contents == "sd") {
        expectTag("date");
        result = Date{basic<double>('d')};
    } else if (contents == "ss") {
        expectTag("url");
        result = Url{fromUtf8(text())};
    } else if (contents == "say") {
        const std::string_view tag = text();
        if (tag != "utf-16le" && tag != "url") throw Malformed("unknown tag");
        std::u16string units = textOfUnits(byteArray());
        result =
            tag == "url" ? PropertyList(Url{std::move(units)}) : PropertyList(std::move(units));
    } else if (contents == "sav") {
        expectTag("dictionary");
        Array pairs = array("v");
        if (pairs.size() % 2 != 0) throw Malformed("a key without a value");
        Dictionary entries;
        for (std::size_t i = 0; i < pairs.size(); i += 2) {
            const std::u16string* key = pairs[i].string();
            if (key == nullptr) throw Malformed("keys that are no text");
            entries.set(*key, std::move(pairs[i + 1]));
        }
        result = std::move(entries);
    } else if (contents == "sht") {
        result = fileValue();
    } else {
        throw Malformed("a structure that no value has");
    }
    leave();
    return result;
}

PropertyList Reader::fileValue() {
    const std::string_view tag = text();
    const int sent = basic<int>('h');  // the message closes it
    const auto length = basic<std::uint64_t>('t');
    if (++files_ > kMaxMemoryFiles || length > kMaxMemoryFileBytes - fileBytes_) {
        throw Malformed("too much in memory files");
    }
    fileBytes_ += length;
    std::optional<Bytes> bytes =
        bytesOfSealedMemory(Descriptor(fcntl(sent, F_DUPFD_CLOEXEC, 3)), length);
    if (!bytes) throw Malformed("not a sealed memory file of that length");
    if (tag == "bytes") return std::move(*bytes);
    if (tag == "utf-16le") return textOfUnits(*bytes);
    if (tag == "url") return Url{textOfUnits(*bytes)};
    if (tag == "utf-8") {
        std::optional<std::u16string> decoded = fromStrictUtf8(bytes->chars());
        if (decoded) return std::move(*decoded);
    }
    throw Malformed("unknown tag or broken text");
}

}  // namespace

std::vector<RemoteValue> read(sd_bus_message* message, std::span<const RemoteType> types) {
    std::string signature;
    for (const RemoteType type : types) signature += signatureOf(type);
    const char* found = sd_bus_message_get_signature(message, 1);
    if (found == nullptr || signature != found) {
        throw Malformed("signature is not \"" + signature + "\"");
    }
    Reader reader(message);
    std::vector<RemoteValue> result;
    result.reserve(types.size());
    for (const RemoteType type : types) result.push_back(reader.argument(type));
    reader.end();
    return result;
}

Dictionary readDictionary(sd_bus_message* message) {
    Reader reader(message);
    Dictionary result = reader.dictionary();
    reader.end();
    return result;
}

}  // namespace corvy::platform::wire
