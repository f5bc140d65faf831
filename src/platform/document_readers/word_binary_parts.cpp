#include "platform/document_readers/word_binary_parts.h"

#include <algorithm>
#include <utility>

#include "foundation/converters.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kPage = 512;  // of properties
constexpr std::size_t kFirstPart = 0x9A;
constexpr std::size_t kCharacterPages = 12, kParagraphPages = 13, kPieces = 33;

}  // namespace

std::optional<WordBinaryParts> WordBinaryParts::open(const CompoundFile& file) {
    WordBinaryParts parts;
    parts.main_ = file.stream(u"WordDocument");
    const LittleEndian head = parts.main();
    constexpr std::uint16_t kMagic = 0xA5EC, kFirstVersion = 0xC1, kEncrypted = 0x0100,
                            kSecondTable = 0x0200;
    const std::uint16_t flags = head.u16(0x0A);
    if (head.u16(0) != kMagic || head.u16(2) < kFirstVersion || (flags & kEncrypted) != 0) {
        return std::nullopt;
    }
    parts.table_ = file.stream((flags & kSecondTable) != 0 ? u"1Table" : u"0Table");
    parts.data_ = file.stream(u"Data");
    if (!parts.readPieces()) return std::nullopt;
    parts.readText();
    parts.characterRuns_ = parts.readRuns(kCharacterPages, false);
    parts.paragraphRuns_ = parts.readRuns(kParagraphPages, true);
    return parts;
}

LittleEndian WordBinaryParts::table(std::size_t number) const {
    const std::size_t at = kFirstPart + 8 * number;
    return LittleEndian(table_.span()).part(main().u32(at), main().u32(at + 4));
}

LittleEndian WordBinaryParts::tableFrom(std::size_t number) const {
    return LittleEndian(table_.span()).from(main().u32(kFirstPart + 8 * number));
}

std::vector<std::uint32_t> WordBinaryParts::positions(std::size_t number,
                                                      std::size_t entrySize) const {
    const LittleEndian part = table(number);
    if (part.size() < 4) return {};
    std::vector<std::uint32_t> positions((part.size() - 4) / (4 + entrySize) + 1);
    for (std::size_t i = 0; i < positions.size(); ++i) positions[i] = part.u32(4 * i);
    return positions;
}

bool WordBinaryParts::readPieces() {
    LittleEndian part = table(kPieces);
    // Property changes that pieces refer to come first.
    constexpr std::uint8_t kChanges = 1, kTable = 2;
    while (part.u8(0) == kChanges) part = part.from(3 + std::size_t{part.u16(1)});
    if (part.u8(0) != kTable) return false;
    part = part.part(5, part.u32(1));
    constexpr std::size_t kEntry = 8;
    if (part.size() < 4 + 4 + kEntry) return false;
    const std::size_t count = (part.size() - 4) / (4 + kEntry);
    // Each unit has a byte of its own, so that pieces cannot say more than the file holds.
    std::uint64_t left = main_.size();
    for (std::size_t i = 0; i < count; ++i) {
        WordPiece piece;
        piece.start = part.u32(4 * i);
        piece.end = part.u32(4 * (i + 1));
        const std::uint32_t place = part.u32(4 * (count + 1) + kEntry * i + 2);
        constexpr std::uint32_t kNarrow = 0x40000000, kBits = 0x3FFFFFFF;
        piece.unitBytes = (place & kNarrow) != 0 ? 1 : 2;
        piece.offset = (place & kBits) / (3 - piece.unitBytes);
        const std::uint32_t expected = pieces_.empty() ? 0 : pieces_.back().end;
        if (piece.start != expected || piece.end < piece.start || piece.end - piece.start > left) {
            break;
        }
        left -= piece.end - piece.start;
        pieces_.push_back(piece);
    }
    return !pieces_.empty();
}

void WordBinaryParts::readText() {
    for (WordPiece& piece : pieces_) {
        const std::size_t units = piece.end - piece.start;
        const LittleEndian bytes = main().part(piece.offset, units * piece.unitBytes);
        if (piece.unitBytes == 2) {
            for (std::size_t i = 0; i < units; ++i) {
                text_ += static_cast<char16_t>(bytes.u16(2 * i));
            }
            continue;
        }
        const auto decoded = tryToCreateStringWithEncoding(bytes.span(), Encoding::kWindows1252);
        if (decoded) text_ += decoded->text;
        text_.resize(piece.end);  // where the file breaks off
    }
    constexpr std::size_t kFirstCount = 0x4C;
    for (std::size_t i = 0; i + 1 < storyStarts_.size(); ++i) {
        const std::uint64_t end = std::uint64_t{storyStarts_[i]} + main().u32(kFirstCount + 4 * i);
        storyStarts_[i + 1] =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(end, text_.size()));
    }
}

std::uint32_t WordBinaryParts::storyStart(WordStory story) const {
    return storyStarts_[static_cast<std::size_t>(story)];
}

std::uint32_t WordBinaryParts::storyEnd(WordStory story) const {
    return storyStarts_[static_cast<std::size_t>(story) + 1];
}

std::vector<WordFormatRun> WordBinaryParts::readRuns(std::size_t number, bool areParagraphs) const {
    const LittleEndian part = table(number);
    const std::size_t count = part.size() < 4 ? 0 : (part.size() - 4) / 8;
    std::vector<WordFormatRun> runs;
    // A page belongs to the document once.
    std::vector<bool> seen(main_.size() / kPage + 1);
    for (std::size_t i = 0; i < count; ++i) {
        constexpr std::uint32_t kBits = 0x3FFFFF;
        const std::uint32_t index = part.u32(4 * (count + 1) + 4 * i) & kBits;
        if (index >= seen.size() || seen[index]) continue;
        seen[index] = true;
        const LittleEndian page = main().part(std::size_t{index} * kPage, kPage);
        const std::size_t entries = page.u8(kPage - 1);
        const std::size_t entrySize = areParagraphs ? 13 : 1;
        for (std::size_t k = 0; k < entries; ++k) {
            WordFormatRun run{page.u32(4 * k), page.u32(4 * (k + 1)), {}, 0};
            if (run.end <= run.start) continue;
            const std::size_t at = 2 * std::size_t{page.u8(4 * (entries + 1) + entrySize * k)};
            if (at != 0 && !areParagraphs) run.changes = page.part(at + 1, page.u8(at));
            if (at != 0 && areParagraphs) {
                const std::size_t words = page.u8(at);
                const LittleEndian properties =
                    words == 0 ? page.part(at + 2, 2 * std::size_t{page.u8(at + 1)})
                               : page.part(at + 1, 2 * words - 1);
                run.style = properties.u16(0);
                run.changes = properties.from(2);
            }
            runs.push_back(run);
        }
    }
    std::ranges::sort(runs, {}, &WordFormatRun::start);
    return runs;
}

const WordFormatRun* runAt(std::span<const WordFormatRun> runs, std::uint32_t offset) {
    const auto next = std::ranges::upper_bound(runs, offset, {}, &WordFormatRun::start);
    if (next == runs.begin()) return nullptr;
    const WordFormatRun& run = *(next - 1);
    return offset < run.end ? &run : nullptr;
}

}  // namespace corvy::platform
