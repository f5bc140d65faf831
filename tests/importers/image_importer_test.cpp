#include <gtest/gtest.h>

#include <span>

#include "foundation/text.h"
#include "platform/xmp_packet.h"
#include "tests/importers/imported.h"
#include "tests/importers/packed.h"

namespace corvy {
namespace {

using namespace std::literals;
using test::contentOf;

TEST(ImageImporter, TellsExifIptcAndXmp) {
    const test::Imported weir(CORVY_EXAMPLES "/weir.jpg");
    struct Case {
        const char16_t* key;
        const char* value;
    };
    static constexpr Case cases[] = {
        {u"kMDItemPixelWidth", "24"},
        {u"kMDItemOrientation", "1"},  // it is to be turned
        {u"org_corvystack_orientation", "6"},
        {u"kMDItemColorSpace", R"("Gray")"},
        {u"kMDItemResolutionHeightDPI", "300"},
        {u"kMDItemTitle", R"("The weir & the ferry house")"},
        {u"kMDItemAuthors", R"(["Anneliese Moor", "Tom Weir"])"},
        {u"kMDItemKeywords", R"(["river", "weir"])"},
        {u"kMDItemDescription", R"("Water over grey stone.")"},
        {u"kMDItemCity", R"("Weirbridge")"},
        {u"kMDItemStarRating", "4"},
        {u"kMDItemContentCreationDate", "1709656200"},
        {u"kMDItemAcquisitionModel", R"("Kestrel 2")"},
        {u"kMDItemExposureTimeSeconds", "0.004"},
        {u"kMDItemISOSpeed", "200"},
        {u"kMDItemFlashOnOff", "true"},
        {u"kMDItemLatitude", "51.5"},
        {u"kMDItemLongitude", "-0.12"},
        {u"kMDItemTimestamp", "1709656200"},
    };
    for (const Case& c : cases) EXPECT_EQ(weir[c.key], c.value) << toUtf8(c.key);
}

// A picture of one pixel, followed by what is told of it.
std::string gif(const std::string& packet) {
    return "GIF89a\1\0\1\0\0\0\0!\xFF\x0BXMP DataXMP"s + packet + "\0\0;"s;
}
std::string webp(const std::string& packet) {
    std::string size(4, '\0');
    size[0] = static_cast<char>(packet.size());
    return "RIFF\xFF\0\0\0WEBPVP8X\x0A\0\0\0\x14\0\0\0\1\0\0\0\0\0XMP "s + size + packet;
}

TEST(ImageImporter, FindsPacketsAndTakesThemFirst) {
    const auto packet =
        "<x><rdf:RDF><rdf:Description dc:title='T'><dc:subject>s</dc:subject>"
        "</rdf:Description></rdf:RDF></x>"s;
    std::string weir = contentOf(CORVY_EXAMPLES "/weir.jpg");
    const std::string cut = weir.substr(0, 700);
    weir.replace(weir.find("<rdf:RDF"), 8, "<rdf:XXX");
    weir.replace(weir.find("2024:03:05 17"), 4, "0000");
    test::expectImported({
        {"a.gif", gif(packet), u"kMDItemTitle", R"("T")"},
        {"a.webp", webp(packet), u"kMDItemKeywords", R"(["s"])"},
        {"a.webp", webp(packet), u"kMDItemPixelWidth", "2"},
        {"a.webp", webp(packet), u"kMDItemHasAlphaChannel", "true"},
        {"a.jpg", weir, u"kMDItemTitle", ""},
        {"a.jpg", weir, u"kMDItemContentCreationDate", ""},
        {"a.jpg", weir, u"kMDItemCopyright", R"("Valley Walks 2024")"},
        {"a.jpg", cut, u"kMDItemAcquisitionMake", R"("Valley Optics")"},
        {"a.png", "no picture", u"kMDItemPixelWidth", ""},
        {"a.svg", "<svg xmlns='x' width='30' height='20'/>", u"kMDItemPixelWidth", "30"},
    });
}

TEST(XmpPacket, ReadsTextsAndLists) {
    struct Case {
        const char* inside;  // of a description
        const char* name;
        std::vector<std::u16string> values;
    };
    const Case cases[] = {
        {"<a:b> one </a:b>", "a:b", {u"one"}},
        {"<a:b/>", "a:b", {}},
        {"<a:b>one</a:b><a:b>two</a:b>", "a:b", {u"one"}},
        {"<a:b><rdf:Bag><rdf:li>x</rdf:li><rdf:li/><rdf:li>x</rdf:li></rdf:Bag></a:b>",
         "a:b",
         {u"x", u"x"}},
        {"<a:b><rdf:Alt><rdf:li xml:lang='de'>D</rdf:li><rdf:li xml:lang='x-default'>E</rdf:li>"
         "</rdf:Alt></a:b>",
         "a:b",
         {u"E", u"D"}},
        {"<a:b><c:d>of a structure</c:d></a:b>", "a:b", {}},
        {"<a:b>cut", "a:b", {u"cut"}},
    };
    for (const Case& c : cases) {
        const std::string packet = "<rdf:RDF><rdf:Description>"s + c.inside;
        EXPECT_EQ(platform::XmpPacket(std::as_bytes(std::span(packet))).values(c.name), c.values)
            << c.inside;
    }
}

}  // namespace
}  // namespace corvy
