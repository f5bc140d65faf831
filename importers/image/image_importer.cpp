// Pictures: what their headers and blocks say. No pixel is decoded.
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "importers/image/picture_facts.h"
#include "importers/support/attributes.h"
#include "importers/support/own_keys.h"
#include "platform/image_metadata.h"
#include "platform/image_signature.h"

namespace corvy {

namespace {

using platform::ImageMetadata;

void tellPicture(Attributes& attributes, const ImageMetadata& metadata, const PictureFacts& facts) {
    if (const auto size = metadata.size) {
        attributes.set("kMDItemPixelWidth", std::int64_t{size->width});
        attributes.set("kMDItemPixelHeight", std::int64_t{size->height});
        attributes.set("kMDItemPixelCount",
                       static_cast<std::int64_t>(std::uint64_t{size->width} * size->height));
        // As it is to be seen: 0 is landscape, 1 is portrait.
        constexpr int kFirstTurned = 5;
        const bool isTurned = metadata.orientation >= kFirstTurned;
        const bool isTall = isTurned ? size->width > size->height : size->height > size->width;
        attributes.set("kMDItemOrientation", std::int64_t{isTall ? 1 : 0});
    }
    const std::pair<const char*, const char16_t*> copied[] = {
        {"kMDItemBitsPerSample", u"Depth"},           {"kMDItemColorSpace", u"ColorModel"},
        {"kMDItemProfileName", u"ProfileName"},       {"kMDItemResolutionWidthDPI", u"DPIWidth"},
        {"kMDItemResolutionHeightDPI", u"DPIHeight"}, {"kMDItemHasAlphaChannel", u"HasAlpha"},
        {own_keys::kOrientation, u"Orientation"}};
    for (const auto& [name, key] : copied) {
        if (const PropertyList* value = facts.find(u"", key)) attributes.set(name, *value);
    }
}

// "2.3.2" of 2, 3, 2.
std::u16string versionOf(const PropertyList* numbers) {
    std::string version;
    if (!numbers || !numbers->array()) return {};
    for (const PropertyList& number : *numbers->array()) {
        if (!version.empty()) version += '.';
        version += std::to_string(number.integer().value_or(0));
    }
    return fromUtf8(version);
}

void tellCamera(Attributes& attributes, const PictureFacts& facts) {
    attributes.set("kMDItemAcquisitionMake", facts.text(u"{TIFF}", u"Make"));
    attributes.set("kMDItemAcquisitionModel", facts.text(u"{TIFF}", u"Model"));
    attributes.set("kMDItemLensModel", facts.firstText("aux:Lens", {{u"{Exif}", u"LensModel"}}));
    attributes.set("kMDItemEXIFVersion", versionOf(facts.find(u"{Exif}", u"ExifVersion")));
    const std::pair<const char*, const char16_t*> reals[] = {
        {"kMDItemExposureTimeSeconds", u"ExposureTime"},
        {"kMDItemFNumber", u"FNumber"},
        {"kMDItemAperture", u"ApertureValue"},
        {"kMDItemMaxAperture", u"MaxApertureValue"},
        {"kMDItemFocalLength", u"FocalLength"}};
    for (const auto& [name, key] : reals) {
        const auto number = facts.number(u"{Exif}", key);
        if (number && *number > 0) attributes.set(name, *number);
    }
    const std::pair<const char*, const char16_t*> codes[] = {
        {"kMDItemISOSpeed", u"ISOSpeedRatings"},
        {"kMDItemFocalLength35mm", u"FocalLenIn35mmFilm"},
        {"kMDItemExposureProgram", u"ExposureProgram"},
        {"kMDItemExposureMode", u"ExposureMode"},
        {"kMDItemMeteringMode", u"MeteringMode"},
        {"kMDItemWhiteBalance", u"WhiteBalance"}};
    for (const auto& [name, key] : codes) {
        const auto number = facts.number(u"{Exif}", key);
        if (number) attributes.set(name, static_cast<std::int64_t>(*number));
    }
    if (const auto number = facts.number(u"{Exif}", u"Flash")) {
        constexpr std::int64_t kFired = 1, kAgainstRedEyes = 0x40;
        const auto flash = static_cast<std::int64_t>(*number);
        attributes.set("kMDItemFlashOnOff", (flash & kFired) != 0);
        attributes.set("kMDItemRedEyeOnOff", (flash & kAgainstRedEyes) != 0);
    }
}

// Degrees to the north and east; none beyond the most.
std::optional<double> coordinate(const PictureFacts& facts, std::u16string_view key,
                                 std::u16string_view referenceKey, double most) {
    const auto degrees = facts.number(u"{GPS}", key);
    if (!degrees || !(std::abs(*degrees) <= most)) return std::nullopt;
    const std::u16string reference = facts.text(u"{GPS}", referenceKey);
    const bool isNegative = reference.starts_with(u'S') || reference.starts_with(u'W');
    return isNegative ? -*degrees : *degrees;
}

void tellPosition(Attributes& attributes, const PictureFacts& facts) {
    const auto latitude = coordinate(facts, u"Latitude", u"LatitudeRef", 90);
    const auto longitude = coordinate(facts, u"Longitude", u"LongitudeRef", 180);
    if (latitude && longitude) {
        attributes.set("kMDItemLatitude", *latitude);
        attributes.set("kMDItemLongitude", *longitude);
    }
    if (const auto altitude = facts.number(u"{GPS}", u"Altitude")) {
        const bool isBelowSea = facts.number(u"{GPS}", u"AltitudeRef").value_or(0) == 1;
        attributes.set("kMDItemAltitude", isBelowSea ? -*altitude : *altitude);
    }
    if (const auto direction = facts.number(u"{GPS}", u"ImgDirection")) {
        attributes.set("kMDItemImageDirection", *direction);
    }
    if (const auto time = facts.positionDate()) attributes.set("kMDItemTimestamp", *time);
}

void tellDates(Attributes& attributes, const PictureFacts& facts) {
    auto created = facts.date(u"{Exif}", u"DateTimeOriginal", u"OffsetTimeOriginal");
    if (!created) created = facts.packet().date("photoshop:DateCreated");
    if (!created) created = facts.packet().date("xmp:CreateDate");
    if (!created) created = facts.date(u"{Exif}", u"DateTimeDigitized", u"OffsetTimeDigitized");
    if (created) attributes.set("kMDItemContentCreationDate", *created);
    auto modified = facts.packet().date("xmp:ModifyDate");
    if (!modified) modified = facts.date(u"{TIFF}", u"DateTime");
    if (modified) attributes.set("kMDItemContentModificationDate", *modified);
}

void tellCaption(Attributes& attributes, const PictureFacts& facts) {
    attributes.set("kMDItemTitle",
                   facts.firstText("dc:title", {{u"{IPTC}", u"ObjectName"}, {u"{PNG}", u"Title"}}));
    attributes.set("kMDItemHeadline",
                   facts.firstText("photoshop:Headline", {{u"{IPTC}", u"Headline"}}));
    attributes.set("kMDItemDescription",
                   facts.firstText("dc:description", {{u"{IPTC}", u"Caption/Abstract"},
                                                      {u"{TIFF}", u"ImageDescription"},
                                                      {u"{PNG}", u"Description"}}));
    attributes.set(
        "kMDItemComment",
        facts.firstText("exif:UserComment", {{u"{Exif}", u"UserComment"}, {u"{PNG}", u"Comment"}}));
    attributes.set("kMDItemKeywords", facts.firstList("dc:subject", {{u"{IPTC}", u"Keywords"}}));
    attributes.set("kMDItemAuthors", facts.firstList("dc:creator", {{u"{IPTC}", u"Byline"},
                                                                    {u"{TIFF}", u"Artist"},
                                                                    {u"{PNG}", u"Author"}}));
    attributes.set("kMDItemCopyright",
                   facts.firstText("dc:rights", {{u"{IPTC}", u"CopyrightNotice"},
                                                 {u"{TIFF}", u"Copyright"},
                                                 {u"{PNG}", u"Copyright"}}));
    attributes.set("kMDItemCreator", facts.firstText("xmp:CreatorTool", {{u"{TIFF}", u"Software"},
                                                                         {u"{PNG}", u"Software"}}));
    attributes.set("kMDItemNamedLocation",
                   facts.firstText("Iptc4xmpCore:Location", {{u"{IPTC}", u"SubLocation"}}));
    attributes.set("kMDItemCity", facts.firstText("photoshop:City", {{u"{IPTC}", u"City"}}));
    attributes.set("kMDItemStateOrProvince",
                   facts.firstText("photoshop:State", {{u"{IPTC}", u"Province/State"}}));
    attributes.set(
        "kMDItemCountry",
        facts.firstText("photoshop:Country", {{u"{IPTC}", u"Country/PrimaryLocationName"}}));
    attributes.set("kMDItemInstructions", facts.firstText("photoshop:Instructions",
                                                          {{u"{IPTC}", u"SpecialInstructions"}}));
    const auto rating = facts.packet().number("xmp:Rating");
    if (rating && *rating >= 0 && *rating <= 5) attributes.set("kMDItemStarRating", *rating);
}

bool importImage(CorvyAttributes* out, const char*, const char* path) {
    const std::u16string name = pathFromBytes(path);
    const auto bytes = contentsOfFile(name, {.mapped = true});
    if (!bytes) return false;
    const auto format = platform::imageFormatOf(bytes->span(), pathExtension(name));
    const ImageMetadata metadata = platform::imageMetadataOf(bytes->span(), format);
    if (metadata.properties.empty()) return false;
    Attributes attributes(out);
    const PictureFacts facts(metadata);
    tellPicture(attributes, metadata, facts);
    tellCaption(attributes, facts);
    tellDates(attributes, facts);
    tellCamera(attributes, facts);
    tellPosition(attributes, facts);
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importImage)
