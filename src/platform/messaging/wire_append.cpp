#include <algorithm>
#include <cstring>

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "platform/messaging/wire.h"
#include "platform/sealed_memory.h"

namespace corvy::platform::wire {

namespace {

void check(int result) {
    if (result < 0) throw NotSendable(std::strerror(-result));
}

bool fitsInString(std::u16string_view text) {
    return isWellFormed(text) && text.find(u'\0') == text.npos;
}

std::span<const std::byte> unitsOf(std::u16string_view text) {
    return std::as_bytes(std::span(text));
}

// The text that a value has of its own, be it string or address.
const std::u16string* textOf(const PropertyList& value) {
    if (const Url* url = value.url()) return &url->absoluteString;
    return value.string();
}

bool keysFitInStrings(const Dictionary& dictionary) {
    return std::all_of(dictionary.begin(), dictionary.end(),
                       [](const Dictionary::Entry& entry) { return fitsInString(entry.key); });
}

// Decides which values travel in memory files, before anything is written.
//
// The first look takes three bytes for every code unit, which is more than any text needs; only
// when that is too much is the text measured.
class Plan {
public:
    explicit Plan(std::span<const RemoteValue> values) {
        weighAll(values);
        if (total_ <= kInlineTotal && files_.empty()) return;

        exact_ = true;
        total_ = values_ = 0;
        files_.clear();
        weighAll(values);
        std::sort(movable_.begin(), movable_.end(),
                  [](const Movable& a, const Movable& b) { return a.size > b.size; });
        for (const Movable& candidate : movable_) {
            if (total_ <= kInlineTotal || files_.size() >= kMaxMemoryFiles) break;
            files_.push_back(candidate.value);
            total_ -= candidate.size;
        }
        if (total_ > kInlineTotal || files_.size() > kMaxMemoryFiles) {
            throw NotSendable("more than a message can hold");
        }
    }

    bool inFile(const PropertyList& value) const {
        return std::find(files_.begin(), files_.end(), &value) != files_.end();
    }

private:
    struct Movable {
        const PropertyList* value;
        std::size_t size;
    };
    // A memory file takes whole pages; less than this is not worth one.
    static constexpr std::size_t kLeastMovable = 4096;
    static constexpr std::size_t kOverhead = 16;  // signature, lengths and padding of a value

    void weighAll(std::span<const RemoteValue> values) {
        for (const RemoteValue& value : values) {
            if (value) weigh(*value, 0);
        }
    }

    std::size_t sizeOf(std::u16string_view text) const {
        if (!exact_) return 3 * text.size();
        return fitsInString(text) ? toUtf8(text).size() : unitsOf(text).size();
    }

    void weigh(const PropertyList& value, unsigned depth) {
        if (depth > kMaxDepth) throw NotSendable("nested too deeply");
        if (++values_ > kMaxValues) throw NotSendable("too many values");
        total_ += kOverhead;
        if (const Bytes* bytes = value.bytes()) {
            weighMovable(value, bytes->size());
        } else if (const std::u16string* text = textOf(value)) {
            weighMovable(value, sizeOf(*text));
        } else if (const Array* array = value.array()) {
            for (const PropertyList& element : *array) weigh(element, depth + 1);
        } else if (const Dictionary* dictionary = value.dictionary()) {
            for (const Dictionary::Entry& entry : *dictionary) {
                total_ += sizeOf(entry.key);
                weigh(entry.value, depth + 1);
            }
        }
    }

    void weighMovable(const PropertyList& value, std::size_t size) {
        if (size >= kInlineLimit) {
            files_.push_back(&value);
            if (files_.size() > kMaxMemoryFiles && exact_) {
                throw NotSendable("more than a message can hold");
            }
            return;
        }
        total_ += size;
        if (exact_ && size >= kLeastMovable) movable_.push_back({&value, size});
    }

    bool exact_ = false;
    std::size_t total_ = 0;
    std::size_t values_ = 0;
    std::vector<const PropertyList*> files_;
    std::vector<Movable> movable_;
};

class Writer {
public:
    Writer(sd_bus_message* message, const Plan& plan) : message_(message), plan_(plan) {}

    void argument(RemoteType type, const RemoteValue& value);
    void variant(const PropertyList& value);

private:
    void text(const PropertyList& value, std::u16string_view units);
    void dictionary(const Dictionary& dictionary);
    void file(const char* tag, const Bytes& bytes);
    void file(const char* tag, std::span<const std::byte> bytes);
    void sendFile(const char* tag, int fd, std::size_t length);

    void basic(char type, const void* value) {
        check(sd_bus_message_append_basic(message_, type, value));
    }
    void string(std::u16string_view value) { basic('s', toUtf8(value).c_str()); }
    void byteArray(std::span<const std::byte> bytes) {
        check(sd_bus_message_append_array(message_, 'y', bytes.data(), bytes.size()));
    }
    // Writes a container around what `contents` writes.
    template <typename Contents>
    void inside(char type, const char* signature, Contents contents) {
        check(sd_bus_message_open_container(message_, type, signature));
        contents();
        check(sd_bus_message_close_container(message_));
    }
    // A variant that is a structure with a tag in front.
    template <typename Contents>
    void tagged(const char* signature, const char* tag, Contents contents) {
        const std::string whole = std::string("(") + signature + ")";
        inside('v', whole.c_str(), [&] {
            inside('r', signature, [&] {
                basic('s', tag);
                contents();
            });
        });
    }
    template <typename Number>
    void number(char type, Number value) {
        const char signature[] = {type, '\0'};
        inside('v', signature, [&] { basic(type, &value); });
    }

    sd_bus_message* message_;
    const Plan& plan_;
};

void Writer::argument(RemoteType type, const RemoteValue& value) {
    if (type == RemoteType::object) {
        inside('a', "v", [&] {
            if (value) variant(*value);
        });
        return;
    }
    const std::optional<bool> flag = value ? value->boolean() : std::nullopt;
    const std::optional<std::int64_t> size = value ? value->integer() : std::nullopt;
    if (type == RemoteType::flag && flag) {
        const int word = *flag ? 1 : 0;
        basic('b', &word);
    } else if (type == RemoteType::size && size) {
        basic('x', &*size);
    } else {
        throw NotSendable("a value of another type");
    }
}

void Writer::variant(const PropertyList& value) {
    using Kind = PropertyList::Kind;
    switch (value.kind()) {
        case Kind::null: tagged("s", "null", [] {}); return;
        case Kind::boolean: number('b', *value.boolean() ? 1 : 0); return;
        case Kind::int32: number('i', static_cast<std::int32_t>(*value.integer())); return;
        case Kind::int64: number('x', *value.integer()); return;
        case Kind::float32:
        case Kind::real: number('d', *value.number()); return;
        case Kind::string: text(value, *value.string()); return;
        case Kind::url: text(value, value.url()->absoluteString); return;
        case Kind::date: tagged("sd", "date", [&] { basic('d', &value.date()->seconds); }); return;
        case Kind::bytes:
            if (plan_.inFile(value)) {
                file("bytes", *value.bytes());
            } else {
                inside('v', "ay", [&] { byteArray(*value.bytes()); });
            }
            return;
        case Kind::array:
            inside('v', "av", [&] {
                inside('a', "v", [&] {
                    for (const PropertyList& element : *value.array()) variant(element);
                });
            });
            return;
        case Kind::dictionary: dictionary(*value.dictionary()); return;
    }
}

void Writer::text(const PropertyList& value, std::u16string_view units) {
    const bool isUrl = value.url() != nullptr;
    const char* tag = isUrl ? "url" : "utf-16le";
    if (plan_.inFile(value)) {
        file(tag, unitsOf(units));
    } else if (!fitsInString(units)) {
        tagged("say", tag, [&] { byteArray(unitsOf(units)); });
    } else if (isUrl) {
        tagged("ss", tag, [&] { string(units); });
    } else {
        inside('v', "s", [&] { string(units); });
    }
}

void Writer::dictionary(const Dictionary& dictionary) {
    if (!keysFitInStrings(dictionary)) {
        tagged("sav", "dictionary", [&] {
            inside('a', "v", [&] {
                for (const Dictionary::Entry& entry : dictionary) {
                    variant(PropertyList(entry.key));
                    variant(entry.value);
                }
            });
        });
        return;
    }
    inside('v', "a{sv}", [&] {
        inside('a', "{sv}", [&] {
            for (const Dictionary::Entry& entry : dictionary) {
                inside('e', "sv", [&] {
                    string(entry.key);
                    variant(entry.value);
                });
            }
        });
    });
}

void Writer::file(const char* tag, const Bytes& bytes) {
    if (bytes.descriptor() >= 0) {
        sendFile(tag, bytes.descriptor(), bytes.size());
    } else {
        file(tag, bytes.span());
    }
}

void Writer::file(const char* tag, std::span<const std::byte> bytes) {
    const Descriptor copy = sealedMemoryOf(bytes);
    if (!copy) throw NotSendable("no room for a memory file");
    sendFile(tag, copy.get(), bytes.size());
}

void Writer::sendFile(const char* tag, int fd, std::size_t length) {
    const std::uint64_t size = length;
    tagged("sht", tag, [&] {
        basic('h', &fd);  // the message keeps a duplicate
        basic('t', &size);
    });
}

// Without what an `s` cannot hold.
std::string plainText(std::u16string_view text) {
    std::string result = toUtf8(text);
    std::erase(result, '\0');
    return result;
}

bool allText(const Array& array) {
    return std::all_of(array.begin(), array.end(),
                       [](const PropertyList& value) { return value.string() != nullptr; });
}

bool allText(const Dictionary& dictionary) {
    return std::all_of(dictionary.begin(), dictionary.end(), [](const Dictionary::Entry& entry) {
        return entry.value.string() != nullptr;
    });
}

}  // namespace

const char* signatureOf(RemoteType type) {
    switch (type) {
        case RemoteType::flag: return "b";
        case RemoteType::size: return "x";
        case RemoteType::object: break;
    }
    return "av";
}

void append(sd_bus_message* message, std::span<const RemoteType> types,
            std::span<const RemoteValue> values) {
    if (types.size() != values.size()) throw NotSendable("as many arguments as it takes");
    const Plan plan(values);
    Writer writer(message, plan);
    for (std::size_t i = 0; i < types.size(); ++i) writer.argument(types[i], values[i]);
}

const char* propertySignature(const PropertyList& value) {
    using Kind = PropertyList::Kind;
    switch (value.kind()) {
        case Kind::boolean: return "b";
        case Kind::int32: return "i";
        case Kind::int64: return "x";
        case Kind::float32:
        case Kind::real: return "d";
        case Kind::array: return allText(*value.array()) ? "as" : "av";
        case Kind::dictionary: return allText(*value.dictionary()) ? "a{ss}" : "a{sv}";
        default: return "s";
    }
}

void appendProperty(sd_bus_message* message, const PropertyList& value) {
    const std::string signature = propertySignature(value);
    const auto open = [&](char type, const char* contents) {
        check(sd_bus_message_open_container(message, type, contents));
    };
    const auto close = [&] { check(sd_bus_message_close_container(message)); };
    const auto text = [&](std::u16string_view units) {
        check(sd_bus_message_append_basic(message, 's', plainText(units).c_str()));
    };
    if (signature == "s") {
        open('v', "s");
        text(value.string() == nullptr ? std::u16string_view() : *value.string());
        close();
    } else if (signature == "as") {
        open('v', "as");
        open('a', "s");
        for (const PropertyList& element : *value.array()) text(*element.string());
        close();
        close();
    } else if (signature == "a{ss}") {
        open('v', "a{ss}");
        open('a', "{ss}");
        for (const Dictionary::Entry& entry : *value.dictionary()) {
            open('e', "ss");
            text(entry.key);
            text(*entry.value.string());
            close();
        }
        close();
        close();
    } else {
        const RemoteValue whole = value;
        const Plan plan({&whole, 1});
        Writer(message, plan).variant(*whole);
    }
}

}  // namespace corvy::platform::wire
