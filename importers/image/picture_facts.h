// What a picture's Exif, IPTC and XMP blocks say, one instead of the other.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "platform/image_metadata.h"
#include "platform/xmp_packet.h"

namespace corvy {

class PictureFacts {
public:
    explicit PictureFacts(const platform::ImageMetadata& metadata);

    // A property of a group such as u"{Exif}" or, for u"", of the picture itself; null without one.
    const PropertyList* find(std::u16string_view group, std::u16string_view key) const;
    std::optional<double> number(std::u16string_view group, std::u16string_view key) const;
    std::u16string text(std::u16string_view group, std::u16string_view key) const;
    // "2024:03:05 18:30:00"; in the machine's zone where the key of a zone is empty or not there.
    std::optional<Date> date(std::u16string_view group, std::u16string_view key,
                             std::u16string_view zoneKey = {}) const;
    // When a satellite said where it was.
    std::optional<Date> positionDate() const;

    struct Place {
        std::u16string_view group;
        std::u16string_view key;
    };
    // Of the packet, else of the first place that has one.
    std::u16string firstText(std::string_view xmp, std::initializer_list<Place> places) const;
    std::vector<std::u16string> firstList(std::string_view xmp,
                                          std::initializer_list<Place> places) const;
    const platform::XmpPacket& packet() const { return packet_; }

private:
    const Dictionary& properties_;
    platform::XmpPacket packet_;
};

}  // namespace corvy
