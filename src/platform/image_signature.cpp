#include "platform/image_signature.h"

#include <algorithm>
#include <cstdint>

#include "foundation/ascii_case.h"
#include "platform/byte_view.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

// How far texts are searched for what they are.
constexpr std::size_t kTextSearched = 4096;

struct Signature {
    std::size_t at;
    std::string_view bytes;
    ImageFormat format;
};
// Searched in order: what is a special case of another stands before it.
constexpr Signature kSignatures[] = {
    {0, "\xFF\xD8\xFF"sv, ImageFormat::jpeg},
    {0, "\x89PNG\r\n\x1A\n"sv, ImageFormat::png},
    {0, "GIF87a"sv, ImageFormat::gif},
    {0, "GIF89a"sv, ImageFormat::gif},
    {8, "CR\2\0"sv, ImageFormat::rawCr2},
    {0, "IIRO"sv, ImageFormat::rawOrf},
    {0, "IIRS"sv, ImageFormat::rawOrf},
    {0, "MMOR"sv, ImageFormat::rawOrf},
    {0, "IIU\0"sv, ImageFormat::rawRw2},
    {0, "FUJIFILMCCD-RAW "sv, ImageFormat::rawRaf},
    {0, "8BPS\0\1"sv, ImageFormat::psd},
    {0, "8BPS\0\2"sv, ImageFormat::psd},
    {0, "\0\0\0\x0CjP  \r\n\x87\n"sv, ImageFormat::jpeg2000},
    {0, "\xFF\x4F\xFF\x51"sv, ImageFormat::jpeg2000},
    {0, "icns"sv, ImageFormat::icns},
    {0, "\xC5\xD0\xD3\xC6"sv, ImageFormat::postScript},  // EPS with a preview before it
    {0, "%!PS"sv, ImageFormat::postScript},
    {0, "\4%!PS"sv, ImageFormat::postScript},  // behind an end-of-job mark
    {65, "PNTG"sv, ImageFormat::macPaint},     // type code in a MacBinary header
};

bool startsWithAny(std::string_view text, std::initializer_list<std::string_view> starts) {
    return std::ranges::any_of(starts,
                               [text](std::string_view start) { return text.starts_with(start); });
}

// By the major brand of the file type box, or the first compatible one that is known.
ImageFormat formatOfBrands(ByteView file) {
    if (!file.hasText(4, "ftyp")) return ImageFormat::unknown;
    constexpr std::size_t kMajorBrand = 8, kCompatibleBrands = 16, kMostBrands = 64;
    const std::size_t end =
        std::min<std::size_t>({file.size(), file.u32(0), kCompatibleBrands + 4 * kMostBrands});
    for (std::size_t at = kMajorBrand; at + 4 <= std::max<std::size_t>(end, kMajorBrand + 4);
         at += at == kMajorBrand ? kCompatibleBrands - kMajorBrand : 4) {
        const std::string_view brand = file.chars(at, 4);
        if (brand == "avif" || brand == "avis") return ImageFormat::avif;
        if (brand == "crx ") return ImageFormat::rawCr3;
        // The general brands say nothing about the coding.
        if (startsWithAny(brand, {"heic", "heix", "heim", "heis", "hevc", "hevx", "hevm", "hevs"}))
            return ImageFormat::heif;
    }
    const std::string_view major = file.chars(kMajorBrand, 4);
    return major == "mif1" || major == "msf1" || major == "mif2" ? ImageFormat::heif
                                                                 : ImageFormat::unknown;
}

bool isNamed(std::u16string_view extension, ImageFormat format) {
    std::u16string_view names = entryOf(format).extensions;
    while (!extension.empty() && !names.empty()) {
        const std::size_t end = std::min(names.find(u' '), names.size());
        if (equalsAsciiNoCase(extension, names.substr(0, end))) return true;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return false;
}

struct TiffTraits {
    bool isDng = false;
    bool isReduced = false;  // the first picture is a smaller one of another
    std::string_view make;
};

TiffTraits traitsOf(ByteView file) {
    constexpr std::uint16_t kSubfileType = 254, kMake = 271, kDngVersion = 50706;
    constexpr std::size_t kEntry = 12;
    constexpr std::uint16_t kMostEntries = 512;
    TiffTraits traits;
    const std::uint64_t directory = file.u32(4);
    const std::uint16_t count = std::min(file.u16(directory), kMostEntries);
    for (std::uint16_t i = 0; i < count; ++i) {
        const std::uint64_t entry = directory + 2 + i * kEntry;
        const std::uint16_t tag = file.u16(entry);
        if (tag == kDngVersion) traits.isDng = true;
        if (tag == kSubfileType) traits.isReduced = (file.u32(entry + 8) & 1) != 0;
        if (tag == kMake) traits.make = file.chars(file.u32(entry + 8), 8);
    }
    return traits;
}

// Raw files of cameras that are TIFF files: told by their maker where the first picture is only a
// preview.
ImageFormat formatOfTiff(ByteView file, std::u16string_view extension) {
    const bool isLittle = file.hasText(0, "II*\0"sv) || file.hasText(0, "II+\0"sv);
    if (!isLittle && !file.hasText(0, "MM\0*"sv) && !file.hasText(0, "MM\0+"sv))
        return ImageFormat::unknown;
    if (file.u8(2) == '+' || file.u8(3) == '+') return ImageFormat::tiff;
    const TiffTraits traits = traitsOf(file.inOrder(isLittle ? ByteOrder::little : ByteOrder::big));
    if (traits.isDng) return ImageFormat::rawDng;
    if (startsWithAny(traits.make, {"NIKON"}) &&
        (traits.isReduced || isNamed(extension, ImageFormat::rawNef)))
        return ImageFormat::rawNef;
    if (startsWithAny(traits.make, {"SONY"}) &&
        (traits.isReduced || isNamed(extension, ImageFormat::rawArw)))
        return ImageFormat::rawArw;
    return ImageFormat::tiff;
}

bool isBmp(ByteView file) {
    if (!file.hasText(0, "BM")) return false;
    const std::uint32_t header = file.inOrder(ByteOrder::little).u32(14);
    // Sizes of the headers in use: 12 and 16 to 64 (OS/2), 40 to 124 (Windows).
    return header == 12 || (header >= 16 && header <= 124);
}

bool isIcon(ByteView file, std::uint8_t kind) {
    const ByteView little = file.inOrder(ByteOrder::little);
    constexpr std::size_t kHeader = 6, kEntry = 16;
    return little.u16(0) == 0 && little.u16(2) == kind && little.u16(4) != 0 &&
           file.has(kHeader, kEntry) && little.u8(kHeader + 3) == 0 &&
           little.u32(kHeader + 12) >= kHeader + kEntry && little.u32(kHeader + 8) != 0;
}

bool isPnm(ByteView file) {
    if (file.u8(0) != 'P') return false;
    const std::uint8_t kind = file.u8(1);
    const bool isKnown = (kind >= '1' && kind <= '7') || kind == 'F' || kind == 'f';
    return isKnown && " \t\r\n#"sv.find(static_cast<char>(file.u8(2))) != std::string_view::npos;
}

bool isSgi(ByteView file) {
    return file.u16(0) == 0x01DA && file.u8(2) <= 1 && (file.u8(3) == 1 || file.u8(3) == 2) &&
           file.u16(4) >= 1 && file.u16(4) <= 3;
}

bool isPcx(ByteView file) {
    const std::uint8_t depth = file.u8(3);
    return file.u8(0) == 10 && file.u8(1) <= 5 && file.u8(1) != 1 && file.u8(2) <= 1 &&
           (depth == 1 || depth == 2 || depth == 4 || depth == 8) && file.size() >= 128;
}

// The picture lies behind 512 bytes of whatever its maker liked: size, frame, version.
bool isPict(ByteView file) {
    constexpr std::size_t kFrame = 514, kVersion = 522;
    const bool isVersion2 = file.hasText(kVersion, "\0\x11\2\xFF"sv);
    const bool hasFrame =
        file.u16(kFrame) < file.u16(kFrame + 4) && file.u16(kFrame + 2) < file.u16(kFrame + 6);
    return isVersion2 || (hasFrame && file.hasText(kVersion, "\x11\1"sv));
}

bool isXwd(ByteView file) {
    constexpr std::uint32_t kLeastHeader = 100, kLongestHeader = 4096;
    const auto fits = [file](ByteOrder order) {
        const ByteView view = file.inOrder(order);
        return view.u32(0) >= kLeastHeader && view.u32(0) <= kLongestHeader && view.u32(4) == 7 &&
               view.u32(8) <= 2;
    };
    return file.size() >= kLeastHeader && (fits(ByteOrder::big) || fits(ByteOrder::little));
}

// The extension of TGA files is taken at its word where the header is possible; without it, the
// footer has to tell.
bool isTga(ByteView file, bool isNamedSo) {
    constexpr std::size_t kHeader = 18, kFooter = 26;
    constexpr std::string_view kFooterText = "TRUEVISION-XFILE."sv;
    if (file.size() < kHeader) return false;
    const std::uint8_t mapKind = file.u8(1), kind = file.u8(2), depth = file.u8(16);
    const bool isPossible =
        mapKind <= 1 && ((kind >= 1 && kind <= 3) || (kind >= 9 && kind <= 11)) &&
        (depth == 1 || depth == 8 || depth == 15 || depth == 16 || depth == 24 || depth == 32) &&
        (file.u8(12) | file.u8(13)) != 0 && (file.u8(14) | file.u8(15)) != 0;
    const bool hasFooter =
        file.size() >= kFooter && file.hasText(file.size() - kFooter + 8, kFooterText);
    return isPossible && (hasFooter || isNamedSo);
}

std::string_view withoutMarkAndBlanks(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    return start == text.npos ? std::string_view() : text.substr(start);
}

// The first element is "svg", whatever its prefix; declarations and comments may come before it.
bool isSvg(std::string_view text) {
    text = withoutMarkAndBlanks(text);
    while (text.starts_with("<")) {
        if (!text.starts_with("<?") && !text.starts_with("<!")) {
            const std::string_view tag = text.substr(1, text.find_first_of(" \t\r\n/>", 1) - 1);
            return tag == "svg" || tag.ends_with(":svg");
        }
        std::string_view end = ">";
        if (text.starts_with("<!--")) end = "-->";
        // An internal subset has tags of its own.
        if (text.starts_with("<!DOCTYPE") && text.find('[') < text.find('>')) end = "]>";
        const std::size_t found = text.find(end);
        if (found == text.npos) return text.starts_with("<!DOCTYPE svg");
        text = withoutMarkAndBlanks(text.substr(found + end.size()));
    }
    return false;
}

ImageFormat formatOfText(std::string_view text) {
    // Readers of PDF take rubbish before the header; so far and no further.
    constexpr std::size_t kMostRubbish = 1024;
    if (text.substr(0, kMostRubbish).find("%PDF-") != text.npos) return ImageFormat::pdf;
    if (isSvg(text)) return ImageFormat::svg;
    if (text.starts_with("/* XPM */") || text.starts_with("! XPM2")) return ImageFormat::xpm;
    const std::string_view start = withoutMarkAndBlanks(text);
    if (!startsWithAny(start, {"#define", "/*"})) return ImageFormat::unknown;
    const std::size_t width = text.find("_width ");
    const bool isBitmap = width != text.npos && text.find("_height ", width) != text.npos;
    return isBitmap ? ImageFormat::xbm : ImageFormat::unknown;
}

}  // namespace

ImageFormat imageFormatOf(std::span<const std::byte> bytes, std::u16string_view extension) {
    const ByteView file(bytes);
    for (const Signature& signature : kSignatures) {
        if (file.hasText(signature.at, signature.bytes)) return signature.format;
    }
    if (file.hasText(0, "RIFF") && file.hasText(8, "WEBP")) return ImageFormat::webp;
    if (const auto format = formatOfTiff(file, extension); format != ImageFormat::unknown)
        return format;
    if (const auto format = formatOfBrands(file); format != ImageFormat::unknown) return format;
    if (isBmp(file)) return ImageFormat::bmp;
    if (isPnm(file)) return ImageFormat::pnm;
    if (isIcon(file, 1)) return ImageFormat::ico;
    if (isIcon(file, 2)) return ImageFormat::cur;
    if (isSgi(file)) return ImageFormat::sgi;
    if (isXwd(file)) return ImageFormat::xwd;
    if (const auto format = formatOfText(file.chars(0, kTextSearched));
        format != ImageFormat::unknown)
        return format;
    if (isPict(file)) return ImageFormat::pict;
    if (isTga(file, isNamed(extension, ImageFormat::tga))) return ImageFormat::tga;
    if (isPcx(file)) return ImageFormat::pcx;
    if (file.hasText(0, "\x1F\x8B") && isNamed(extension, ImageFormat::svg))
        return ImageFormat::svg;
    constexpr std::size_t kMacPaintHeader = 512;
    if (isNamed(extension, ImageFormat::macPaint) && file.size() > kMacPaintHeader)
        return ImageFormat::macPaint;
    return ImageFormat::unknown;
}

}  // namespace corvy::platform
