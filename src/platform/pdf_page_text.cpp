#include "platform/pdf_page_text.h"

#include <Annot.h>
#include <GfxState.h>
#include <Page.h>
#include <TextOutputDev.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr double kResolution = 72;  // a point is one unit
constexpr std::size_t kMostPagesInGroup = 256;
constexpr int kMostFontsInGroup = 512;  // beyond what the first page has
constexpr std::string_view kEndOfSection = "EMC";

// The fonts of a group of pages: names, each for one font only.
class FontNames {
public:
    explicit FontNames(XRef* table) : fonts_(new Dict(table)) {}

    // False, with nothing added, when a name of the page stands for another font already, or for a
    // font that has no identity, and when there are enough fonts already.
    bool add(Page& page) {
        Dict* resources = page.getResourceDict();
        if (resources == nullptr) return true;
        Ref identity = Ref::INVALID();
        const Object fonts = resources->lookup("Font", &identity);
        if (!fonts.isDict()) return true;
        // Most programs give all pages one dictionary.
        if (identity != Ref::INVALID() && identity == lastAdded_) return true;

        const Dict& names = *fonts.getDict();
        std::vector<int> fresh;
        for (int i = 0; i < names.getLength(); ++i) {
            const Object& font = names.getValNF(i);
            if (!font.isRef()) return false;
            const Object& known = fonts_.getDict()->lookupNF(names.getKey(i));
            if (known.isNull()) {
                fresh.push_back(i);
            } else if (known.getRef() != font.getRef()) {
                return false;
            }
        }
        if (!fresh.empty() && fonts_.getDict()->getLength() >= kMostFontsInGroup) return false;
        for (const int i : fresh) {
            // A damaged page may say one name twice.
            if (!fonts_.getDict()->lookupNF(names.getKey(i)).isNull()) return false;
            fonts_.getDict()->add(names.getKey(i), Object(names.getValNF(i).getRef()));
        }
        lastAdded_ = identity;
        return true;
    }

    // Resources that hold the fonts and nothing else.
    Object takeResources(XRef* table) {
        auto* resources = new Dict(table);
        resources->add("Font", std::move(fonts_));
        return Object(resources);
    }

private:
    Object fonts_;
    Ref lastAdded_ = Ref::INVALID();
};

Object resourcesWithoutFonts(Page& page, XRef* table) {
    const Dict* all = page.getResourceDict();
    Dict* resources = all != nullptr ? all->copy(table) : new Dict(table);
    resources->remove("Font");
    return Object(resources);
}

// The instructions of a page, inflated by zlib, which takes a fraction of the time of the library's
// own decoder. What is not plainly deflated, is damaged, or is very long, stays as it is.
class PageContents {
public:
    explicit PageContents(Page& page) : contents_(page.getContents()) {
        if (contents_.isStream()) {
            inflateStream(contents_);
        } else if (contents_.isArray()) {
            auto* parts = new ::Array(page.getDoc()->getXRef());
            for (int i = 0; i < contents_.arrayGetLength(); ++i) {
                Object part = contents_.arrayGet(i);
                if (part.isStream()) inflateStream(part);
                parts->add(std::move(part));
            }
            contents_ = Object(parts);
        }
    }

    Object& object() { return contents_; }

private:
    static constexpr std::size_t kMostBytes = std::size_t{16} << 20;

    void inflateStream(Object& object) {
        Stream& stream = *object.getStream();
        const Dict& entries = *stream.getDict();
        if (stream.getKind() != strFlate || entries.hasKey("DecodeParms") || entries.hasKey("DP")) {
            return;
        }
        std::string bytes;
        if (!inflateAll(*stream.getNextStream(), bytes)) return;
        const std::string& kept = bytes_.emplace_back(std::move(bytes));
        object = Object(static_cast<Stream*>(
            new MemStream(kept.data(), 0, static_cast<Goffset>(kept.size()), Object(objNull))));
    }

    // False unless all of it is there and right.
    static bool inflateAll(Stream& packed, std::string& out) {
        z_stream state{};
        if (inflateInit(&state) != Z_OK) return false;
        unsigned char block[8192];
        int result = Z_OK;
        packed.reset();
        while (result == Z_OK && out.size() <= kMostBytes) {
            if (state.avail_in == 0) {
                const int length = packed.doGetChars(sizeof block, block);
                if (length <= 0) break;
                state.next_in = block;
                state.avail_in = static_cast<uInt>(length);
            }
            const std::size_t before = out.size();
            out.resize(std::max(2 * before, sizeof block));
            state.next_out = reinterpret_cast<Bytef*>(out.data() + before);
            state.avail_out = static_cast<uInt>(out.size() - before);
            result = inflate(&state, Z_NO_FLUSH);
            out.resize(out.size() - state.avail_out);
        }
        inflateEnd(&state);
        return result == Z_STREAM_END;
    }

    std::deque<std::string> bytes_;  // that the streams read; none of them moves
    Object contents_;
};

bool agree(Page& a, Page& b) {
    return a.getRotate() == b.getRotate() && *a.getMediaBox() == *b.getMediaBox() &&
           *a.getCropBox() == *b.getCropBox();
}

std::u16string fontName(const TextFontInfo& font) {
    const GooString* name = font.getFontName();
    if (name == nullptr || name->getLength() == 0) return TextStyle().font;
    std::string_view plain = name->toStr();
    // A subset has a tag of six letters before its name.
    constexpr std::size_t kTag = 6;
    if (plain.size() > kTag + 1 && plain[kTag] == '+') plain.remove_prefix(kTag + 1);
    return fromUtf8(plain);
}

bool startsWithAny(std::u16string_view name, std::initializer_list<std::u16string_view> starts) {
    return std::any_of(starts.begin(), starts.end(),
                       [name](std::u16string_view start) { return name.starts_with(start); });
}

// Fonts made by TeX say by their prefix what others say in words.
bool isBoldName(std::u16string_view name) {
    return containsNoCase(name, u"Bold") || containsNoCase(name, u"Black") ||
           containsNoCase(name, u"Heavy") || name.find(u"-Medi") != std::u16string_view::npos ||
           startsWithAny(name, {u"CMBX", u"CMSSBX", u"SFBX", u"SFBI", u"SFSX"});
}

bool isItalicName(std::u16string_view name) {
    return containsNoCase(name, u"Italic") || containsNoCase(name, u"Oblique") ||
           name.ends_with(u"Ital") ||
           startsWithAny(name, {u"CMTI", u"CMBXTI", u"CMSL", u"SFTI", u"SFBI", u"SFSL"});
}

std::uint8_t colorComponent(double value) {
    return static_cast<std::uint8_t>(std::lround(std::fmin(std::fmax(value, 0), 1) * 255));
}

TextStyle styleOf(const TextFontInfo& font, const TextWord& word) {
    TextStyle style;
    style.font = fontName(font);
    style.size = std::round(word.getFontSize() * 10) / 10;
    style.bold = font.isBold() || isBoldName(style.font);
    style.italic = font.isItalic() || isItalicName(style.font);
    double red = 0, green = 0, blue = 0;
    word.getColor(&red, &green, &blue);
    const RgbColor color{colorComponent(red), colorComponent(green), colorComponent(blue)};
    if (color != RgbColor{}) style.color = color;
    return style;
}

// The characters of a line that have a style, from left to right.
struct StyledLine {
    std::vector<Unicode> characters;
    std::vector<std::size_t> styles;
};

// The styles of a page, line by line in the order in which its text is written.
class PageStyles {
public:
    explicit PageStyles(const TextFlow* flows) {
        for (const TextFlow* flow = flows; flow != nullptr; flow = flow->getNext()) {
            for (const TextBlock* block = flow->getBlocks(); block; block = block->getNext()) {
                for (const TextLine* line = block->getLines(); line; line = line->getNext()) {
                    addLine(*line);
                }
            }
        }
    }

    // Adds the text of the next line. Its characters stand in the order of the words, but where a
    // part of it runs from right to left.
    void append(AttributedText& out, std::u16string_view text) {
        static const StyledLine none;
        const StyledLine& line = nextLine_ < lines_.size() ? lines_[nextLine_++] : none;
        std::size_t at = 0;
        std::size_t style = line.styles.empty() ? current_ : line.styles.front();
        for (std::size_t i = 0; i < text.size();) {
            char32_t character = text[i];
            std::size_t length = 1;
            if (character >= 0xD800 && character < 0xDC00 && i + 1 < text.size()) {
                character = 0x10000 + ((character - 0xD800) << 10) + (text[i + 1] - 0xDC00);
                length = 2;
            }
            if (const std::size_t found = find(line, character, at);
                found < line.characters.size()) {
                style = line.styles[found];
                at = found + 1;
            }
            out.append(text.substr(i, length), styles_.empty() ? TextStyle() : styles_[style]);
            i += length;
        }
        current_ = style;
    }

    void appendLineFeed(AttributedText& out) {
        out.append(u"\n", styles_.empty() ? TextStyle() : styles_[current_]);
    }

private:
    // How far to look for a character that is not the next one.
    static constexpr std::size_t kReach = 64;

    static std::size_t find(const StyledLine& line, Unicode character, std::size_t at) {
        const std::size_t count = line.characters.size();
        if (at < count && line.characters[at] == character) return at;
        const std::size_t from = at > kReach ? at - kReach : 0;
        for (std::size_t i = from; i < count && i < at + kReach; ++i) {
            if (line.characters[i] == character) return i;
        }
        return count;
    }

    void addLine(const TextLine& line) {
        StyledLine styled;
        for (const TextWord* word = line.getWords(); word != nullptr; word = word->getNext()) {
            const TextFontInfo* font = nullptr;
            std::size_t style = 0;
            for (int i = 0; i < word->getLength(); ++i) {
                if (word->getFontInfo(i) != font || i == 0) {
                    font = word->getFontInfo(i);
                    style = indexOf(styleOf(*font, *word));
                }
                styled.characters.push_back(*word->getChar(i));
                styled.styles.push_back(style);
            }
        }
        lines_.push_back(std::move(styled));
    }

    std::size_t indexOf(TextStyle style) {
        // It is nearly always one of the last.
        for (std::size_t i = styles_.size(); i-- > 0;) {
            if (styles_[i] == style) return i;
        }
        styles_.push_back(std::move(style));
        return styles_.size() - 1;
    }

    std::vector<StyledLine> lines_;
    std::vector<TextStyle> styles_;
    std::size_t nextLine_ = 0;
    std::size_t current_ = 0;
};

}  // namespace

// Collects the text of one page at a time.
class PageTextReader::Device : public TextOutputDev {
public:
    Device() : TextOutputDev(&Device::write, this, false, 0, false) {}

    void endPage() override {
        if (!muted) TextOutputDev::endPage();
    }
    // While probing, an end of a section that the page has left open.
    void endMarkedContent(GfxState* state) override {
        foundOpenSection |= probing;
        if (!probing) TextOutputDev::endMarkedContent(state);
    }
    void endActualText(GfxState* state) override {
        if (!probing) TextOutputDev::endActualText(state);
    }

    std::string text;
    std::vector<std::size_t> pieces;  // where each piece that was written ends: lines, line ends
    bool muted = false;
    bool probing = false;
    bool foundOpenSection = false;

private:
    static void write(void* stream, const char* text, int length) {
        auto& device = *static_cast<Device*>(stream);
        device.text.append(text, static_cast<std::size_t>(length));
        device.pieces.push_back(device.text.size());
    }
};

PageTextReader::PageTextReader(PDFDoc& document) : document_(document) {}

PageTextReader::~PageTextReader() {
    closeGroup();
}

const std::string& PageTextReader::textOfPage(std::size_t index) {
    read(index);
    return device_->text;
}

AttributedText PageTextReader::attributedTextOfPage(std::size_t index) {
    read(index);
    PageStyles styles(device_->getFlows());
    AttributedText out;
    std::size_t start = 0;
    for (const std::size_t end : device_->pieces) {
        const auto piece = std::string_view(device_->text).substr(start, end - start);
        if (piece == "\n") {
            styles.appendLineFeed(out);
        } else {
            styles.append(out, fromUtf8(piece));
        }
        start = end;
    }
    return out;
}

void PageTextReader::read(std::size_t index) {
    if (!interpreter_ || index != next_ || index >= end_) openGroup(index);
    device_->text.clear();
    device_->pieces.clear();
    try {
        Page* page = document_.getPage(static_cast<int>(index) + 1);
        if (interpreter_) {
            ++next_;
            readInGroup(*page);
        } else if (page != nullptr) {
            page->display(device_.get(), kResolution, kResolution, 0, true, false, false);
        }
    } catch (...) {
        // The interpreter is in the middle of something; ending it now is not safe.
        static_cast<void>(interpreter_.release());
        static_cast<void>(device_.release());
        device_ = std::make_unique<Device>();
        throw;
    }
}

void PageTextReader::openGroup(std::size_t index) {
    closeGroup();
    device_ = std::make_unique<Device>();
    const auto pageAt = [this](std::size_t i) {
        return document_.getPage(static_cast<int>(i) + 1);
    };
    Page* first = pageAt(index);
    XRef* table = document_.getXRef();
    FontNames fonts(table);
    if (first == nullptr || !fonts.add(*first)) return;

    const auto count = static_cast<std::size_t>(document_.getNumPages());
    const std::size_t most = std::min(count, index + kMostPagesInGroup);
    std::size_t end = index + 1;
    for (; end < most; ++end) {
        Page* page = pageAt(end);
        if (page == nullptr || !agree(*first, *page) || !fonts.add(*page)) break;
    }
    if (end == index + 1) return;

    PDFRectangle box;
    bool crop = false;
    first->makeBox(kResolution, kResolution, first->getRotate(), true, device_->upsideDown(), -1,
                   -1, -1, -1, &box, &crop);
    const Object resources = fonts.takeResources(table);
    interpreter_ =
        std::make_unique<Gfx>(&document_, device_.get(), first->getNum(), resources.getDict(),
                              kResolution, kResolution, &box, nullptr, first->getRotate());
    next_ = index;
    end_ = end;
}

void PageTextReader::closeGroup() {
    // The interpreter ends the last page once more.
    if (interpreter_) device_->muted = true;
    interpreter_.reset();
}

void PageTextReader::readInGroup(Page& page) {
    XRef* table = document_.getXRef();
    GfxState* state = interpreter_->getState();
    device_->startPage(page.getNum(), state, table);
    const Object resources = resourcesWithoutFonts(page, table);
    interpreter_->pushResources(resources.getDict());
    PageContents contents(page);
    if (!contents.object().isNull()) {
        interpreter_->saveState();
        interpreter_->display(&contents.object());
        interpreter_->restoreState();
    }
    for (Annot* annotation : page.getAnnots()->getAnnots()) {
        annotation->draw(interpreter_.get(), false);
    }
    device_->endPage();
    interpreter_->popResources();

    // What a page leaves behind must not reach the next one: the path and the place of text, which
    // are not part of the saved state, and sections without an end, for which there is only a new
    // interpreter.
    state = interpreter_->getState();
    state->clearPath();
    state->textMoveTo(0, 0);
    Object endOfSection(static_cast<Stream*>(new MemStream(
        kEndOfSection.data(), 0, static_cast<Goffset>(kEndOfSection.size()), Object(objNull))));
    device_->probing = true;
    interpreter_->display(&endOfSection);
    device_->probing = false;
    if (device_->foundOpenSection) closeGroup();
}

}  // namespace corvy::platform
