#include "platform/html_import/html_importer.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "platform/html_import/css_conditions.h"
#include "platform/html_import/html_tree.h"
#include "platform/html_import/page_writer.h"
#include "platform/html_import/presentational_hints.h"
#include "platform/html_import/style_resolver.h"
#include "platform/html_import/style_sheets.h"
#include "platform/html_import/user_agent_sheet.h"

namespace corvy::platform {

namespace {

constexpr int kDeepestFrame = 3;
// What one document may ask for.
constexpr std::size_t kMostImages = 2000;
constexpr std::size_t kMostFrames = 32;

bool hasWord(std::string_view text, std::string_view word) {
    bool found = false;
    forEachWord(text,
                [&](std::string_view each) { found = found || css::equalsNoCase(each, word); });
    return found;
}

bool isEmptyText(const AttributedText& text) {
    return std::all_of(text.string().begin(), text.string().end(),
                       [](char16_t c) { return isWhite(c) && c != kAttachmentCharacter; });
}

// One document: a page or a frame of it.
class PageImport {
public:
    PageImport(const HtmlImportOptions& options, int depth)
        : options_(options), depth_(depth), tree_(atoms_) {}

    AttributedText run(std::string_view html) {
        HtmlTree::Builder builder(tree_);
        parseHtml(html, builder);
        findBase();
        readStyleSheets();
        AttributedText text;
        for (const css::Reveal reveal :
             {css::Reveal::nothing, css::Reveal::roots, css::Reveal::everything}) {
            css::StyleResolver styles(tree_, *sheets_, reveal);
            styles.run();
            text = PageWriter(tree_, styles, load(styles), base_).write();
            if (!isEmptyText(text)) break;
        }
        return text;
    }

private:
    void findBase() {
        base_ = options_.baseURL;
        for (NodeIndex node = 0; node < tree_.size(); ++node) {
            if (tree_[node].tag != Name::base) continue;
            const auto reference = tree_.attribute(node, Name::href);
            if (!reference) continue;
            auto url = URLRelativeTo(base_.value_or(Url()), fromUtf8(*reference));
            if (url) base_ = std::move(url);
            return;
        }
    }

    std::optional<Url> resolved(std::string_view reference) const {
        return URLRelativeTo(base_.value_or(Url()), fromUtf8(reference));
    }

    std::string decoded(const Resource& resource, ResourceKind kind) const {
        if (!options_.decode) return std::string(resource.bytes.chars());
        return options_.decode(resource.bytes, resource.charset, kind);
    }

    void readStyleSheets() {
        sheets_.emplace(atoms_, tree_.quirks(),
                        [this](const std::string& reference, const std::string& base) {
                            return importedSheet(reference, base);
                        });
        sheets_->add({std::string(css::kUserAgentSheet), {}}, css::Origin::userAgent);
        if (tree_.quirks()) {
            sheets_->add({std::string(css::kQuirksSheet), {}}, css::Origin::userAgent);
        }
        std::vector<NodeIndex> places;
        std::vector<ResourceRequest> requests;
        for (NodeIndex node = 0; node < tree_.size(); ++node) {
            const Atom tag = tree_[node].tag;
            if (tag != Name::style && tag != Name::link) continue;
            if (!css::mediaMatches(tree_.attribute(node, Name::media).value_or(""))) continue;
            if (tag == Name::style) {
                places.push_back(node);
                continue;
            }
            const std::string_view relation = tree_.attribute(node, Name::rel).value_or("");
            const auto reference = tree_.attribute(node, Name::href);
            if (!reference || reference->empty() || !hasWord(relation, "stylesheet") ||
                hasWord(relation, "alternate") || tree_.attribute(node, Name::disabled)) {
                continue;
            }
            if (auto url = resolved(*reference)) {
                places.push_back(node);
                requests.push_back({*std::move(url), ResourceKind::styleSheet});
            }
        }
        auto loaded = loadAll(requests);
        auto next = loaded.begin();
        for (const NodeIndex node : places) {
            if (tree_[node].tag == Name::style) {
                const std::string base = base_ ? toUtf8(base_->absoluteString) : std::string();
                sheets_->add({tree_.textOf(node), base}, css::Origin::author);
            } else if (const auto& resource = *next++) {
                sheets_->add(sheetOf(*resource), css::Origin::author);
            }
        }
    }

    css::SheetText sheetOf(const Resource& resource) const {
        return {decoded(resource, ResourceKind::styleSheet), toUtf8(resource.url.absoluteString)};
    }

    std::optional<css::SheetText> importedSheet(const std::string& reference,
                                                const std::string& base) {
        const auto url = URLRelativeTo(Url{fromUtf8(base)}, fromUtf8(reference));
        if (!url) return std::nullopt;
        const std::array requests = {ResourceRequest{*url, ResourceKind::styleSheet}};
        const auto loaded = loadAll(requests);
        if (!loaded[0]) return std::nullopt;
        return sheetOf(*loaded[0]);
    }

    std::vector<std::optional<Resource>> loadAll(std::span<const ResourceRequest> requests) const {
        if (requests.empty()) return {};
        if (!options_.loader) return std::vector<std::optional<Resource>>(requests.size());
        return options_.loader->load(requests);
    }

    // Images and frames that are shown.
    PageResources load(const css::StyleResolver& styles) {
        PageResources resources;
        std::vector<NodeIndex> places;
        std::vector<ResourceRequest> requests;
        std::size_t frames = 0;
        for (NodeIndex node = 0; node < tree_.size();) {
            if (!tree_[node].isElement()) {
                ++node;
                continue;
            }
            if (styles.styleOf(node).display == css::Display::none) {
                node = tree_[node].end;
                continue;
            }
            const Atom tag = tree_[node].tag;
            const bool isFrame = tag == Name::iframe || tag == Name::frame;
            if (isFrame && frames < kMostFrames && depth_ < kDeepestFrame) {
                ++frames;
                if (const auto own = tree_.attribute(node, Name::srcdoc)) {
                    resources.frames[node] = frameText(*own, base_);
                } else if (auto url = sourceOf(node)) {
                    places.push_back(node);
                    requests.push_back({*std::move(url), ResourceKind::frame});
                }
            } else if (isImage(node) && requests.size() < kMostImages) {
                if (auto url = sourceOf(node); url && !isTiny(styles.styleOf(node))) {
                    places.push_back(node);
                    requests.push_back({*std::move(url), ResourceKind::image});
                }
            }
            ++node;
        }
        auto loaded = loadAll(requests);
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (!loaded[i]) continue;
            if (requests[i].kind == ResourceKind::frame) {
                resources.frames[places[i]] =
                    frameText(decoded(*loaded[i], ResourceKind::frame), loaded[i]->url);
            } else {
                resources.images.emplace(places[i], *std::move(loaded[i]));
            }
        }
        return resources;
    }

    AttributedText frameText(std::string_view html, const std::optional<Url>& base) const {
        HtmlImportOptions options = options_;
        options.baseURL = base;
        return PageImport(options, depth_ + 1).run(html);
    }

    bool isImage(NodeIndex node) const {
        return tree_[node].tag == Name::img ||
               (tree_[node].tag == Name::input &&
                css::equalsNoCase(tree_.attribute(node, Name::type).value_or(""), "image"));
    }

    // Pictures of one dot count visitors; nobody misses them.
    static bool isTiny(const css::ComputedStyle& style) {
        const auto tiny = [](css::Extent extent) { return !extent.isPercent && extent.value <= 1; };
        return tiny(style.width) && tiny(style.height);
    }

    std::optional<Url> sourceOf(NodeIndex node) const {
        std::string_view source = tree_.attribute(node, Name::src).value_or("");
        if (source.empty()) {
            // The first of the candidates, which end at white space.
            bool isFirst = true;
            forEachWord(tree_.attribute(node, Name::srcset).value_or(""),
                        [&](std::string_view word) {
                            if (std::exchange(isFirst, false)) source = word;
                        });
            while (source.ends_with(',')) source.remove_suffix(1);
        }
        return source.empty() ? std::nullopt : resolved(source);
    }

    const HtmlImportOptions& options_;
    int depth_;
    AtomTable atoms_;
    HtmlTree tree_;
    std::optional<Url> base_;
    std::optional<css::StyleSheets> sheets_;
};

}  // namespace

AttributedText attributedTextOfHtml(std::string_view html, const HtmlImportOptions& options) {
    return PageImport(options, 0).run(html);
}

}  // namespace corvy::platform
