#include "platform/rich_text/rtf_reader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/rich_text/rtf_encoding.h"
#include "platform/rich_text/rtf_info.h"
#include "platform/rich_text/rtf_links.h"
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

// What the text of a group is.
enum class Destination : std::uint8_t {
    body,
    dropped,  // nothing, but groups inside it may be something
    fonts,
    colors,
    listText,  // part of the body that stands between tabs
    info,
    infoText,
    infoTime,
    instruction,  // of a field
    listTable,
    overrides,
    levelText,
    levelMarker,
    picture,
    attachment,      // its name
    attachmentRest,  // what stands for it in the text
};

// Whether the text is gathered, to be looked at when the group ends.
bool isGathered(Destination destination) {
    switch (destination) {
        case Destination::fonts:
        case Destination::infoText:
        case Destination::instruction:
        case Destination::levelText:
        case Destination::levelMarker:
        case Destination::attachment: return true;
        default: return false;
    }
}

struct Group {
    RtfCharacters characters;
    RtfParagraph paragraph;
    Destination destination = Destination::body;
    bool begins = false;              // the destination begins with this group
    bool inAlternatives = false;      // of which one, in a group of its own, is meant for us
    RtfWord word = RtfWord::unknown;  // that began it
    std::int32_t fallback = 1;        // items that stand behind a \u for other readers
    std::int32_t link = -1;           // of the field
    RtfStory* story = nullptr;
};

std::string_view withoutMark(std::span<const std::byte> bytes) {
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    return text.substr(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
}

char16_t characterOfWord(RtfWord word) {
    switch (word) {
        case RtfWord::line:
        case RtfWord::softline: return kLineBreak;
        case RtfWord::page:
        case RtfWord::column: return kPageBreak;
        case RtfWord::tab: return u'\t';
        case RtfWord::emdash: return u'\x2014';
        case RtfWord::endash: return u'\x2013';
        case RtfWord::emspace: return u'\x2003';
        case RtfWord::enspace: return u'\x2002';
        case RtfWord::qmspace: return u'\x2005';
        case RtfWord::bullet: return u'\x2022';
        case RtfWord::lquote: return u'\x2018';
        case RtfWord::rquote: return u'\x2019';
        case RtfWord::ldblquote: return u'\x201C';
        case RtfWord::rdblquote: return u'\x201D';
        case RtfWord::zwbo: return u'\x200B';
        case RtfWord::zwnbo: return u'\x2060';
        case RtfWord::zwj: return u'\x200D';
        case RtfWord::zwnj: return u'\x200C';
        case RtfWord::ltrmark: return u'\x200E';
        case RtfWord::rtlmark: return u'\x200F';
        default: return 0;
    }
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
                if (!skipsFallback() && group_.destination == Destination::picture) {
                    picture_.addBytes(token.text);
                }
                break;
            case RtfToken::Kind::end: break;
        }
        return true;
    }

    // Groups.

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
        const Group ended = std::exchange(group_, groups_.back());
        groups_.pop_back();
        const std::size_t tabs = group_.paragraph.firstTab + group_.paragraph.tabs;
        resources_.tabs.resize(std::min(resources_.tabs.size(), tabs));
        if (ended.begins) endDestination(ended);
    }

    void beginDestination(RtfWord word, Destination destination) {
        group_.destination = destination;
        group_.word = word;
        group_.begins = true;
        if (isGathered(destination)) gathered_.clear();
    }

    void skipGroup() {
        scanner_.skipGroup();
        group_.begins = false;
    }

    void endDestination(const Group& ended) {
        switch (ended.destination) {
            case Destination::fonts: endFont(); break;
            case Destination::infoText: info_.setText(ended.word, std::move(gathered_)); break;
            case Destination::infoTime: info_.setTime(ended.word); break;
            case Destination::instruction:
                if (auto link = linkOfInstruction(gathered_)) {
                    group_.link = static_cast<std::int32_t>(resources_.links.size());
                    resources_.links.push_back(*std::move(link));
                }
                break;
            case Destination::levelText: level().text = std::move(gathered_); break;
            case Destination::levelMarker: level().marker = trimWhite(gathered_); break;
            case Destination::listText: endListText(); break;
            case Destination::picture: endPicture(ended); break;
            case Destination::attachment: endAttachment(ended); break;
            case Destination::listTable:
                if (ended.word == RtfWord::list)
                    resources_.lists[listIdentifier_] = std::move(list_);
                break;
            case Destination::overrides:
                if (ended.word == RtfWord::listoverride) {
                    resources_.listOverrides[overrideNumber_] = listIdentifier_;
                }
                break;
            default: break;
        }
        gathered_.clear();
    }

    // Text.

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
        const Destination destination = group_.destination;
        if (destination == Destination::picture) return picture_.addDigits(ascii);
        if (destination == Destination::body && symbolFont() == SymbolFont::none) {
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
            case Destination::listText:
                // The marker stands between tabs, of which other writers leave out the first.
                if (!hasListText_ && value != u'\t') bodyUnit(u'\t');
                hasListText_ = true;
                bodyUnit(value);
                break;
            case Destination::body: bodyUnit(value); break;
            case Destination::fonts:
                if (value == u';') {
                    endFont();
                } else {
                    gathered_ += value;
                }
                break;
            case Destination::colors:
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

    // Words.

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
                if (group_.destination == Destination::fonts && entry.word == RtfWord::f) {
                    beginFont(value);
                } else {
                    applyCharacterWord(group_.characters, entry.word, token.hasValue, value);
                }
                break;
            case RtfWordKind::paragraph: paragraphWord(entry.word, token); break;
            case RtfWordKind::tab: tabWord(entry.word, value); break;
            case RtfWordKind::row:
            case RtfWordKind::border:
            case RtfWordKind::otherBorder:
                if (group_.destination != Destination::body) break;
                group_.story->tables().apply(std::max(group_.paragraph.depth(), 1), entry,
                                             token.hasValue, value);
                break;
            case RtfWordKind::text: textWord(entry.word); break;
            case RtfWordKind::unicode: unicodeWord(entry.word, token); break;
            case RtfWordKind::header: headerWord(entry.word, value); break;
            case RtfWordKind::font: fontWord(entry.word, value); break;
            case RtfWordKind::color: colorWord(entry.word, value); break;
            case RtfWordKind::listing: listWord(entry.word, value); break;
            case RtfWordKind::picture: picture_.apply(entry.word, value); break;
            case RtfWordKind::attachment: attachmentWord(entry.word, value); break;
            case RtfWordKind::document: info_.applyDocumentWord(entry.word, value); break;
            case RtfWordKind::time: info_.applyTimeWord(entry.word, value); break;
        }
    }

    void destination(RtfWord word) {
        switch (word) {
            case RtfWord::fonttbl:
                beginDestination(word, Destination::fonts);
                fontNumber_ = 0;
                break;
            case RtfWord::colortbl:
                resources_.colors.clear();
                color_.reset();
                beginDestination(word, Destination::colors);
                break;
            case RtfWord::listtable: beginDestination(word, Destination::listTable); break;
            case RtfWord::list:
                list_.clear();
                listIdentifier_ = 0;
                beginDestination(word, Destination::listTable);
                break;
            case RtfWord::listlevel:
                if (list_.size() < 9) list_.emplace_back();
                beginDestination(word, Destination::listTable);
                break;
            case RtfWord::leveltext: beginDestination(word, Destination::levelText); break;
            case RtfWord::levelmarker: beginDestination(word, Destination::levelMarker); break;
            case RtfWord::listoverridetable:
            case RtfWord::listoverride: beginDestination(word, Destination::overrides); break;
            case RtfWord::listtext:
            case RtfWord::pntext:
                if (group_.destination == Destination::body) {
                    beginDestination(word, Destination::listText);
                }
                hasListText_ = false;
                break;
            case RtfWord::info: beginDestination(word, Destination::info); break;
            case RtfWord::creatim:
            case RtfWord::revtim: beginDestination(word, Destination::infoTime); break;
            case RtfWord::field: group_.link = -1; break;
            case RtfWord::fldinst: beginDestination(word, Destination::instruction); break;
            case RtfWord::fldrslt:
                if (group_.link >= 0) group_.characters.link = group_.link;
                break;
            case RtfWord::pict:
                picture_ = {};
                beginDestination(word, Destination::picture);
                break;
            case RtfWord::shp:
            case RtfWord::shpinst:
            case RtfWord::sp:
            case RtfWord::object:
                outer_ = group_.destination == Destination::dropped ? outer_ : group_.destination;
                beginDestination(word, Destination::dropped);
                break;
            case RtfWord::shptxt:
            case RtfWord::result:
                if (group_.destination == Destination::dropped) beginDestination(word, outer_);
                break;
            case RtfWord::footnote:
                if (group_.story == &body_) {
                    group_.story = &footnotes_;
                    beginDestination(word, Destination::body);
                }
                break;
            case RtfWord::upr: group_.inAlternatives = true; break;
            case RtfWord::ud: group_.inAlternatives = false; break;
            case RtfWord::NeXTGraphic:
                picture_ = {};
                beginDestination(word, Destination::attachment);
                break;
            default:
                if (infoKeyOf(word) != nullptr) {
                    if (group_.destination == Destination::info) {
                        beginDestination(word, Destination::infoText);
                    } else {
                        skipGroup();
                    }
                }
        }
    }

    void paragraphWord(RtfWord word, const RtfToken& token) {
        if (group_.destination == Destination::overrides) {
            if (word == RtfWord::ls) overrideNumber_ = token.value;
            return;
        }
        // The marker of an item has the properties of its paragraph, said once more.
        if (group_.destination == Destination::listText) return;
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
        if (paragraph.tabs >= kMostTabs || group_.destination != Destination::body) return;
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
        if (group_.destination != Destination::body) return;
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
        if (group_.destination == Destination::body && !isHidden()) {
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

    void headerWord(RtfWord word, std::int32_t value) {
        switch (word) {
            case RtfWord::ansi: encoding_ = Encoding::kWindows1252; break;
            case RtfWord::mac: encoding_ = Encoding::kMacRoman; break;
            case RtfWord::pc: encoding_ = Encoding::kDOS437; break;
            case RtfWord::pca: encoding_ = Encoding::kDOS850; break;
            case RtfWord::ansicpg:
                if (const Encoding page = encodingOfCodePage(value); page != Encoding::kInvalid) {
                    encoding_ = page;
                }
                break;
            default: resources_.defaultFont = value; break;  // \deff
        }
    }

    // Fonts and their encodings.

    void beginFont(std::int32_t number) {
        endFont();
        fontNumber_ = number;
    }

    void endFont() {
        RtfFont& font = resources_.fonts[fontNumber_];
        if (const auto name = trimWhite(gathered_); !name.empty() && font.name.empty()) {
            font.name = name;
        }
        font.symbols = symbolFontNamed(font.name, font.symbolCharset);
        gathered_.clear();
        knownFont_ = kNoFont;
    }

    void fontWord(RtfWord word, std::int32_t value) {
        if (group_.destination != Destination::fonts) return;
        RtfFont& font = resources_.fonts[fontNumber_];
        if (word == RtfWord::cpg) {
            font.encoding = encodingOfCodePage(value);
            return;
        }
        constexpr std::int32_t kAnsi = 0, kSymbols = 2;
        font.symbolCharset = value == kSymbols;
        // The Latin set of a document in an East Asian code page is Latin all the same; otherwise
        // writers mean the document's.
        const bool isOwn = value != kAnsi || encodingIsDoubleByte(encoding_);
        font.encoding = isOwn ? encodingOfFontCharset(value) : Encoding::kInvalid;
        knownFont_ = kNoFont;
    }

    void lookUpFont() {
        const RtfCharacters& characters = group_.characters;
        const bool isDoubleByte = characters.doubleByte && characters.doubleByteFont >= 0;
        const std::int32_t number = isDoubleByte ? characters.doubleByteFont : characters.font;
        if (number == knownFont_) return;
        const RtfFont* font = resources_.fontWithNumber(number);
        knownFont_ = number;
        knownEncoding_ = font != nullptr ? font->encoding : Encoding::kInvalid;
        knownSymbols_ = font != nullptr ? font->symbols : SymbolFont::none;
    }

    Encoding encoding() {
        lookUpFont();
        if (group_.destination == Destination::fonts) {
            const auto font = resources_.fonts.find(fontNumber_);
            if (font != resources_.fonts.end() && font->second.encoding != Encoding::kInvalid) {
                return font->second.encoding;
            }
        }
        const bool usesFont =
            group_.destination == Destination::body || group_.destination == Destination::listText;
        return usesFont && knownEncoding_ != Encoding::kInvalid ? knownEncoding_ : encoding_;
    }

    SymbolFont symbolFont() {
        if (group_.destination != Destination::body &&
            group_.destination != Destination::listText) {
            return SymbolFont::none;
        }
        lookUpFont();
        return knownSymbols_;
    }

    void colorWord(RtfWord word, std::int32_t value) {
        if (group_.destination != Destination::colors) return;
        if (!color_) color_ = RgbColor{};
        const auto component = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
        switch (word) {
            case RtfWord::red: color_->red = component; break;
            case RtfWord::green: color_->green = component; break;
            default: color_->blue = component; break;
        }
    }

    // Lists.

    RtfListLevel& level() {
        if (list_.empty()) list_.emplace_back();
        return list_.back();
    }

    void listWord(RtfWord word, std::int32_t value) {
        switch (word) {
            case RtfWord::levelnfc: level().format = value; break;
            case RtfWord::levelstartat: level().start = value; break;
            default: listIdentifier_ = value; break;  // \listid
        }
    }

    void endListText() {
        if (hasListText_ && group_.story->lastUnit() != u'\t') bodyUnit(u'\t');
    }

    // Pictures and files.

    bool isBody() const { return group_.destination == Destination::body; }

    void endPicture(const Group& ended) {
        std::optional<FileNode> file = picture_.takeFile();
        const Size size = picture_.size();
        picture_ = {};
        const bool isDropped = group_.destination != Destination::dropped && !isBody();
        if (!file || isDropped || isHidden()) return;
        group_.story->attach(*std::move(file), size, ended.characters);
    }

    void attachmentWord(RtfWord word, std::int32_t value) {
        if (group_.destination != Destination::attachment) return;
        picture_.apply(word == RtfWord::width ? RtfWord::picwgoal : RtfWord::pichgoal, value);
    }

    void endAttachment(const Group& ended) {
        const Size size = picture_.size();
        picture_ = {};
        const std::u16string_view name = trimWhite(gathered_);
        const bool wasBody = isBody();
        group_.destination = Destination::attachmentRest;
        if (!wasBody || package_ == nullptr || isHidden()) return;
        const auto file = std::ranges::find(package_->entries, name, &FileNode::name);
        if (file == package_->entries.end()) return;
        group_.story->attach(*file, size, ended.characters);
    }

    static bool encodingIsDoubleByte(Encoding encoding) {
        return encoding == Encoding::kDOS932 || encoding == Encoding::kDOS936 ||
               encoding == Encoding::kDOS949 || encoding == Encoding::kDOS950;
    }

    static constexpr std::int32_t kNoFont = -2;

    RtfScanner scanner_;
    const FileNode* package_;
    RtfResources resources_;
    RtfStory body_{resources_};
    RtfStory footnotes_{resources_};
    RtfInfo info_;
    Group group_;
    std::vector<Group> groups_;  // those around it
    std::size_t tooDeep_ = 0;    // groups that are open beyond the deepest
    bool starred_ = false;       // the next word may be skipped with its group
    std::int32_t fallbackLeft_ = 0;
    Encoding encoding_ = Encoding::kWindows1252;
    RtfByteDecoder decoder_;
    std::u16string gathered_;
    Destination outer_ = Destination::body;  // of what is dropped
    // The font that was looked up last.
    std::int32_t knownFont_ = kNoFont;
    Encoding knownEncoding_ = Encoding::kInvalid;
    SymbolFont knownSymbols_ = SymbolFont::none;
    std::int32_t fontNumber_ = 0;    // of the entry of the font table
    std::optional<RgbColor> color_;  // of the entry of the colour table
    std::vector<RtfListLevel> list_;
    std::int32_t listIdentifier_ = 0;
    std::int32_t overrideNumber_ = 0;
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
