#include "importers/image/picture_facts.h"

#include <algorithm>
#include <span>

#include "foundation/date.h"
#include "foundation/text.h"
#include "importers/support/text_list.h"

namespace corvy {

namespace {

// "2024:03:05" as others write it; empty for what cameras write that do not know the day.
std::u16string dayOf(std::u16string_view exif) {
    constexpr std::size_t kLength = 10;
    std::u16string day(exif.substr(0, kLength));
    if (day.size() < kLength || day.starts_with(u"0000") || trimWhite(day).size() < kLength) {
        return {};
    }
    std::ranges::replace(day, u':', u'-');
    return day;
}

}  // namespace

PictureFacts::PictureFacts(const platform::ImageMetadata& metadata)
    : properties_(metadata.properties), packet_(std::as_bytes(std::span(metadata.xmpPacket))) {}

const PropertyList* PictureFacts::find(std::u16string_view group, std::u16string_view key) const {
    if (group.empty()) return properties_.find(key);
    const PropertyList* found = properties_.find(group);
    return found && found->dictionary() ? found->dictionary()->find(key) : nullptr;
}

std::optional<double> PictureFacts::number(std::u16string_view group,
                                           std::u16string_view key) const {
    const PropertyList* value = find(group, key);
    if (value && value->array() && !value->array()->empty()) value = &value->array()->front();
    return value ? value->number() : std::nullopt;
}

std::u16string PictureFacts::text(std::u16string_view group, std::u16string_view key) const {
    const PropertyList* value = find(group, key);
    return value && value->string() ? std::u16string(trimWhite(*value->string()))
                                    : std::u16string();
}

std::optional<Date> PictureFacts::date(std::u16string_view group, std::u16string_view key,
                                       std::u16string_view zoneKey) const {
    constexpr std::size_t kTime = 11, kTimeLength = 8;
    const std::u16string written = text(group, key);
    const std::u16string day = dayOf(written);
    if (day.empty() || written.size() < kTime + kTimeLength) return std::nullopt;
    return corvy::date(day + u'T' + written.substr(kTime, kTimeLength) + text(group, zoneKey));
}

std::optional<Date> PictureFacts::positionDate() const {
    const std::u16string day = dayOf(text(u"{GPS}", u"DateStamp"));
    const std::u16string time = text(u"{GPS}", u"TimeStamp");
    if (day.empty() || time.empty()) return std::nullopt;
    return corvy::date(day + u'T' + time.substr(0, time.find(u'.')) + u'Z');
}

std::u16string PictureFacts::firstText(std::string_view xmp,
                                       std::initializer_list<Place> places) const {
    std::u16string found = packet_.text(xmp);
    for (const Place& place : places) {
        if (found.empty()) found = text(place.group, place.key);
    }
    return found;
}

std::vector<std::u16string> PictureFacts::firstList(std::string_view xmp,
                                                    std::initializer_list<Place> places) const {
    TextList list;
    for (const std::u16string& value : packet_.values(xmp)) list.add(value);
    for (const Place& place : places) {
        const PropertyList* value = list.texts().empty() ? find(place.group, place.key) : nullptr;
        if (value && value->string()) list.addSplit(*value->string(), u";");
        if (!value || !value->array()) continue;
        for (const PropertyList& element : *value->array()) {
            if (element.string()) list.add(*element.string());
        }
    }
    return list.texts();
}

}  // namespace corvy
