#include "platform/rich_text/rtf_reader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/rich_text/rtf_encoding.h"
#include "platform/rich_text/rtf_font_table.h"
#include "platform/rich_text/rtf_group.h"
#include "platform/rich_text/rtf_info.h"
#include "platform/rich_text/rtf_links.h"
#include "platform/rich_text/rtf_list_table.h"
#include "platform/rich_text/rtf_picture.h"
#include "platform/rich_text/rtf_scanner.h"
#include "platform/rich_text/rtf_state.h"
#include "platform/rich_text/rtf_story.h"
#include "platform/rich_text/rtf_words.h"

namespace corvy::platform {

namespace {

// Groups deeper than this set what they set for the group around them.
constexpr std::size_t kDeepest = 1000;
constexpr std::uint32_t kMostTabs = 64;  // of a paragraph
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view withoutMark(std::span<const std::byte> bytes) {
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    return text.substr(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
}

class Reader {
public:
    Reader(std::string_view bytes, const FileNode* package) : scanner_(bytes), package_(package) {
        group_.story = &body_;
    }

    RichDocument read() {
        for (RtfToken token = scanner_.next(); token.kind != RtfToken::Kind::end;
             token = scanner_.next()) {
            if (!take(token)) break;
        }
        endBytes();
        // The last paragraph may have no end, and is then as it was said inside all groups.
        const RtfParagraph last = group_.paragraph;
        const std::vector<TabStop> tabs = resources_.tabs;
        while (!groups_.empty()) close();
        resources_.tabs = tabs;
        RichDocument document;
        document.text = body_.take(last);
        if (AttributedText notes = footnotes_.take({}); !notes.empty()) {
            if (!document.text.string().ends_with(u'\n')) document.text.append(u"\n", {});
            document.text.append(notes);
        }
        document.attributes = info_.attributes();
        return document;
    }

private:
    // False when the document has ended, whatever comes behind it.
    bool take(const RtfToken& token) {
        switch (token.kind) {
            case RtfToken::Kind::open: open(); break;
            case RtfToken::Kind::close:
                if (groups_.size() <= 1 && tooDeep_ == 0) return false;
                close();
                break;
            case RtfToken::Kind::text: text(token.text); break;
            case RtfToken::Kind::byte:
                if (!skipsFallback()) byte(static_cast<std::uint8_t>(token.value));
                break;
            case RtfToken::Kind::symbol:
                if (!skipsFallback()) symbol(static_cast<char>(token.value));
                break;
            case RtfToken::Kind::word: word(token); break;
            case RtfToken::Kind::binary:
                if (!skipsFallback() && group_.destination == RtfDestination::picture) {
                    picture_.addBytes(token.text);
                }
                break;
            case RtfToken::Kind::end: break;
        }
        return true;
    }

    void open() {
        endBytes();
        starred_ = false;
        fallbackLeft_ = 0;
        if (groups_.size() >= kDeepest) {
            ++tooDeep_;
            return;
        }
        groups_.push_back(group_);
        group_.begins = false;
    }

    void close() {
        endBytes();
        starred_ = false;
        fallbackLeft_ = 0;
        if (tooDeep_ > 0) {
            --tooDeep_;
            return;
        }
        const RtfGroup ended = std::exchange(group_, groups_.back());
        groups_.pop_back();
        const std::size_t tabs = group_.paragraph.firstTab + group_.paragraph.tabs;
        resources_.tabs.resize(std::min(resources_.tabs.size(), tabs));
        if (ended.begins) endDestination(ended);
    }

    void beginDestination(RtfWord word, RtfDestination destination) {
        group_.destination = destination;
        group_.word = word;
        group_.begins = true;
        if (isGathered(destination)) gathered_.clear();
    }

    void drop(RtfWord word) {
        if (group_.destination != RtfDestination::dropped) group_.outer = group_.destination;
        beginDestination(word, RtfDestination::dropped);
    }

    void skipGroup() {
        scanner_.skipGroup();
        group_.begins = false;
    }

    void endDestination(const RtfGroup& ended) {
        switch (ended.destination) {
            case RtfDestination::fonts: fonts_.endEntry(gathered_); break;
            case RtfDestination::infoText: info_.setText(ended.word, std::move(gathered_)); break;
            case RtfDestination::infoTime: info_.setTime(ended.word); break;
            case RtfDestination::instruction:
                if (auto link = linkOfInstruction(gathered_)) {
                    group_.link = static_cast<std::int32_t>(resources_.links.size());
                    resources_.links.push_back(*std::move(link));
                }
                break;
            case RtfDestination::levelText: lists_.setText(std::move(gathered_)); break;
            case RtfDestination::levelMarker: lists_.setMarker(trimWhite(gathered_)); break;
            case RtfDestination::listText: endListText(); break;
            case RtfDestination::picture: endPicture(ended); break;
            case RtfDestination::attachment: endAttachment(ended); break;
            case RtfDestination::listTable:
                if (ended.word == RtfWord::list) lists_.endList();
                break;
            case RtfDestination::overrides:
                if (ended.word == RtfWord::listoverride) lists_.endOverride();
                break;
            default: break;
        }
        gathered_.clear();
    }

    bool skipsFallback() {
        if (fallbackLeft_ == 0) return false;
        --fallbackLeft_;
        return true;
    }

    void text(std::string_view ascii) {
        if (fallbackLeft_ > 0) {
            const std::size_t skipped =
                std::min(ascii.size(), static_cast<std::size_t>(fallbackLeft_));
            ascii.remove_prefix(skipped);
            fallbackLeft_ -= static_cast<std::int32_t>(skipped);
        }
        while (decoder_.isInside() && !ascii.empty()) {
            byte(static_cast<std::uint8_t>(ascii[0]));
            ascii.remove_prefix(1);
        }
        if (ascii.empty()) return;
        const RtfDestination destination = group_.destination;
        if (destination == RtfDestination::picture) return picture_.addDigits(ascii);
        if (destination == RtfDestination::body && symbolFont() == SymbolFont::none) {
            if (!isHidden()) plainText(ascii);
            return;
        }
        for (const char c : ascii) character(static_cast<std::uint8_t>(c));
    }

    // Control characters have no meaning but the tab.
    void plainText(std::string_view ascii) {
        const auto isControl = [](char c) { return (c < ' ' && c != '\t') || c == '\x7F'; };
        while (!ascii.empty()) {
            const auto* const end = std::ranges::find_if(ascii, isControl);
            const auto length = static_cast<std::size_t>(end - ascii.begin());
            if (length > 0) group_.story->append(ascii.substr(0, length), group_.characters);
            ascii.remove_prefix(std::min(length + 1, ascii.size()));
        }
    }

    void character(std::uint8_t ascii) {
        const SymbolFont symbols = symbolFont();
        unit(symbols == SymbolFont::none ? ascii : characterOfSymbolFont(symbols, ascii));
    }

    void byte(std::uint8_t value) {
        if (const SymbolFont symbols = symbolFont(); symbols != SymbolFont::none) {
            return unit(characterOfSymbolFont(symbols, value));
        }
        std::u16string decoded;
        decoder_.add(value, encoding(), decoded);
        for (const char16_t each : decoded) unit(each);
    }

    void endBytes() {
        if (!decoder_.isInside()) return;
        std::u16string decoded;
        decoder_.flush(decoded);
        for (const char16_t each : decoded) unit(each);
    }

    bool isHidden() const { return group_.characters.hidden || group_.characters.deleted; }

    // One code unit of text, wherever it belongs.
    void unit(char16_t value) {
        switch (group_.destination) {
            case RtfDestination::listText:
                // The marker stands between tabs, of which other writers leave out the first.
                if (!hasListText_ && value != u'\t') bodyUnit(u'\t');
                hasListText_ = true;
                bodyUnit(value);
                break;
            case RtfDestination::body: bodyUnit(value); break;
            case RtfDestination::fonts:
                if (value == u';') {
                    endFont();
                } else {
                    gathered_ += value;
                }
                break;
            case RtfDestination::colors:
                if (value == u';') {
                    resources_.colors.push_back(std::exchange(color_, std::nullopt));
                }
                break;
            default:
                if (isGathered(group_.destination)) gathered_ += value;
        }
    }

    void bodyUnit(char16_t value) {
        const bool isControl = value < u' ' && value != u'\t' && value != kPageBreak;
        if (isHidden() || isControl || value == 0x7F) return;
        group_.story->append(std::u16string_view(&value, 1), group_.characters);
    }

    void symbol(char value) {
        switch (value) {
            case '*': starred_ = true; return;
            case '~': return unit(0xA0);
            case '_': return unit(0x2011);
            case '-': return unit(0xAD);
            case '\t': return unit(u'\t');
            case '\n':
            case '\r': return endParagraph();
            case '\\':
            case '{':
            case '}': return text({&value, 1});
            default: return;
        }
    }

    void word(const RtfToken& token) {
        const RtfWordEntry entry = rtfWordNamed(token.text);
        if (fallbackLeft_ > 0 && entry.kind != RtfWordKind::unicode) {
            --fallbackLeft_;
            return;
        }
        const bool starred = std::exchange(starred_, false);
        if (starred && entry.word == RtfWord::unknown) return skipGroup();
        if (group_.inAlternatives && entry.word != RtfWord::ud) return;
        const std::int32_t value = token.hasValue ? token.value : 1;
        switch (entry.kind) {
            case RtfWordKind::unknown: break;
            case RtfWordKind::destination: destination(entry.word); break;
            case RtfWordKind::ignored: skipGroup(); break;
            case RtfWordKind::character:
                endBytes();
                if (group_.destination == RtfDestination::fonts && entry.word == RtfWord::f) {
                    endFont();
                    fonts_.beginEntry(value);
                } else {
                    applyCharacterWord(group_.characters, entry.word, token.hasValue, value);
                }
                break;
            case RtfWordKind::paragraph: paragraphWord(entry.word, token); break;
            case RtfWordKind::tab: tabWord(entry.word, value); break;
            case RtfWordKind::row:
            case RtfWordKind::border:
            case RtfWordKind::otherBorder:
                if (group_.destination != RtfDestination::body) break;
                group_.story->tables().apply(std::max(group_.paragraph.depth(), 1), entry,
                                             token.hasValue, value);
                break;
            case RtfWordKind::text: textWord(entry.word); break;
            case RtfWordKind::unicode: unicodeWord(entry.word, token); break;
            case RtfWordKind::header: fonts_.applyHeaderWord(entry.word, value); break;
            case RtfWordKind::font:
                if (group_.destination == RtfDestination::fonts) {
                    fonts_.applyFontWord(entry.word, value);
                }
                break;
            case RtfWordKind::color: colorWord(entry.word, value); break;
            case RtfWordKind::listing: lists_.apply(entry.word, value); break;
            case RtfWordKind::picture: picture_.apply(entry.word, value); break;
            case RtfWordKind::attachment: attachmentWord(entry.word, value); break;
            case RtfWordKind::document: info_.applyDocumentWord(entry.word, value); break;
            case RtfWordKind::time: info_.applyTimeWord(entry.word, value); break;
        }
    }

    void destination(RtfWord word) {
        switch (word) {
            case RtfWord::fonttbl:
                beginDestination(word, RtfDestination::fonts);
                fonts_.beginEntry(0);
                break;
            case RtfWord::colortbl:
                resources_.colors.clear();
                color_.reset();
                beginDestination(word, RtfDestination::colors);
                break;
            case RtfWord::listtable: beginDestination(word, RtfDestination::listTable); break;
            case RtfWord::list:
                lists_.beginList();
                beginDestination(word, RtfDestination::listTable);
                break;
            case RtfWord::listlevel:
                lists_.beginLevel();
                beginDestination(word, RtfDestination::listTable);
                break;
            case RtfWord::leveltext: beginDestination(word, RtfDestination::levelText); break;
            case RtfWord::levelmarker: beginDestination(word, RtfDestination::levelMarker); break;
            case RtfWord::listoverridetable:
            case RtfWord::listoverride: beginDestination(word, RtfDestination::overrides); break;
            case RtfWord::listtext:
            case RtfWord::pntext:
                if (group_.destination == RtfDestination::body) {
                    beginDestination(word, RtfDestination::listText);
                }
                hasListText_ = false;
                break;
            case RtfWord::info: beginDestination(word, RtfDestination::info); break;
            case RtfWord::creatim:
            case RtfWord::revtim: beginDestination(word, RtfDestination::infoTime); break;
            case RtfWord::field: group_.link = -1; break;
            case RtfWord::fldinst: beginDestination(word, RtfDestination::instruction); break;
            case RtfWord::fldrslt:
                if (group_.link >= 0) group_.characters.link = group_.link;
                break;
            case RtfWord::pict:
                picture_ = {};
                beginDestination(word, RtfDestination::picture);
                break;
            case RtfWord::shp:
            case RtfWord::shpinst:
            case RtfWord::sp:
            case RtfWord::object: drop(word); break;
            case RtfWord::shptxt:
            case RtfWord::result:
                if (group_.destination == RtfDestination::dropped &&
                    group_.outer == RtfDestination::body) {
                    beginDestination(word, RtfDestination::body);
                }
                break;
            case RtfWord::footnote:
                if (group_.story == &body_) {
                    group_.story = &footnotes_;
                    beginDestination(word, RtfDestination::body);
                }
                break;
            case RtfWord::upr:
                group_.inAlternatives = true;
                drop(word);
                break;
            case RtfWord::ud:
                group_.inAlternatives = false;
                group_.destination = group_.outer;
                break;
            case RtfWord::NeXTGraphic:
                picture_ = {};
                beginDestination(word, RtfDestination::attachment);
                break;
            default:
                if (infoKeyOf(word) != nullptr) {
                    if (group_.destination == RtfDestination::info) {
                        beginDestination(word, RtfDestination::infoText);
                    } else {
                        skipGroup();
                    }
                }
        }
    }

    void paragraphWord(RtfWord word, const RtfToken& token) {
        if (group_.destination == RtfDestination::overrides) {
            if (word == RtfWord::ls) lists_.apply(word, token.value);
            return;
        }
        // The marker of an item has the properties of its paragraph, said once more.
        if (group_.destination == RtfDestination::listText) return;
        applyParagraphWord(group_.paragraph, word, token.hasValue, token.value);
        if (word == RtfWord::pard) {
            group_.paragraph.firstTab = static_cast<std::uint32_t>(resources_.tabs.size());
        }
    }

    void tabWord(RtfWord word, std::int32_t value) {
        RtfParagraph& paragraph = group_.paragraph;
        switch (word) {
            case RtfWord::tqr: paragraph.nextTab = TabKind::right; return;
            case RtfWord::tqc: paragraph.nextTab = TabKind::center; return;
            case RtfWord::tqdec: paragraph.nextTab = TabKind::decimal; return;
            default: break;
        }
        const TabKind kind = std::exchange(paragraph.nextTab, TabKind::left);
        if (paragraph.tabs >= kMostTabs || group_.destination != RtfDestination::body) return;
        std::vector<TabStop>& tabs = resources_.tabs;
        if (paragraph.firstTab + paragraph.tabs != tabs.size()) {
            // Those of the group around this one follow: the paragraph's move behind them.
            const std::vector<TabStop> own(tabs.begin() + paragraph.firstTab,
                                           tabs.begin() + paragraph.firstTab + paragraph.tabs);
            paragraph.firstTab = static_cast<std::uint32_t>(tabs.size());
            tabs.insert(tabs.end(), own.begin(), own.end());
        }
        tabs.push_back({value / kTwipsPerPoint, kind});
        ++paragraph.tabs;
    }

    void textWord(RtfWord word) {
        if (const char16_t character = characterOfWord(word)) {
            endBytes();
            return unit(character);
        }
        if (group_.destination != RtfDestination::body) return;
        endBytes();
        switch (word) {
            case RtfWord::par:
            case RtfWord::sect: return endParagraph();
            case RtfWord::cell: return endCell(1);
            case RtfWord::nestcell: return endCell(std::max(group_.paragraph.depth(), 2));
            case RtfWord::row: return group_.story->endRow(1);
            case RtfWord::nestrow:
                return group_.story->endRow(std::max(group_.paragraph.depth(), 2));
            default: return footnoteMark();  // \chftn
        }
    }

    void footnoteMark() {
        if (group_.story == &body_) ++footnoteNumber_;
        group_.story->append(std::to_string(footnoteNumber_), group_.characters);
    }

    void endParagraph() {
        endBytes();
        if (group_.destination == RtfDestination::body && !isHidden()) {
            group_.story->endParagraph(group_.paragraph, group_.characters);
        } else if (isGathered(group_.destination)) {
            gathered_ += u'\n';
        }
    }

    void endCell(std::int32_t depth) {
        group_.story->endCell(depth, group_.paragraph, group_.characters);
    }

    void unicodeWord(RtfWord word, const RtfToken& token) {
        if (word == RtfWord::uc) {
            group_.fallback = std::clamp(token.value, 0, 100);
            return;
        }
        endBytes();
        const std::int32_t value = token.value < 0 ? token.value + 0x10000 : token.value;
        if (value >= 0x10000 && value <= 0x10FFFF) {
            unit(static_cast<char16_t>(0xD7C0 + (value >> 10)));
            unit(static_cast<char16_t>(0xDC00 | (value & 0x3FF)));
        } else if (value >= 0xF020 && value < 0xF100 && symbolFont() != SymbolFont::none) {
            unit(characterOfSymbolFont(symbolFont(), static_cast<std::uint8_t>(value - 0xF000)));
        } else if (value >= 0 && value < 0x10000) {
            unit(static_cast<char16_t>(value));
        }
        fallbackLeft_ = group_.fallback;
    }

    void endFont() {
        fonts_.endEntry(gathered_);
        gathered_.clear();
    }

    bool isText() const {
        return group_.destination == RtfDestination::body ||
               group_.destination == RtfDestination::listText;
    }

    Encoding encoding() {
        if (isText()) return fonts_.encodingOf(group_.characters);
        const bool isName = group_.destination == RtfDestination::fonts;
        return isName ? fonts_.entryEncoding() : fonts_.documentEncoding();
    }

    SymbolFont symbolFont() {
        return isText() ? fonts_.symbolsOf(group_.characters) : SymbolFont::none;
    }

    void colorWord(RtfWord word, std::int32_t value) {
        if (group_.destination != RtfDestination::colors) return;
        if (!color_) color_ = RgbColor{};
        const auto component = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
        switch (word) {
            case RtfWord::red: color_->red = component; break;
            case RtfWord::green: color_->green = component; break;
            default: color_->blue = component; break;
        }
    }

    void endListText() {
        if (hasListText_ && group_.story->lastUnit() != u'\t') bodyUnit(u'\t');
    }

    bool isBody() const { return group_.destination == RtfDestination::body; }

    void endPicture(const RtfGroup& ended) {
        std::optional<FileNode> file = picture_.takeFile();
        const Size size = picture_.size();
        picture_ = {};
        const bool isDropped = group_.destination != RtfDestination::dropped && !isBody();
        if (!file || isDropped || isHidden()) return;
        group_.story->attach(*std::move(file), size, ended.characters);
    }

    void attachmentWord(RtfWord word, std::int32_t value) {
        if (group_.destination != RtfDestination::attachment) return;
        picture_.apply(word == RtfWord::width ? RtfWord::picwgoal : RtfWord::pichgoal, value);
    }

    void endAttachment(const RtfGroup& ended) {
        const Size size = picture_.size();
        picture_ = {};
        const std::u16string_view name = trimWhite(gathered_);
        const bool wasBody = isBody();
        group_.destination = RtfDestination::attachmentRest;
        if (!wasBody || package_ == nullptr || isHidden()) return;
        const auto file = std::ranges::find(package_->entries, name, &FileNode::name);
        if (file == package_->entries.end()) return;
        group_.story->attach(*file, size, ended.characters);
    }

    RtfScanner scanner_;
    const FileNode* package_;
    RtfResources resources_;
    RtfFontTable fonts_{resources_};
    RtfListTable lists_{resources_};
    RtfStory body_{resources_};
    RtfStory footnotes_{resources_};
    RtfInfo info_;
    RtfGroup group_;
    std::vector<RtfGroup> groups_;  // those around it
    std::size_t tooDeep_ = 0;       // groups that are open beyond the deepest
    bool starred_ = false;          // the next word may be skipped with its group
    std::int32_t fallbackLeft_ = 0;
    RtfByteDecoder decoder_;
    std::u16string gathered_;
    std::optional<RgbColor> color_;  // of the entry of the colour table
    bool hasListText_ = false;
    int footnoteNumber_ = 0;
    RtfPicture picture_;
};

}  // namespace

bool isRtf(std::span<const std::byte> bytes) {
    return withoutMark(bytes).starts_with("{\\rtf");
}

std::optional<RichDocument> documentOfRtf(std::span<const std::byte> bytes,
                                          const FileNode* package) {
    if (!isRtf(bytes)) return std::nullopt;
    RichDocument document = Reader(withoutMark(bytes), package).read();
    document.attributes.set(document_attribute::kType, document_type::kRtf);
    return document;
}

}  // namespace corvy::platform
