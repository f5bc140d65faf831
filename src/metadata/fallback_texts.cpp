#include "metadata/fallback_texts.h"

#include <zlib.h>

#include <array>
#include <filesystem>
#include <utility>
#include <vector>

#include "foundation/character_tables.h"
#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "markup/entities.h"
#include "markup/markup_decoding.h"
#include "markup/stripping.h"

namespace corvy {

namespace {

constexpr std::size_t kMostBytes = std::size_t{64} << 20;
constexpr std::string_view kDeclaration = "<?xml";

std::u16string withSingleSpaces(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size());
    bool isInSpace = false;
    for (const char16_t unit : text) {
        const bool isSpace = isWhite(unit);
        if (!isSpace) out += unit;
        if (isSpace && !isInSpace) out += u' ';
        isInSpace = isSpace;
    }
    return out;
}

std::u16string withoutMarkup(std::u16string_view markup) {
    return stringByConvertingEntitiesToCharacters(stripTags(markup));
}

std::optional<std::u16string> outlineTextOf(std::u16string_view package) {
    const auto contents =
        contentsOfFile(std::u16string(package) + u"/contents.xml", {.most = kMostBytes});
    return contents ? textOfOutline(*contents) : std::nullopt;
}

// The only file of its kind in the folder; none when there are several.
std::optional<std::u16string> onlyXmlIn(std::u16string_view folder) {
    const auto name = bytesOfPath(folder);
    if (!name) return std::nullopt;
    std::optional<std::u16string> found;
    std::error_code error;
    std::filesystem::directory_iterator entry(*name, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::u16string path = pathFromBytes(entry->path().string());
        if (!equalNoCase(pathExtension(path), u"xml")) continue;
        if (found) return std::nullopt;
        found = path;
    }
    return found;
}

std::optional<std::u16string> transcriptOf(std::u16string_view package) {
    const auto file = onlyXmlIn(package);
    const auto contents = file ? contentsOfFile(*file, {.most = kMostBytes}) : std::nullopt;
    if (!contents || contents->chars().starts_with("bplist")) return std::nullopt;
    const auto markup = stringWithMarkupData(contents->span());
    if (!markup) return std::nullopt;
    return withoutMarkup(*markup);
}

}  // namespace

std::optional<std::u16string> fallbackTextOfFile(std::u16string_view path) {
    if (hasSuffixNoCase(path, u".oo3")) return outlineTextOf(path);
    if (hasSuffixNoCase(path, u".chatlog")) return transcriptOf(path);
    return std::nullopt;
}

std::optional<std::u16string> textOfOutline(const Bytes& contents) {
    std::optional<Bytes> data = contents;
    if (contents.size() >= kDeclaration.size() && !contents.chars().starts_with(kDeclaration)) {
        data = inflated(contents, kMostBytes);
    }
    if (!data) return std::nullopt;
    auto markup = stringWithMarkupData(data->span());
    if (!markup || markup->empty()) return markup;
    static const std::u16string kForPrograms[] = {u"<style-attribute", u"<editor", u"<print-info>",
                                                  u"<auto-generate-level-styles>"};
    if (auto stripped = stripTagBodies(*markup, kForPrograms)) markup = std::move(stripped);
    return withSingleSpaces(withoutMarkup(*markup));
}

std::optional<Bytes> inflated(const Bytes& stream, std::size_t longest) {
    constexpr int kAnyHeader = 32;  // zlib or gzip
    z_stream state{};
    if (inflateInit2(&state, MAX_WBITS + kAnyHeader) != Z_OK) return std::nullopt;
    // The library takes what it reads as if it could write to it, and no more than 4 GiB at once.
    state.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(stream.data()));
    state.avail_in = static_cast<uInt>(std::min<std::size_t>(stream.size(), UINT32_MAX));
    std::vector<std::byte> out;
    std::array<std::byte, 16384> chunk;
    int status = Z_OK;
    while (status == Z_OK && out.size() <= longest) {
        state.next_out = reinterpret_cast<Bytef*>(chunk.data());
        state.avail_out = chunk.size();
        status = ::inflate(&state, Z_NO_FLUSH);
        out.insert(out.end(), chunk.begin(), chunk.end() - state.avail_out);
    }
    ::inflateEnd(&state);
    if (status != Z_STREAM_END || out.size() > longest) return std::nullopt;
    return Bytes(std::move(out));
}

}  // namespace corvy
