#include "platform/pdf_document.h"

#include <ErrorCodes.h>
#include <GlobalParams.h>
#include <PDFDoc.h>
#include <Stream.h>
#include <poppler-config.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <string_view>
#include <utility>

#include "foundation/text.h"
#include "platform/pdf_page_picture.h"
#include "platform/pdf_page_text.h"
#include "platform/pdf_strings.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kMostAttributeValues = 4096;
constexpr int kDeepestPageTree = 64;

// The dictionary of an object, or null.
const Dict* dictOf(const Object& object) {
    return object.isDict() ? object.getDict() : nullptr;
}

// Numbers come from decimal fractions, which the library sums up digit by digit.
double rounded(double points) {
    constexpr double kSteps = 1e6;
    return std::round(points * kSteps) / kSteps;
}

Size sizeOf(double x1, double y1, double x2, double y2) {
    return {rounded(std::fabs(x2 - x1)), rounded(std::fabs(y2 - y1))};
}

std::u16string textOfKey(const char* key) {
    const std::string_view bytes(key);
    return fromStrictUtf8(bytes).value_or(textOfPdfString(bytes));
}

// Turns the information dictionary into values: plain ones, and arrays of them. The rest (other
// parts of damaged documents) is left out.
class AttributeReader {
public:
    explicit AttributeReader(bool strings) : strings_(strings) {}

    Dictionary read(const Dict& dict) {
        Dictionary out;
        for (int i = 0; i < dict.getLength() && left_ > 0; ++i) {
            const std::u16string key = textOfKey(dict.getKey(i));
            PropertyList value = valueOf(dict.getVal(i), false);
            if (value.isNull()) continue;
            if (key == u"CreationDate" || key == u"ModDate") makeDate(value);
            out.set(key, std::move(value));
        }
        return out;
    }

private:
    PropertyList valueOf(const Object& object, bool inArray) {
        if (left_ > 0) --left_;
        if (object.isString()) {
            return strings_ ? textOfPdfString(object.getString()->toStr()) : PropertyList();
        }
        if (object.isName()) return textOfKey(object.getName());
        if (object.isBool()) return object.getBool();
        if (object.isInt()) return static_cast<std::int32_t>(object.getInt());
        if (object.isInt64()) return static_cast<std::int64_t>(object.getInt64());
        if (object.isReal()) return rounded(object.getReal());
        if (!object.isArray() || inArray) return {};
        Array out;
        for (int i = 0; i < object.arrayGetLength() && left_ > 0; ++i) {
            PropertyList value = valueOf(object.arrayGet(i), true);
            if (!value.isNull()) out.push_back(std::move(value));
        }
        return out;
    }

    static void makeDate(PropertyList& value) {
        if (!value.string()) return;
        if (const auto date = dateOfPdfText(*value.string())) value = *date;
    }

    bool strings_;
    std::size_t left_ = kMostAttributeValues;
};

// A library handle's page tree without the library's catalog, which locked documents do not get.
class RawPageTree {
public:
    explicit RawPageTree(XRef& table) : table_(table) {
        const Object catalog = table.getCatalog();
        if (const Dict* dict = dictOf(catalog)) root_ = dict->lookup("Pages");
    }

    std::size_t pageCount() const {
        const Dict* root = dictOf(root_);
        if (root == nullptr) return 0;
        const Object count = root->lookup("Count");
        if (!count.isInt() || count.getInt() < 0 || count.getInt() > table_.getNumObjects()) {
            return 0;
        }
        return static_cast<std::size_t>(count.getInt());
    }

    // Of the first page only.
    std::optional<Size> mediaBoxSize() const {
        std::optional<Size> inherited;
        Object node = root_.copy();
        for (int depth = 0; depth < kDeepestPageTree; ++depth) {
            const Dict* dict = dictOf(node);
            if (dict == nullptr) return std::nullopt;
            if (const auto own = boxOf(dict->lookup("MediaBox"))) inherited = own;
            const Object kids = dict->lookup("Kids");
            if (!kids.isArray()) return inherited;
            if (kids.arrayGetLength() == 0) return std::nullopt;
            node = kids.arrayGet(0);
        }
        return std::nullopt;
    }

private:
    static std::optional<Size> boxOf(const Object& box) {
        if (!box.isArray() || box.arrayGetLength() != 4) return std::nullopt;
        double corner[4];
        for (int i = 0; i < 4; ++i) {
            const Object number = box.arrayGet(i);
            if (!number.isNum()) return std::nullopt;
            corner[i] = number.getNum();
        }
        return sizeOf(corner[0], corner[1], corner[2], corner[3]);
    }

    XRef& table_;
    Object root_;
};

bool isAsciiSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void prepareOnce() {
    if (globalParams) return;
    globalParams = std::make_unique<GlobalParams>();
    // Damaged documents have thousands of errors; quiet, they are not even put together.
    globalParams->setErrQuiet(true);
}

// A document of one page with one word in it, in a font of the standard ones.
constexpr std::string_view kSmallDocument =
    "%PDF-1.4\n"
    "1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
    "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
    "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 99 99]/Contents 4 0 R"
    "/Resources<</Font<</F 5 0 R>>>>>>endobj\n"
    "4 0 obj<</Length 34>>stream\nBT/F 9 Tf 9 9 Td(CorvyStack)Tj ET \nendstream endobj\n"
    "5 0 obj<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>endobj\n"
    "trailer<</Root 1 0 R/Size 6>>\n";

}  // namespace

struct PdfDocument::State {
    std::unique_ptr<PDFDoc> document;
    bool locked = false;
    std::unique_ptr<PageTextReader> text;  // after the document, which it uses

    PageTextReader& reader() {
        if (!text) text = std::make_unique<PageTextReader>(*document);
        return *text;
    }
};

PdfDocument::PdfDocument(std::unique_ptr<State> state) : state_(std::move(state)) {}
PdfDocument::~PdfDocument() = default;
PdfDocument::PdfDocument(PdfDocument&&) noexcept = default;
PdfDocument& PdfDocument::operator=(PdfDocument&&) noexcept = default;

std::optional<PdfDocument> PdfDocument::open(std::span<const std::byte> bytes) {
    const std::string_view chars(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    // The library would look for objects for a long time.
    if (chars.find("obj") == std::string_view::npos) return std::nullopt;
    prepareOnce();
    auto state = std::make_unique<State>();
    try {
        state->document = std::make_unique<PDFDoc>(
            new MemStream(chars.data(), 0, static_cast<Goffset>(chars.size()), Object(objNull)));
        if (!state->document->isOk()) {
            if (state->document->getErrorCode() != errEncrypted) return std::nullopt;
            state->locked = true;
        }
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return PdfDocument(std::move(state));
}

bool PdfDocument::isLocked() const {
    return state_->locked;
}

bool PdfDocument::isEncrypted() const {
    return state_->locked || state_->document->isEncrypted();
}

std::u16string PdfDocument::version() const {
    if (state_->locked) return {};
    PDFDoc& document = *state_->document;
    return fromUtf8(std::to_string(document.getPDFMajorVersion()) + "." +
                    std::to_string(document.getPDFMinorVersion()));
}

std::size_t PdfDocument::pageCount() const {
    if (state_->locked) return RawPageTree(*state_->document->getXRef()).pageCount();
    return static_cast<std::size_t>(std::max(0, state_->document->getNumPages()));
}

std::optional<Dictionary> PdfDocument::documentAttributes() const {
    const Object info = state_->document->getXRef()->getDocInfo();
    const Dict* dict = dictOf(info);
    if (dict == nullptr) return std::nullopt;
    return AttributeReader(!state_->locked).read(*dict);
}

std::string PdfDocument::metadataPacket() const {
    if (state_->locked) return {};
    const std::unique_ptr<GooString> packet = state_->document->readMetadata();
    return packet ? packet->toStr() : std::string();
}

std::optional<Size> PdfDocument::mediaBoxSize(std::size_t index) const {
    if (state_->locked) {
        if (index > 0) return std::nullopt;
        return RawPageTree(*state_->document->getXRef()).mediaBoxSize();
    }
    const Page* page = state_->document->getPage(static_cast<int>(index) + 1);
    if (page == nullptr) return std::nullopt;
    const PDFRectangle& box = *page->getMediaBox();
    return sizeOf(box.x1, box.y1, box.x2, box.y2);
}

std::u16string PdfDocument::textOfPage(std::size_t index) {
    if (state_->locked) return {};
    try {
        std::string_view text = state_->reader().textOfPage(index);
        while (!text.empty() && isAsciiSpace(text.back())) text.remove_suffix(1);
        return fromUtf8(text);
    } catch (const std::exception&) {
        return {};
    }
}

AttributedText PdfDocument::attributedTextOfPage(std::size_t index) {
    if (state_->locked) return {};
    try {
        AttributedText text = state_->reader().attributedTextOfPage(index);
        std::size_t end = text.string().size();
        while (end > 0 && text.string()[end - 1] < 0x80 &&
               isAsciiSpace(static_cast<char>(text.string()[end - 1]))) {
            --end;
        }
        text.truncate(end);
        return text;
    } catch (const std::exception&) {
        return {};
    }
}

AttributedText PdfDocument::attributedText() {
    AttributedText all;
    const std::size_t count = pageCount();
    for (std::size_t i = 0; i < count; ++i) {
        const AttributedText page = attributedTextOfPage(i);
        if (page.empty()) continue;
        all.append(page);
        all.append(u"\n", page.style(page.runs().back().style));
    }
    return all;
}

std::optional<Size> PdfDocument::pageSize(std::size_t index) const {
    if (state_->locked) return std::nullopt;
    const auto size = sizeOfPage(*state_->document, static_cast<int>(index) + 1);
    return size ? std::optional(sizeOf(0, 0, size->width, size->height)) : std::nullopt;
}

std::optional<Raster> PdfDocument::pictureOfPage(std::size_t index, PixelSize size,
                                                 bool shouldAntialias) const {
    if (state_->locked) return std::nullopt;
    try {
        return platform::pictureOfPage(*state_->document, static_cast<int>(index) + 1, size,
                                       shouldAntialias);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void preparePdfLibrary() {
    prepareOnce();
    auto document = PdfDocument::open(std::as_bytes(std::span(kSmallDocument)));
    if (document) document->textOfPage(0);
}

std::string pdfLibraryVersion() {
    return POPPLER_VERSION;
}

}  // namespace corvy::platform
