// Writes the class bitmaps and conversion tables as C++ source, from ICU's character data. Runs
// while the library is built: make_character_tables OUTPUT.
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <initializer_list>

namespace {

constexpr std::size_t kUnits = 0x10000;

using Members = std::array<bool, kUnits>;
using Table = std::array<char16_t, kUnits>;

Members membersOfCategories(std::uint32_t categories) {
    Members members{};
    for (std::size_t unit = 0; unit < kUnits; ++unit) {
        members[unit] = (U_GET_GC_MASK(static_cast<UChar32>(unit)) & categories) != 0;
    }
    return members;
}

Members with(Members members, std::initializer_list<char16_t> more) {
    for (const char16_t unit : more) members[unit] = true;
    return members;
}

// Every unit maps to itself but those of `members` that `convert` makes exactly one unit of.
Table conversion(const Members& members,
                 const std::function<icu::UnicodeString(icu::UnicodeString)>& convert) {
    Table table{};
    for (std::size_t unit = 0; unit < kUnits; ++unit) {
        table[unit] = static_cast<char16_t>(unit);
        if (!members[unit]) continue;
        const icu::UnicodeString converted = convert(icu::UnicodeString(table[unit]));
        if (converted.length() == 1) table[unit] = converted[0];
    }
    return table;
}

Table composed(const Table& outer, const Table& inner) {
    Table table{};
    for (std::size_t unit = 0; unit < kUnits; ++unit) table[unit] = outer[inner[unit]];
    return table;
}

// The letter without its diacritics. Only letters of the scripts in which marks are diacritics
// (Latin, Greek, Cyrillic: all of their bases lie below U+0510) lose them; kana, Arabic and Indic
// letters are other letters without their marks.
icu::UnicodeString withoutDiacritics(const icu::UnicodeString& letter) {
    constexpr UChar32 kEndOfDiacriticScripts = 0x0510;
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = icu::Normalizer2::getNFDInstance(error);
    if (U_FAILURE(error)) return letter;
    const icu::UnicodeString decomposed = normalizer->normalize(letter, error);
    if (U_FAILURE(error) || decomposed.char32At(0) >= kEndOfDiacriticScripts) return letter;
    icu::UnicodeString bases;
    for (int i = 0; i < decomposed.length(); ++i) {
        if ((U_GET_GC_MASK(decomposed[i]) & U_GC_M_MASK) == 0) bases.append(decomposed[i]);
    }
    return bases;
}

void writeBitmap(std::FILE* out, const char* name, const Members& members) {
    std::fprintf(out, "const std::uint8_t %s[8192] = {", name);
    for (std::size_t byte = 0; byte < kUnits / 8; ++byte) {
        unsigned bits = 0;
        for (unsigned bit = 0; bit < 8; ++bit) bits |= (members[byte * 8 + bit] ? 1U : 0U) << bit;
        std::fprintf(out, "%s%u,", byte % 32 == 0 ? "\n" : "", bits);
    }
    std::fputs("};\n", out);
}

void writeTable(std::FILE* out, const char* name, const Table& table) {
    std::fprintf(out, "const char16_t %s[65536] = {", name);
    for (std::size_t unit = 0; unit < kUnits; ++unit) {
        std::fprintf(out, "%s%u,", unit % 16 == 0 ? "\n" : "", unsigned{table[unit]});
    }
    std::fputs("};\n", out);
}

void writeUnit(std::FILE* out, const char* name, std::size_t unit) {
    std::fprintf(out, "const char16_t %s = %zu;\n", name, unit);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::FILE* out = std::fopen(argv[1], "w");
    if (out == nullptr) return 1;

    const Members spaces = with(membersOfCategories(U_GC_ZS_MASK), {0x0009});
    const Members breaks = {
        with(membersOfCategories(U_GC_Z_MASK), {0x0009, 0x000A, 0x000B, 0x000C, 0x000D, 0x0085})};
    const Members letters = membersOfCategories(U_GC_L_MASK | U_GC_M_MASK);
    const Members lowers = membersOfCategories(U_GC_LL_MASK);
    const Members uppers = membersOfCategories(U_GC_LU_MASK | U_GC_LT_MASK);
    const icu::Locale& root = icu::Locale::getRoot();
    const Table lower =
        conversion(uppers, [&root](icu::UnicodeString text) { return text.toLower(root); });
    const Table upper =
        conversion(lowers, [&root](icu::UnicodeString text) { return text.toUpper(root); });
    const Table umlauts = conversion(letters, withoutDiacritics);
    std::size_t first = 0;
    while (!letters[first]) ++first;
    std::size_t last = kUnits - 1;
    while (!letters[last]) --last;

    std::fprintf(out, "// Unicode %s, from ICU %s. Made by make_character_tables.\n",
                 U_UNICODE_VERSION, U_ICU_VERSION);
    std::fputs("#include \"foundation/character_tables.h\"\n\nnamespace corvy {\n\n", out);
    writeBitmap(out, "kEmptyCharacterSetRep", Members{});
    writeBitmap(out, "kSpaceCharacterSetRep", with(spaces, {0x0000}));
    writeBitmap(out, "kWhiteCharacterSetRep",
                with(breaks, {0x0000, 0x0003, 0x00A0, 0xFEFF, 0xFFFC}));
    writeBitmap(out, "kAlphaCharacterSetRep", letters);
    writeBitmap(out, "kAlphaNumCharacterSetRep",
                membersOfCategories(U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK));
    writeBitmap(out, "kDigitCharacterSetRep", membersOfCategories(U_GC_ND_MASK));
    writeBitmap(out, "kLowerCharacterSetRep", lowers);
    writeBitmap(out, "kUpperCharacterSetRep", uppers);
    writeTable(out, "kLowerChars", lower);
    writeTable(out, "kUpperChars", upper);
    writeTable(out, "kUmlautsChars", umlauts);
    writeTable(out, "kLowerUmlautsChars", composed(lower, umlauts));
    writeTable(out, "kUpperUmlautsChars", composed(upper, umlauts));
    writeUnit(out, "kFirstAlphaCharacter", first);
    writeUnit(out, "kLastAlphaCharacter", last);
    std::fputs("\n}  // namespace corvy\n", out);
    return std::fclose(out) == 0 ? 0 : 1;
}
