#include "importers/media/media_tags.h"

#include <charconv>
#include <cmath>
#include <utility>

#include "foundation/ascii_case.h"
#include "foundation/date.h"
#include "foundation/text.h"
#include "importers/support/text_list.h"

namespace corvy {

namespace {

std::u16string trimmedText(const PropertyList& value) {
    return value.string() ? std::u16string(trimWhite(*value.string())) : std::u16string();
}

struct Place {
    double latitude = 0;
    double longitude = 0;
    std::optional<double> altitude;  // metres
};

// "+52.3759+009.7320+055.1/": degrees, and metres at the end.
std::optional<Place> placeOf(std::u16string_view text) {
    const std::string written = toUtf8(text);
    const char* at = written.data();
    const char* const end = at + written.size();
    const auto next = [&at, end]() -> std::optional<double> {
        if (at == end || (*at != '+' && *at != '-')) return std::nullopt;
        if (*at == '+') ++at;
        double number = 0;
        const auto [stop, error] = std::from_chars(at, end, number, std::chars_format::fixed);
        if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
        at = stop;
        return number;
    };
    const auto latitude = next(), longitude = next();
    if (!latitude || !longitude) return std::nullopt;
    if (std::abs(*latitude) > 90 || std::abs(*longitude) > 180) return std::nullopt;
    return Place{*latitude, *longitude, next()};
}

void setPlace(Attributes& attributes, const MediaTags& tags) {
    const auto place =
        placeOf(tags.valueOf({u"com.apple.quicktime.location.iso6709", u"location"}));
    if (!place) return;
    attributes.set("kMDItemLatitude", place->latitude);
    attributes.set("kMDItemLongitude", place->longitude);
    if (place->altitude) attributes.set("kMDItemAltitude", *place->altitude);
}

void setDates(Attributes& attributes, const MediaTags& tags) {
    const auto set = [&attributes](const char* key, const std::u16string& text) {
        if (const auto found = text.empty() ? std::nullopt : date(text))
            attributes.set(key, *found);
    };
    set("kMDItemContentCreationDate",
        tags.valueOf({u"com.apple.quicktime.creationdate", u"creation_time"}));
    const std::u16string recorded = tags.valueOf({u"date", u"year", u"tyer", u"originaldate"});
    constexpr std::size_t kYear = 4, kDay = 10;
    const auto year = MediaTags({{u"year", recorded.substr(0, kYear)}}).numberOf({u"year"});
    if (year && *year > 0) attributes.set("kMDItemRecordingYear", *year);
    if (recorded.size() >= kDay) set("kMDItemRecordingDate", recorded);
}

}  // namespace

std::u16string MediaTags::valueOf(std::initializer_list<std::u16string_view> names) const {
    for (const std::u16string_view name : names) {
        for (const auto& [key, value] : tags_) {
            if (!equalsAsciiNoCase(key, name)) continue;
            if (auto text = trimmedText(value); !text.empty()) return text;
        }
    }
    return {};
}

std::vector<std::u16string> MediaTags::listOf(
    std::initializer_list<std::u16string_view> names) const {
    TextList list;
    list.addSplit(valueOf(names), u";");
    return list.texts();
}

std::optional<std::int64_t> MediaTags::numberOf(
    std::initializer_list<std::u16string_view> names) const {
    const std::string text = toUtf8(valueOf(names));
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

std::u16string MediaTags::valueOfPrefix(std::u16string_view prefix) const {
    for (const auto& [key, value] : tags_) {
        if (startsWithAsciiNoCase(key, prefix)) return trimmedText(value);
    }
    return {};
}

void setTagAttributes(Attributes& attributes, const MediaTags& tags) {
    attributes.set("kMDItemTitle", tags.valueOf({u"title", u"com.apple.quicktime.title"}));
    attributes.set("kMDItemAuthors",
                   tags.listOf({u"artist", u"author", u"album_artist",
                                u"com.apple.quicktime.artist", u"com.apple.quicktime.author"}));
    attributes.set("kMDItemPerformers", tags.listOf({u"performer"}));
    attributes.set("kMDItemComposer", tags.valueOf({u"composer"}));
    attributes.set("kMDItemDirector", tags.valueOf({u"director"}));
    attributes.set("kMDItemProducer", tags.valueOf({u"producer"}));
    attributes.set("kMDItemPublishers", tags.listOf({u"publisher", u"organization"}));
    attributes.set("kMDItemAlbum", tags.valueOf({u"album", u"com.apple.quicktime.album"}));
    attributes.set("kMDItemMusicalGenre", tags.valueOf({u"genre"}));
    attributes.set("kMDItemComment", tags.valueOf({u"comment", u"com.apple.quicktime.comment"}));
    attributes.set("kMDItemDescription", tags.valueOf({u"description", u"synopsis", u"subtitle"}));
    attributes.set("kMDItemKeywords", tags.listOf({u"keywords", u"com.apple.quicktime.keywords"}));
    attributes.set("kMDItemCopyright",
                   tags.valueOf({u"copyright", u"com.apple.quicktime.copyright"}));
    attributes.set("kMDItemKeySignature", tags.valueOf({u"tkey", u"initialkey"}));
    attributes.set("kMDItemAcquisitionMake", tags.valueOf({u"make", u"com.apple.quicktime.make"}));
    attributes.set("kMDItemAcquisitionModel",
                   tags.valueOf({u"model", u"com.apple.quicktime.model"}));
    attributes.set("kMDItemEncodingApplications",
                   tags.listOf({u"encoder", u"com.apple.quicktime.software"}));
    if (const auto track = tags.numberOf({u"track"}); track && *track > 0) {
        attributes.set("kMDItemAudioTrackNumber", *track);
    }
    if (const auto tempo = tags.numberOf({u"tbpm", u"bpm", u"tmpo"}); tempo && *tempo > 0) {
        attributes.set("kMDItemTempo", *tempo);
    }
    setDates(attributes, tags);
    setPlace(attributes, tags);
    attributes.setTextContent(tags.valueOfPrefix(u"lyrics"));
}

}  // namespace corvy
