// Text decoding beside raw ICU: UTF-8 with its count of replacements, and the character sets that
// ICU converts for us.
//
// Pages: every *.html below the folder that CORVY_CORPUS names, each converted by itself. Rates are
// bytes of the source a second.
#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/converters.h"
#include "foundation/text.h"

namespace corvy {
namespace {

using Pages = std::vector<std::string>;

const Pages& corpus() {
    static const Pages all = [] {
        Pages found;
        const char* folder = std::getenv("CORVY_CORPUS");
        if (!folder) return found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.path().extension() != ".html") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            found.emplace_back(std::istreambuf_iterator<char>(file),
                               std::istreambuf_iterator<char>());
        }
        return found;
    }();
    return all;
}

// The pages with at least 4 % of other bytes than ASCII.
const Pages& foreignPages() {
    static const Pages some = [] {
        Pages found;
        for (const std::string& page : corpus()) {
            const auto high = std::ranges::count_if(page, [](char c) { return (c & 0x80) != 0; });
            if (static_cast<std::size_t>(high) * 25 >= page.size() && high > 0) {
                found.push_back(page);
            }
        }
        return found;
    }();
    return some;
}

std::string repeated(std::u16string_view text) {
    std::string out;
    while (out.size() < 500'000) out += toUtf8(text);
    return out;
}

const Pages& russian() {
    static const Pages page = {repeated(
        u"<p>\u0412 \u043D\u0430\u0447\u0430\u043B\u0435 \u0431\u044B\u043B\u043E "
        u"\u0441\u043B\u043E"
        u"\u0432\u043E, \u0438 \u0441\u043B\u043E\u0432\u043E \u0431\u044B\u043B\u043E.</p>\n")};
    return page;
}

const Pages& japanese() {
    static const Pages page = {
        repeated(u"<p>\u65E5\u672C\u8A9E\u306E\u6587\u7AE0\u3067\u3059\u3002\u6F22\u5B57\u3068"
                 u"\u304B\u306A\u304C\u6DF7\u3058\u308B\u3002</p>\n")};
    return page;
}

// Calls `convert(page, buffer)` for all pages in turn.
template <typename Convert>
void run(benchmark::State& state, const Pages& pages, Convert convert) {
    std::size_t bytes = 0, longest = 0;
    for (const std::string& page : pages) {
        bytes += page.size();
        longest = std::max(longest, page.size());
    }
    if (bytes == 0) return state.SkipWithError("no such pages; set CORVY_CORPUS");
    std::vector<char16_t> buffer(longest + 1);
    for (auto _ : state) {
        for (const std::string& page : pages) benchmark::DoNotOptimize(convert(page, buffer));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes * state.iterations()));
}

void utf8Own(benchmark::State& state, const Pages& (*pages)()) {
    run(state, pages(), [](const std::string& page, std::vector<char16_t>& buffer) {
        return convertUTF8ToUnicode(std::as_bytes(std::span(page)), buffer).replacements;
    });
}

void utf8Icu(benchmark::State& state, const Pages& (*pages)()) {
    run(state, pages(), [](const std::string& page, std::vector<char16_t>& buffer) {
        std::int32_t length = 0, replacements = 0;
        UErrorCode error = U_ZERO_ERROR;
        u_strFromUTF8WithSub(buffer.data(), static_cast<std::int32_t>(buffer.size()), &length,
                             page.data(), static_cast<std::int32_t>(page.size()), 0xFFFD,
                             &replacements, &error);
        return replacements;
    });
}

void utf8String(benchmark::State& state, const Pages& (*pages)()) {
    run(state, pages(),
        [](const std::string& page, std::vector<char16_t>&) { return fromUtf8(page).size(); });
}

BENCHMARK_CAPTURE(utf8Own, corpus, corpus);
BENCHMARK_CAPTURE(utf8Icu, corpus, corpus);
BENCHMARK_CAPTURE(utf8String, corpus, corpus);
BENCHMARK_CAPTURE(utf8Own, foreignPages, foreignPages);
BENCHMARK_CAPTURE(utf8Icu, foreignPages, foreignPages);
BENCHMARK_CAPTURE(utf8Own, russian, russian);
BENCHMARK_CAPTURE(utf8Icu, russian, russian);
BENCHMARK_CAPTURE(utf8Own, japanese, japanese);
BENCHMARK_CAPTURE(utf8Icu, japanese, japanese);

// The page in another encoding. The same text for all of them, so far as they have it.
Pages encoded(const Pages& pages, Encoding encoding) {
    return {dataUsingEncoding(fromUtf8(pages[0]), encoding).value()};
}

void legacyOwn(benchmark::State& state, const Pages& (*pages)(), Encoding encoding, const char*) {
    run(state, encoded(pages(), encoding),
        [encoding](const std::string& page, std::vector<char16_t>& buffer) {
            return convertEncodingToUnicode(std::as_bytes(std::span(page)), encoding, buffer)
                .replacements;
        });
}

void legacyIcu(benchmark::State& state, const Pages& (*pages)(), Encoding encoding,
               const char* name) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(name, &error);
    run(state, encoded(pages(), encoding),
        [converter](const std::string& page, std::vector<char16_t>& buffer) {
            UErrorCode failure = U_ZERO_ERROR;
            return ucnv_toUChars(converter, buffer.data(), static_cast<std::int32_t>(buffer.size()),
                                 page.data(), static_cast<std::int32_t>(page.size()), &failure);
        });
    ucnv_close(converter);
}

#define LEGACY(id, pages, encoding, name)                              \
    BENCHMARK_CAPTURE(legacyOwn, id, pages, Encoding::encoding, name); \
    BENCHMARK_CAPTURE(legacyIcu, id, pages, Encoding::encoding, name)

LEGACY(windows_1251, russian, kWindows1251, "windows-1251");
LEGACY(koi8_r, russian, kKOI8R, "KOI8-R");
LEGACY(utf16, russian, kUTF16, "UTF-16");
LEGACY(shift_jis, japanese, kShiftJIS, "Shift_JIS");
LEGACY(euc_jp, japanese, kEUC_JP, "EUC-JP");
LEGACY(gb18030, japanese, kGB18030, "gb18030");
LEGACY(iso_2022_jp, japanese, kISO2022JP, "ISO-2022-JP");

}  // namespace
}  // namespace corvy

BENCHMARK_MAIN();
