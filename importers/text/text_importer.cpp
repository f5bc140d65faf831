// Plain text and source code.
#include "foundation/encoding.h"
#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "importers/support/attributes.h"
#include "importers/support/decoding.h"
#include "importers/support/own_keys.h"
#include "text/article.h"

namespace corvy {

namespace {

// What stands behind the last line end counts as well.
std::int64_t numberOfLines(std::u16string_view text) {
    std::int64_t lines = 0;
    bool inLine = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        inLine = text[i] != u'\n' && text[i] != u'\r';
        const bool isPair = text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n';
        if (!inLine && !isPair) ++lines;
    }
    return lines + (inLine ? 1 : 0);
}

bool importText(CorvyAttributes* out, const char*, const char* path) {
    const auto bytes =
        contentsOfFile(pathFromBytes(path), {.most = kMostBytes, .beginningSuffices = true});
    if (!bytes) return false;
    const Decoded file = decodedText(bytes->chars(), bytes->size() == kMostBytes);
    Attributes attributes(out);
    attributes.set(own_keys::kTextEncoding, fromUtf8(nameOfEncoding(file.encoding)));
    attributes.set(own_keys::kLineCount, numberOfLines(file.text));
    attributes.set(own_keys::kWordCount, static_cast<std::int64_t>(numberOfWordsOfCharacters(
                                             file.text, file.text.size())));
    attributes.setTextContent(file.text);
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importText)
