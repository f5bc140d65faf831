#include "foundation/converters.h"

#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <iterator>
#include <memory>

#include "foundation/text.h"
#include "foundation/utf8.h"

namespace corvy {

namespace {

#include "foundation/code_pages.inc"
#include "foundation/dos_code_pages.inc"

constexpr char16_t kReplacement = 0xFFFD;
// Units that are converted at a time on the way into a string: small enough for the first-level
// cache.
constexpr std::size_t kChunk = 4096;

// A converter between bytes and UTF-16. Its state is that of one conversion.
class Converter {
public:
    virtual ~Converter() = default;
    // Forgets what an earlier conversion left.
    virtual void begin() {}
    // Converts as much of `bytes` as fits; the next call goes on with the rest of them. `bytes`
    // always reach to the end of the input.
    virtual Conversion decode(std::span<const std::byte> bytes, std::span<char16_t> out) = 0;
    // None when this converter knows no way back.
    virtual std::optional<std::string> encode(std::u16string_view text) = 0;
};

void appendReference(std::string& out, char32_t character) {
    out += "&#" + std::to_string(static_cast<std::uint32_t>(character)) + ";";
}

const std::uint8_t* beginOf(std::span<const std::byte> bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

std::size_t countReplacements(std::span<const char16_t> units) {
    constexpr std::size_t kBlock = NativeBlocks::kSize, kStep = 4 * kBlock;
    const auto contains = [](const char16_t* block) {
        return NativeBlocks::contains(block, kReplacement);
    };
    std::size_t count = 0;
    const char16_t* in = units.data();
    const char16_t* const end = in + units.size();
    for (; static_cast<std::size_t>(end - in) >= kStep; in += kStep) {
        // Four blocks to a branch: there are hardly ever any.
        const unsigned found = unsigned{contains(in)} | unsigned{contains(in + kBlock)} |
                               unsigned{contains(in + 2 * kBlock)} |
                               unsigned{contains(in + 3 * kBlock)};
        if (found != 0) {
            count += static_cast<std::size_t>(std::count(in, in + kStep, kReplacement));
        }
    }
    return count + static_cast<std::size_t>(std::count(in, end, kReplacement));
}

class Utf8Converter final : public Converter {
public:
    Conversion decode(std::span<const std::byte> bytes, std::span<char16_t> out) override {
        const std::uint8_t* const in = beginOf(bytes);
        const Utf8Progress end =
            decodeUtf8<NativeBlocks>(in, in + bytes.size(), out.data(), out.data() + out.size());
        const auto read = static_cast<std::size_t>(end.in - in);
        return {read, static_cast<std::size_t>(end.out - out.data()),
                end.substitutions + end.genuine, read == bytes.size()};
    }
    std::optional<std::string> encode(std::u16string_view text) override { return toUtf8(text); }
};

// A set of 256 characters whose lower half is ASCII.
class CodePageConverter final : public Converter {
public:
    explicit CodePageConverter(const char16_t* upper) : upper_(upper) {}

    Conversion decode(std::span<const std::byte> bytes, std::span<char16_t> out) override {
        Conversion done;
        done.read = done.written = std::min(bytes.size(), out.size());
        for (std::size_t i = 0; i < done.read; ++i) {
            const auto byte = static_cast<std::uint8_t>(bytes[i]);
            out[i] = byte < 0x80 ? static_cast<char16_t>(byte) : upper_[byte - 0x80];
            done.replacements += out[i] == kReplacement ? 1 : 0;
        }
        done.complete = done.read == bytes.size();
        return done;
    }
    std::optional<std::string> encode(std::u16string_view text) override {
        std::string out;
        for (std::size_t i = 0; i < text.size(); ++i) {
            char32_t character = text[i];
            if (U16_IS_LEAD(character) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1])) {
                character = static_cast<char32_t>(U16_GET_SUPPLEMENTARY(character, text[++i]));
            }
            const char16_t* const found = std::find(upper_, upper_ + 128, character);
            if (character < 0x80) {
                out.push_back(static_cast<char>(character));
            } else if (found != upper_ + 128 && character != kReplacement) {
                out.push_back(static_cast<char>(0x80 + (found - upper_)));
            } else {
                appendReference(out, character);
            }
        }
        return out;
    }

private:
    const char16_t* upper_;
};

// ICU's own replacement is U+001A in some single-byte sets; ours is U+FFFD in all of them.
void replaceByCallback(const void*, UConverterToUnicodeArgs* args, const char*, std::int32_t,
                       UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR) return;  // a reset or a close
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(args, &kReplacement, 1, 0, error);
}

// ICU's Shift_JIS moves three control characters round: 0x1A is read as U+001C, 0x1C as U+007F,
// 0x7F as U+001A. These undo that; no other byte and no other unit takes part.
constexpr char16_t unitInPlace(char16_t unit) {
    return unit == 0x1C ? 0x1A : unit == 0x7F ? 0x1C : unit == 0x1A ? 0x7F : unit;
}
constexpr char byteInPlace(char byte) {
    return byte == 0x7F ? 0x1A : byte == 0x1A ? 0x1C : byte == 0x1C ? 0x7F : byte;
}

class IcuConverter final : public Converter {
public:
    static std::unique_ptr<Converter> open(const char* name) {
        UErrorCode error = U_ZERO_ERROR;
        Handle handle(ucnv_open(name, &error));
        if (U_FAILURE(error)) return nullptr;
        ucnv_setToUCallBack(handle.get(), replaceByCallback, nullptr, nullptr, nullptr, &error);
        ucnv_setFromUCallBack(handle.get(), UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_DEC,
                              nullptr, nullptr, &error);
        if (U_FAILURE(error)) return nullptr;
        char16_t probe[2] = {};
        ucnv_toUChars(handle.get(), probe, 2, "\x7F", 1, &error);
        const bool movesControls = U_SUCCESS(error) && probe[0] == 0x1A;
        return std::unique_ptr<Converter>(new IcuConverter(std::move(handle), movesControls));
    }

    void begin() override { ucnv_reset(handle_.get()); }
    Conversion decode(std::span<const std::byte> bytes, std::span<char16_t> out) override {
        const char* const start = reinterpret_cast<const char*>(bytes.data());
        const char* in = start;
        char16_t* to = out.data();
        UErrorCode error = U_ZERO_ERROR;
        ucnv_toUnicode(handle_.get(), &to, to + out.size(), &in, start + bytes.size(), nullptr,
                       /*flush=*/true, &error);
        const auto written = static_cast<std::size_t>(to - out.data());
        if (movesControls_) std::transform(out.data(), to, out.data(), unitInPlace);
        return {static_cast<std::size_t>(in - start), written,
                countReplacements(out.first(written)), U_SUCCESS(error) != 0};
    }
    std::optional<std::string> encode(std::u16string_view text) override {
        std::string out;
        std::array<char, kChunk> chunk;
        const char16_t* in = text.data();
        UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
        while (error == U_BUFFER_OVERFLOW_ERROR) {
            error = U_ZERO_ERROR;
            char* to = chunk.data();
            ucnv_fromUnicode(handle_.get(), &to, to + chunk.size(), &in, text.data() + text.size(),
                             nullptr, /*flush=*/true, &error);
            if (movesControls_) std::transform(chunk.data(), to, chunk.data(), byteInPlace);
            out.append(chunk.data(), to);
        }
        if (U_FAILURE(error)) return std::nullopt;
        return out;
    }

private:
    struct Closer {
        void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
    };
    using Handle = std::unique_ptr<UConverter, Closer>;
    IcuConverter(Handle handle, bool movesControls)
        : handle_(std::move(handle)), movesControls_(movesControls) {}

    Handle handle_;
    bool movesControls_;
};

// A converter of the C library, for the few sets that ICU lacks.
class LibcConverter final : public Converter {
public:
    static std::unique_ptr<Converter> open(const char* name) {
        const bool little = std::endian::native == std::endian::little;
        const iconv_t handle = iconv_open(little ? "UTF-16LE" : "UTF-16BE", name);
        if (reinterpret_cast<std::intptr_t>(handle) == -1) return nullptr;
        return std::unique_ptr<Converter>(new LibcConverter(handle));
    }
    ~LibcConverter() override { iconv_close(handle_); }
    LibcConverter(const LibcConverter&) = delete;
    LibcConverter& operator=(const LibcConverter&) = delete;

    void begin() override { iconv(handle_, nullptr, nullptr, nullptr, nullptr); }
    Conversion decode(std::span<const std::byte> bytes, std::span<char16_t> out) override {
        char* in = const_cast<char*>(reinterpret_cast<const char*>(bytes.data()));
        std::size_t inLeft = bytes.size();
        char* to = reinterpret_cast<char*>(out.data());
        std::size_t outLeft = out.size_bytes();
        bool full = false;
        while (inLeft > 0 && !full) {
            if (iconv(handle_, &in, &inLeft, &to, &outLeft) != kFailed) continue;
            full = errno == E2BIG || outLeft < sizeof kReplacement;
            if (full) break;
            // An ill-formed byte, or a sequence that the end of the input cuts off.
            std::copy_n(reinterpret_cast<const char*>(&kReplacement), sizeof kReplacement, to);
            to += sizeof kReplacement;
            outLeft -= sizeof kReplacement;
            const std::size_t skipped = errno == EINVAL ? inLeft : 1;
            in += skipped;
            inLeft -= skipped;
        }
        // A character that waited for a possible mark behind it.
        if (!full) full = iconv(handle_, nullptr, nullptr, &to, &outLeft) == kFailed;
        const std::size_t written = out.size() - outLeft / sizeof(char16_t);
        return {bytes.size() - inLeft, written, countReplacements(out.first(written)), !full};
    }
    std::optional<std::string> encode(std::u16string_view) override { return std::nullopt; }

private:
    static constexpr std::size_t kFailed = static_cast<std::size_t>(-1);
    explicit LibcConverter(iconv_t handle) : handle_(handle) {}

    iconv_t handle_;
};

struct Source {
    enum { none, utf8, icu, libc, codePage } kind;
    const char* name;
    const char16_t* upper;
};

constexpr Source none() {
    return {Source::none, nullptr, nullptr};
}
constexpr Source utf8() {
    return {Source::utf8, nullptr, nullptr};
}
constexpr Source icu(const char* name) {
    return {Source::icu, name, nullptr};
}
constexpr Source libc(const char* name) {
    return {Source::libc, name, nullptr};
}
constexpr Source codePage(const char16_t* upper) {
    return {Source::codePage, nullptr, upper};
}

constexpr Source kSources[] = {
#define ENCODING(identifier, name, converter) converter,
#include "foundation/encodings.inc"
#undef ENCODING
};

std::unique_ptr<Converter> openConverter(const Source& source) {
    switch (source.kind) {
        case Source::none: break;
        case Source::utf8: return std::make_unique<Utf8Converter>();
        case Source::icu: return IcuConverter::open(source.name);
        case Source::libc: return LibcConverter::open(source.name);
        case Source::codePage: return std::make_unique<CodePageConverter>(source.upper);
    }
    return nullptr;
}

// The thread's converter of the encoding, ready to begin; null when there is none.
Converter* converterFor(Encoding encoding) {
    thread_local std::array<std::unique_ptr<Converter>, std::size(kSources)> kept;
    const auto index = static_cast<std::size_t>(encoding);
    if (index >= kept.size()) return nullptr;
    if (!kept[index]) kept[index] = openConverter(kSources[index]);
    if (kept[index]) kept[index]->begin();
    return kept[index].get();
}

}  // namespace

Conversion convertUTF8ToUnicode(std::span<const std::byte> bytes, std::span<char16_t> out) {
    const std::uint8_t* const in = beginOf(bytes);
    const Utf8Progress end =
        decodeUtf8<NativeBlocks>(in, in + bytes.size(), out.data(), out.data() + out.size());
    const auto read = static_cast<std::size_t>(end.in - in);
    return {read, static_cast<std::size_t>(end.out - out.data()), end.substitutions,
            read == bytes.size()};
}

Conversion convertUnicodeToUTF8(std::u16string_view text, std::span<std::byte> out) {
    constexpr std::size_t kBlock = NativeBlocks::kSize;
    Conversion done;
    char* const to = reinterpret_cast<char*>(out.data());
    while (done.read < text.size()) {
        const char16_t* const in = text.data() + done.read;
        const std::size_t left = text.size() - done.read, room = out.size() - done.written;
        if (left >= kBlock && room >= kBlock && NativeBlocks::narrow(in, to + done.written)) {
            done.read += kBlock;
            done.written += kBlock;
            continue;
        }
        const bool isPair = U16_IS_LEAD(in[0]) && left > 1 && U16_IS_TRAIL(in[1]);
        const bool isLone = !isPair && U16_IS_SURROGATE(in[0]);
        char32_t character = isLone ? kReplacement : in[0];
        if (isPair) character = static_cast<char32_t>(U16_GET_SUPPLEMENTARY(in[0], in[1]));
        char bytes[4];
        const std::size_t length = encodeUtf8Character(character, bytes);
        if (length > room) return done;
        std::copy_n(bytes, length, to + done.written);
        done.read += isPair ? 2 : 1;
        done.written += length;
        done.replacements += isLone ? 1 : 0;
    }
    done.complete = true;
    return done;
}

Conversion convertEncodingToUnicode(std::span<const std::byte> bytes, Encoding encoding,
                                    std::span<char16_t> out) {
    Converter* const converter = converterFor(encoding);
    // The C library refuses a buffer without any room.
    if (converter == nullptr || out.empty()) return {};
    return converter->decode(bytes, out);
}

std::optional<DecodedText> tryToCreateStringWithEncoding(std::span<const std::byte> bytes,
                                                         Encoding encoding) {
    Converter* const converter = converterFor(encoding);
    if (converter == nullptr) return std::nullopt;
    DecodedText decoded;
    decoded.text.reserve(bytes.size());
    std::array<char16_t, kChunk> chunk;
    Conversion step;
    do {
        step = converter->decode(bytes, chunk);
        decoded.text.append(chunk.data(), step.written);
        decoded.replacements += step.replacements;
        bytes = bytes.subspan(step.read);
    } while (!step.complete && (step.read > 0 || step.written > 0));
    if (decoded.text.empty()) return std::nullopt;
    return decoded;
}

std::optional<std::string> dataUsingEncoding(std::u16string_view text, Encoding encoding) {
    Converter* const converter = converterFor(encoding);
    if (converter == nullptr) return std::nullopt;
    return converter->encode(text);
}

}  // namespace corvy
