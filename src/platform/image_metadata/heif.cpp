#include <array>
#include <map>
#include <optional>
#include <vector>

#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/boxes.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

// Caps on what the boxes may list.
constexpr std::size_t kMostItems = 4096;
constexpr std::size_t kMostProperties = 4096;
constexpr std::uint64_t kVersionAndFlags = 4;

struct Extent {
    std::uint64_t place = 0;
    std::uint64_t length = 0;
};

struct Reference {
    std::string_view kind;
    std::uint32_t from;
    std::uint32_t to;
};

// What the "meta" box says about the items of the file.
struct ItemTable {
    std::uint32_t primary = 0;
    std::map<std::uint32_t, std::string_view> kinds;
    std::map<std::uint32_t, Extent> extents;  // of items in one piece
    std::vector<Reference> references;
    std::vector<Box> properties;
    std::map<std::uint32_t, std::vector<std::uint32_t>> propertiesOfItem;  // numbers from 1
};

// Reads numbers one behind the other.
class Cursor {
public:
    explicit Cursor(ByteView view) : view_(view) {}
    std::uint64_t next(std::uint32_t bytes) {
        const std::uint64_t value = view_.number(at_, bytes);
        at_ += bytes;
        return value;
    }
    std::uint32_t next32(std::uint32_t bytes) { return static_cast<std::uint32_t>(next(bytes)); }
    void skip(std::uint64_t bytes) { at_ += bytes; }
    bool isAtEnd() const { return at_ >= view_.size(); }

private:
    ByteView view_;
    std::uint64_t at_ = 0;
};

void readItemKinds(ByteView box, ItemTable& table) {
    const std::uint64_t countSize = box.u8(0) == 0 ? 2 : 4;
    forEachBox(box.part(kVersionAndFlags + countSize), [&table](const Box& entry) {
        const std::uint8_t version = entry.inside.u8(0);
        if (entry.kind != "infe" || version < 2 || table.kinds.size() >= kMostItems) return;
        const std::uint32_t idSize = version == 2 ? 2 : 4;
        const auto id = static_cast<std::uint32_t>(entry.inside.number(kVersionAndFlags, idSize));
        table.kinds[id] = entry.inside.chars(kVersionAndFlags + idSize + 2, 4);
    });
}

void readItemPlaces(ByteView box, ItemTable& table) {
    Cursor cursor(box);
    const std::uint64_t version = cursor.next(1);
    cursor.next(3);
    const std::uint64_t sizes = cursor.next(2);
    const std::uint32_t offsetSize = sizes >> 12 & 15, lengthSize = sizes >> 8 & 15;
    const std::uint32_t baseSize = sizes >> 4 & 15, indexSize = version == 0 ? 0 : sizes & 15;
    if (offsetSize > 8 || lengthSize > 8 || baseSize > 8 || indexSize > 8 || version > 2) return;
    const std::uint32_t idSize = version < 2 ? 2 : 4;
    const std::uint64_t count = cursor.next(idSize);
    for (std::uint64_t i = 0; i < count && i < kMostItems && !cursor.isAtEnd(); ++i) {
        const std::uint32_t id = cursor.next32(idSize);
        const std::uint64_t method = version == 0 ? 0 : cursor.next(2) & 15;
        cursor.next(2);  // in this file
        const std::uint64_t base = cursor.next(baseSize);
        const std::uint64_t pieces = cursor.next(2);
        if (pieces != 1) {
            cursor.skip(pieces * (indexSize + offsetSize + lengthSize));
            continue;
        }
        cursor.next(indexSize);
        const std::uint64_t offset = cursor.next(offsetSize), length = cursor.next(lengthSize);
        if (method == 0) table.extents[id] = {base + offset, length};
    }
}

void readReferences(ByteView box, ItemTable& table) {
    const std::uint32_t idSize = box.u8(0) == 0 ? 2 : 4;
    forEachBox(box.part(kVersionAndFlags), [&table, idSize](const Box& entry) {
        Cursor cursor(entry.inside);
        const std::uint32_t from = cursor.next32(idSize);
        const std::uint64_t count = cursor.next(2);
        for (std::uint64_t i = 0; i < count && table.references.size() < kMostItems; ++i)
            table.references.push_back({entry.kind, from, cursor.next32(idSize)});
    });
}

void readAssociations(ByteView box, ItemTable& table) {
    Cursor cursor(box);
    const std::uint64_t version = cursor.next(1), flags = cursor.next(3);
    const std::uint32_t numberSize = (flags & 1) != 0 ? 2 : 1;
    const std::uint32_t isEssential = numberSize == 2 ? 0x8000 : 0x80;
    const std::uint64_t items = cursor.next(4);
    std::size_t total = 0;
    for (std::uint64_t i = 0; i < items && i < kMostItems && !cursor.isAtEnd(); ++i) {
        auto& numbers = table.propertiesOfItem[cursor.next32(version == 0 ? 2 : 4)];
        const std::uint64_t count = cursor.next(1);
        for (std::uint64_t n = 0; n < count && ++total <= kMostProperties; ++n)
            numbers.push_back(cursor.next32(numberSize) & ~isEssential);
    }
}

void readItemProperties(ByteView box, ItemTable& table) {
    forEachBox(box, [&table](const Box& entry) {
        if (entry.kind == "ipco") {
            forEachBox(entry.inside, [&table](const Box& property) {
                if (table.properties.size() < kMostProperties) table.properties.push_back(property);
            });
        } else if (entry.kind == "ipma") {
            readAssociations(entry.inside, table);
        }
    });
}

ItemTable tableOf(ByteView file) {
    ItemTable table;
    forEachBox(file, [&table](const Box& top) {
        if (top.kind != "meta") return;
        forEachBox(top.inside.part(kVersionAndFlags), [&table](const Box& box) {
            const std::uint32_t idSize = box.inside.u8(0) == 0 ? 2 : 4;
            if (box.kind == "pitm")
                table.primary =
                    static_cast<std::uint32_t>(box.inside.number(kVersionAndFlags, idSize));
            if (box.kind == "iinf") readItemKinds(box.inside, table);
            if (box.kind == "iloc") readItemPlaces(box.inside, table);
            if (box.kind == "iref") readReferences(box.inside, table);
            if (box.kind == "iprp") readItemProperties(box.inside, table);
        });
    });
    return table;
}

template <typename Use>
void forEachProperty(const ItemTable& table, std::uint32_t item, Use use) {
    const auto numbers = table.propertiesOfItem.find(item);
    if (numbers == table.propertiesOfItem.end()) return;
    for (const std::uint32_t number : numbers->second) {
        if (number >= 1 && number <= table.properties.size()) use(table.properties[number - 1]);
    }
}

std::optional<PixelSize> sizeOfItem(const ItemTable& table, std::uint32_t item) {
    std::optional<PixelSize> size;
    forEachProperty(table, item, [&size](const Box& property) {
        if (property.kind == "ispe")
            size = PixelSize{property.inside.u32(4), property.inside.u32(8)};
    });
    return size;
}

// Exif's number for quarter turns against the clock, then a mirror.
int orientationOf(std::uint8_t turns, std::optional<std::uint8_t> mirror) {
    static constexpr std::array<int, 4> kTurned = {1, 8, 3, 6};
    static constexpr std::array<int, 4> kThenUpsideDown = {4, 5, 2, 7};
    static constexpr std::array<int, 4> kThenLeftToRight = {2, 7, 4, 5};
    if (!mirror) return kTurned[turns];
    return *mirror == 0 ? kThenUpsideDown[turns] : kThenLeftToRight[turns];
}

void readColor(ByteView box, MetadataBuilder& builder) {
    if (box.hasText(0, "prof") || box.hasText(0, "rICC")) readProfile(box.part(4), builder);
}

void readPrimary(const ItemTable& table, MetadataBuilder& builder) {
    std::uint8_t turns = 0;
    std::optional<std::uint8_t> mirror;
    forEachProperty(table, table.primary, [&](const Box& property) {
        const ByteView inside = property.inside;
        if (property.kind == "ispe") builder.setSize(inside.u32(4), inside.u32(8));
        if (property.kind == "irot") turns = inside.u8(0) & 3;
        if (property.kind == "imir") mirror = inside.u8(0) & 1;
        if (property.kind == "colr") readColor(inside, builder);
        if (property.kind == "pixi") {
            builder.depth = inside.u8(5);
            builder.colorModel = inside.u8(4) == 1 ? ColorModel::gray : ColorModel::rgb;
        }
    });
    builder.setOrientation(orientationOf(turns, mirror));
}

bool isAlphaOf(const ItemTable& table, const Reference& reference) {
    bool isAlpha = false;
    forEachProperty(table, reference.from, [&isAlpha](const Box& property) {
        if (property.kind != "auxC") return;
        const std::string_view kind = property.inside.chars(kVersionAndFlags);
        isAlpha = kind.starts_with("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha") ||
                  kind.starts_with("urn:mpeg:hevc:2015:auxid:1\0"sv);
    });
    return reference.kind == "auxl" && isAlpha;
}

// The first item of a kind that describes the picture, in one piece.
std::optional<Extent> describingItem(ByteView file, const ItemTable& table,
                                     std::string_view wanted) {
    for (const Reference& reference : table.references) {
        const auto kind = table.kinds.find(reference.from);
        const auto extent = table.extents.find(reference.from);
        if (reference.kind != "cdsc" || reference.to != table.primary ||
            kind == table.kinds.end() || kind->second != wanted || extent == table.extents.end())
            continue;
        if (file.has(extent->second.place, extent->second.length)) return extent->second;
    }
    return std::nullopt;
}

void readExifItem(ByteView file, const ItemTable& table, MetadataBuilder& builder) {
    const auto item = describingItem(file, table, "Exif");
    if (!item) return;
    // Four bytes say how much stands before the block.
    const std::uint64_t skipped = 4 + std::uint64_t{file.u32(item->place)};
    if (skipped < item->length)
        readExif(file.part(item->place + skipped, item->length - skipped), item->place + skipped,
                 builder);
}

void readXmpItem(ByteView file, const ItemTable& table, MetadataBuilder& builder) {
    const auto item = describingItem(file, table, "mime");
    if (item) builder.setXmpPacket(file.chars(item->place, item->length));
}

}  // namespace

void readHeif(ByteView file, MetadataBuilder& builder) {
    const ItemTable table = tableOf(file);
    builder.colorModel = ColorModel::rgb;
    builder.depth = 8;
    readExifItem(file, table, builder);
    readXmpItem(file, table, builder);
    // Exif's orientation is a mere copy here: what counts are the properties.
    builder.orientation.reset();
    readPrimary(table, builder);
    builder.hasAlpha = false;
    for (const Reference& reference : table.references) {
        if (reference.to != table.primary) continue;
        if (isAlphaOf(table, reference)) builder.hasAlpha = true;
        if (reference.kind == "thmb")
            builder.addEmbedded(
                {EmbeddedImage::Kind::heifItem, 0, 0, sizeOfItem(table, reference.from)});
    }
}

}  // namespace corvy::platform
