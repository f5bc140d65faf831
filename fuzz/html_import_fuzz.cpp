// HTML to attributed text: the styles cover the text, attachments and cells are where they say.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_text.h"
#include "platform/html_import/html_importer.h"
#include "platform/rich_text/rtfd.h"

namespace {

using namespace corvy;

// Gives back what it is asked for: the address itself as a picture, a sheet or a page.
class EchoLoader : public platform::ResourceLoader {
public:
    std::vector<std::optional<platform::Resource>> load(
        std::span<const platform::ResourceRequest> requests) override {
        std::vector<std::optional<platform::Resource>> answers;
        for (const platform::ResourceRequest& request : requests) {
            std::string text(request.url.absoluteString.begin(), request.url.absoluteString.end());
            if (request.kind == platform::ResourceKind::image) text = "GIF89a" + text;
            answers.push_back(platform::Resource{Bytes::copyOf(text), {}, {}, request.url});
        }
        return answers;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    EchoLoader loader;
    platform::HtmlImportOptions options;
    options.baseURL = Url{u"http://h/"};
    options.loader = &loader;
    const platform::AttributedText text = platform::attributedTextOfHtml(
        std::string_view(reinterpret_cast<const char*>(data), size), options);
    std::size_t end = 0;
    for (const auto& run : text.runs()) {
        require(run.end > end);
        end = run.end;
    }
    require(end == text.length() && text.unstyledStart() == text.length());
    std::size_t characters = 0;
    for (const char16_t c : text.string()) characters += c == platform::kAttachmentCharacter;
    require(characters == text.attachments().size());
    for (const auto& style : text.paragraphStyles()) {
        for (const platform::TableCell& cell : style.cells) {
            require(cell.table < text.tables().size());
            require(cell.column + cell.columnSpan <= text.tables()[cell.table].columns);
        }
        for (const std::uint32_t list : style.lists) {
            require(list < text.lists().size());
        }
    }
    platform::rtfdOf({text, {}});
    return 0;
}
