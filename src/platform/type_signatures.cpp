#include "platform/type_signatures.h"

#include <algorithm>
#include <array>
#include <string>

#include "foundation/text.h"
#include "platform/type_identifier.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

// Forms that formats share. Those that are types themselves have the type's identifier.
constexpr std::u16string_view kZip = u"public.zip-archive";
constexpr std::u16string_view kGzip = u"org.gnu.gnu-zip-archive";
constexpr std::u16string_view kOgg = u"org.xiph.ogg-audio";
constexpr std::u16string_view kMatroska = u"org.matroska.mkv";
constexpr std::u16string_view kWindowsMedia = u"com.microsoft.advanced-systems-format";
constexpr std::u16string_view kTiff = u"public.tiff";
constexpr std::u16string_view kPdf = u"com.adobe.pdf";
constexpr std::u16string_view kPostScript = u"com.adobe.postscript";
constexpr std::u16string_view kXml = u"public.xml";
constexpr std::u16string_view kBinaryList = u"com.apple.binary-property-list";
constexpr std::u16string_view kCompound = u"compound file";
constexpr std::u16string_view kIsoMedia = u"ISO media";
constexpr std::u16string_view kTagged = u"ID3";

struct Signature {
    std::size_t offset;
    std::string_view bytes;
    FoundSignature found;
};

constexpr FoundSignature plain(std::u16string_view type) {
    return {.type = type, .container = type};
}
constexpr FoundSignature weak(std::u16string_view type) {
    return {.type = type, .container = type, .isWeak = true};
}
constexpr FoundSignature text(std::u16string_view type) {
    return {.type = type, .container = type, .isText = true};
}
constexpr FoundSignature within(std::u16string_view container, std::u16string_view type) {
    return {.type = type, .container = container};
}

// The first that fits counts.
constexpr Signature kSignatures[] = {
#include "platform/type_signatures.inc"
};

// Types, with all below them, whose files are in a shared form without conforming to it.
struct BuiltOn {
    std::u16string_view type;
    std::u16string_view container;
};
constexpr BuiltOn kBuiltOn[] = {
    {u"com.adobe.illustrator.ai-image", kPdf},
    {u"com.adobe.illustrator.ai-image", kPostScript},
    {u"com.apple.itunes.ipa", kZip},
    {u"com.apple.iwork.keynote.sffkey", kZip},
    {u"com.apple.iwork.numbers.sffnumbers", kZip},
    {u"com.apple.iwork.pages.sffpages", kZip},
    {u"com.apple.m4a-audio", kIsoMedia},
    {u"com.apple.protected-mpeg-4-audio", kIsoMedia},
    {u"com.apple.quicktime-audio", kIsoMedia},
    {u"com.apple.quicktime-movie", kIsoMedia},
    {u"com.apple.webarchive", kBinaryList},
    {u"com.apple.xcode.strings-text", kBinaryList},
    {u"com.audible.aa-audiobook", kIsoMedia},
    {u"com.bohemiancoding.sketch.drawing", kZip},
    {u"com.canon.cr3-raw-image", kIsoMedia},
    {u"com.google.earth.kmz", kZip},
    {u"com.kodak.flashpix-image", kCompound},
    {u"com.microsoft.excel.sheet.binary.macroenabled", kZip},
    {u"com.microsoft.excel.xls", kCompound},
    {u"com.microsoft.msg", kCompound},
    {u"com.microsoft.powerpoint.ppt", kCompound},
    {u"com.microsoft.publisher.pub", kCompound},
    {u"com.microsoft.visio", kCompound},
    {u"com.microsoft.windows-media-wma", kWindowsMedia},
    {u"com.microsoft.windows-media-wmv", kWindowsMedia},
    {u"com.microsoft.word.doc", kCompound},
    {u"com.microsoft.xps", kZip},
    {u"com.pixar.universal-scene-description-mobile", kZip},
    {u"com.sun.java-archive", kZip},
    {u"org.corvystack.comic-book", kZip},
    {u"org.corvystack.matroska-audio", kMatroska},
    {u"org.corvystack.project-plan", kCompound},
    {u"org.corvystack.speex-audio", kOgg},
    {u"org.corvystack.svgz", kGzip},
    {u"org.corvystack.xpi", kZip},
    {u"org.idpf.epub-container", kZip},
    {u"org.oasis-open.opendocument", kZip},
    {u"org.openxmlformats.openxml", kCompound},  // encrypted
    {u"org.openxmlformats.openxml", kZip},
    {u"org.webmproject.webm", kMatroska},
    {u"org.xiph.flac", kOgg},
    {u"org.xiph.ogg-video", kOgg},
    {u"org.xiph.opus", kOgg},
    {u"public.3gpp", kIsoMedia},
    {u"public.3gpp2", kIsoMedia},
    {u"public.audio", kTagged},
    {u"public.camera-raw-image", kTiff},
    {u"public.heif-standard", kIsoMedia},
    {u"public.html", kXml},
    {u"public.mpeg-4", kIsoMedia},
    {u"public.mpeg-4-audio", kIsoMedia},
    {u"public.opentype-collection-font", u"public.truetype-collection-font"},
    {u"public.svg-image", kGzip},
};

// What the brand of ISO media says.
struct Brand {
    std::string_view prefix;
    std::u16string_view type;
};
constexpr Brand kBrands[] = {
    {"qt  ", u"com.apple.quicktime-movie"},
    {"M4A", u"com.apple.m4a-audio"},
    {"M4B", u"com.apple.m4b-audio"},
    {"M4P", u"com.apple.protected-mpeg-4-audio"},
    {"M4V", u"com.apple.m4v-video"},
    {"3g2", u"public.3gpp2"},
    {"3g", u"public.3gpp"},
    {"heix", u"public.heic"},
    {"heic", u"public.heic"},
    {"hevc", u"public.heics"},
    {"mif1", u"public.heif"},
    {"avif", u"public.avif"},
    {"avis", u"public.avif"},
    {"crx ", u"com.canon.cr3-raw-image"},
};

std::string_view charsOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool contains(std::string_view head, std::string_view part) {
    return head.find(part) != std::string_view::npos;
}

FoundSignature isoMedia(std::string_view head) {
    const std::string_view brand = head.substr(8, 4);
    const auto* known = std::ranges::find_if(
        kBrands, [brand](const Brand& entry) { return brand.starts_with(entry.prefix); });
    return within(kIsoMedia, known != std::end(kBrands) ? known->type : u"public.mpeg-4");
}

std::u16string_view typeOfZipEntries(std::string_view head) {
    struct Entry {
        std::string_view name;
        std::u16string_view type;
    };
    // The media type stands uncompressed in a first entry "mimetype", or a part has a known name.
    constexpr Entry kEntries[] = {
        {"mimetypeapplication/epub+zip", u"org.idpf.epub-container"},
        {"mimetypeapplication/vnd.oasis.opendocument.text", u"org.oasis-open.opendocument.text"},
        {"mimetypeapplication/vnd.oasis.opendocument.spreadsheet",
         u"org.oasis-open.opendocument.spreadsheet"},
        {"mimetypeapplication/vnd.oasis.opendocument.presentation",
         u"org.oasis-open.opendocument.presentation"},
        {"mimetypeapplication/vnd.oasis.opendocument.graphics",
         u"org.oasis-open.opendocument.graphics"},
    };
    constexpr std::size_t kFirstName = 30;
    const std::string_view names = head.substr(std::min(kFirstName, head.size()));
    for (const Entry& entry : kEntries) {
        if (names.starts_with(entry.name)) return entry.type;
    }
    constexpr Entry kParts[] = {
        {"word/", u"org.openxmlformats.wordprocessingml.document"},
        {"xl/", u"org.openxmlformats.spreadsheetml.sheet"},
        {"ppt/", u"org.openxmlformats.presentationml.presentation"},
    };
    if (contains(head, "[Content_Types].xml")) {
        for (const Entry& part : kParts) {
            if (contains(head, part.name)) return part.type;
        }
    }
    if (contains(head, "AndroidManifest.xml")) return u"com.android.package-archive";
    return contains(head, "META-INF/MANIFEST.MF") ? u"com.sun.java-archive" : kZip;
}

std::u16string_view typeOfOgg(std::string_view head) {
    if (contains(head, "\x80theora")) return u"org.xiph.ogg-video";
    if (contains(head, "OpusHead")) return u"org.xiph.opus";
    return contains(head, "Speex   ") ? u"org.corvystack.speex-audio" : kOgg;
}

// The root element of a document in XML, comments and declarations passed over.
std::u16string_view typeOfXml(std::string_view head) {
    struct Root {
        std::string_view name;
        std::u16string_view type;
    };
    constexpr Root kRoots[] = {
        {"svg", u"public.svg-image"},
        {"html", u"public.xhtml"},
        {"rss", u"public.rss"},
        {"rdf:RDF", u"public.rss"},
        {"feed", u"public.atom"},
        {"plist", u"com.apple.xml-property-list"},
        {"opml", u"org.opml.opml"},
        {"kml", u"com.google.earth.kml"},
        {"w:wordDocument", u"com.microsoft.word.wordml"},
        {"x:xmpmeta", u"com.adobe.xmp"},
    };
    for (std::size_t at = head.find('<'); at != head.npos; at = head.find('<', at + 1)) {
        const std::string_view rest = head.substr(at + 1);
        if (rest.starts_with("!--")) {
            at += std::min(rest.find("-->"), rest.size());
            continue;
        }
        if (rest.starts_with('?') || rest.starts_with('!')) continue;
        const std::string_view name = rest.substr(0, rest.find_first_of(" \t\r\n/>"));
        const auto* root = std::ranges::find(kRoots, name, &Root::name);
        return root != std::end(kRoots) ? root->type : kXml;
    }
    return kXml;
}

bool startsNoCase(std::string_view text, std::string_view word) {
    return text.size() >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin(), [](char a, char b) {
               return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b - 'A' + 'a') : b);
           });
}

// Formats of text, which may begin with a mark and white space.
std::optional<FoundSignature> textSignature(std::string_view head) {
    if (head.starts_with("\xEF\xBB\xBF")) head.remove_prefix(3);
    const std::size_t start = std::min(head.find_first_not_of(" \t\r\n"), head.size());
    const std::string_view body = head.substr(start);
    if (body.starts_with("<?xml")) {
        return FoundSignature{.type = typeOfXml(body), .container = kXml, .isText = true};
    }
    for (const std::string_view word : {"<!doctype html"sv, "<html"sv, "<head"sv, "<body"sv}) {
        if (startsNoCase(body, word)) return text(u"public.html");
    }
    if (startsNoCase(body, "<svg")) return text(u"public.svg-image");
    if (startsNoCase(body, "begin:vcard")) return text(u"public.vcard");
    if (startsNoCase(body, "begin:vcalendar")) return text(u"com.apple.ical.ics");
    return std::nullopt;
}

// A script is known by the program that its first line names.
std::optional<FoundSignature> scriptSignature(std::string_view head) {
    if (!head.starts_with("#!")) return std::nullopt;
    struct Program {
        std::string_view name;
        std::u16string_view type;
    };
    constexpr Program kPrograms[] = {
        {"python", u"public.python-script"}, {"perl", u"public.perl-script"},
        {"ruby", u"public.ruby-script"},     {"php", u"public.php-script"},
        {"bash", u"public.bash-script"},     {"zsh", u"public.zsh-script"},
        {"csh", u"public.csh-script"},       {"node", u"com.netscape.javascript-source"},
    };
    const std::string_view line = head.substr(0, head.find('\n'));
    for (const Program& program : kPrograms) {
        if (contains(line, program.name)) return text(program.type);
    }
    return text(u"public.shell-script");
}

bool isBuiltOn(std::u16string_view type, std::u16string_view container) {
    return std::ranges::any_of(kBuiltOn, [&](const BuiltOn& entry) {
        return entry.container == container && conformsTo(type, entry.type);
    });
}

// Whether its files begin in a way that is known here.
bool hasSignature(std::u16string_view type) {
    return std::ranges::any_of(
               kBuiltOn, [&](const BuiltOn& entry) { return conformsTo(type, entry.type); }) ||
           std::ranges::any_of(kSignatures, [&](const Signature& signature) {
               const FoundSignature& found = signature.found;
               return !found.isWeak && found.container != kCompound && conformsTo(type, found.type);
           });
}

}  // namespace

std::optional<FoundSignature> signatureOf(std::span<const std::byte> head) {
    const std::string_view bytes = charsOf(head.first(std::min(head.size(), kSignatureHead)));
    if (bytes.size() >= 12 && bytes.substr(4, 4) == "ftyp") return isoMedia(bytes);
    for (const Signature& signature : kSignatures) {
        if (bytes.size() < signature.offset + signature.bytes.size() ||
            bytes.substr(signature.offset, signature.bytes.size()) != signature.bytes) {
            continue;
        }
        FoundSignature found = signature.found;
        if (found.container == kZip) found.type = typeOfZipEntries(bytes);
        if (found.container == kOgg) found.type = typeOfOgg(bytes);
        if (found.container == kMatroska && contains(bytes, "webm")) {
            found.type = u"org.webmproject.webm";
        }
        return found;
    }
    // Readers look for it within this length.
    if (contains(bytes.substr(0, 1024), "%PDF-")) return plain(kPdf);
    if (auto script = scriptSignature(bytes)) return script;
    return textSignature(bytes);
}

bool allowsType(const FoundSignature& signature, std::u16string_view type) {
    if (signature.isWeak) return true;
    for (const std::u16string_view known : {signature.type, signature.container}) {
        if (conformsTo(type, known) || conformsTo(known, type)) return true;
    }
    if (isBuiltOn(type, signature.container) || isBuiltOn(type, signature.type)) return true;
    if (hasSignature(type)) return false;
    return signature.isText || !conformsTo(type, u"public.text");
}

std::optional<std::size_t> compoundDirectoryOffset(std::span<const std::byte> head) {
    constexpr std::size_t kHeaderLength = 512;
    constexpr std::size_t kSectorShift = 30;
    constexpr std::size_t kDirectorySector = 48;
    if (head.size() < kHeaderLength) return std::nullopt;
    const auto byte = [head](std::size_t at) { return std::to_integer<std::size_t>(head[at]); };
    const std::size_t shift = byte(kSectorShift);
    if (shift != 9 && shift != 12) return std::nullopt;
    std::size_t sector = 0;
    for (std::size_t i = 4; i > 0; --i) sector = sector << 8 | byte(kDirectorySector + i - 1);
    return (sector + 1) << shift;
}

std::optional<std::u16string_view> typeOfCompoundDirectory(std::span<const std::byte> directory) {
    struct Stream {
        std::string_view name;  // UTF-16, little-endian
        std::u16string_view type;
    };
    static constexpr Stream kStreams[] = {
        {"W\0o\0r\0d\0D\0o\0c\0u\0m\0e\0n\0t\0"sv, u"com.microsoft.word.doc"},
        {"W\0o\0r\0k\0b\0o\0o\0k\0"sv, u"com.microsoft.excel.xls"},
        {"P\0o\0w\0e\0r\0P\0o\0i\0n\0t\0 \0D\0o\0c\0"sv, u"com.microsoft.powerpoint.ppt"},
        {"_\0_\0p\0r\0o\0p\0e\0r\0t\0i\0e\0s\0"sv, u"com.microsoft.msg"},
        {"V\0i\0s\0i\0o\0D\0o\0c\0"sv, u"com.microsoft.visio"},
    };
    const std::string_view bytes = charsOf(directory);
    for (const Stream& stream : kStreams) {
        if (contains(bytes, stream.name)) return stream.type;
    }
    return std::nullopt;
}

bool looksLikeText(std::span<const std::byte> bytes, bool isPart) {
    const std::string_view whole = charsOf(bytes);
    constexpr std::size_t kLongestCut = 3;
    for (std::size_t cut = 0; cut <= (isPart ? kLongestCut : 0) && cut <= whole.size(); ++cut) {
        const std::string_view part = whole.substr(0, whole.size() - cut);
        if (!fromStrictUtf8(part)) continue;
        return std::ranges::none_of(part, [](char c) {
            return (c >= 0 && c < 0x20 && !(c >= '\t' && c <= '\r') && c != 0x1B) || c == 0x7F;
        });
    }
    return false;
}

}  // namespace corvy::platform
