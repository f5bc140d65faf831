// parseHtml() by Gumbo.
#include <gumbo.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/html_import/html_importer.h"
#include "platform/html_import/html_tree.h"
#include "platform/html_import/nesting_guard.h"

namespace corvy::platform {

namespace {

struct OutputCloser {
    void operator()(GumboOutput* output) const {
        gumbo_destroy_output(&kGumboDefaultOptions, output);
    }
};

void openElement(const GumboElement& element, HtmlTree::Builder& builder) {
    if (element.tag != GUMBO_TAG_UNKNOWN) {
        builder.openElement(gumbo_normalized_tagname(element.tag));
    } else {
        GumboStringPiece name = element.original_tag;
        gumbo_tag_from_original_text(&name);
        builder.openElement({name.data ? name.data : "", name.length});
    }
    for (unsigned int i = 0; i < element.attributes.length; ++i) {
        const auto* attribute = static_cast<const GumboAttribute*>(element.attributes.data[i]);
        builder.addAttribute(attribute->name, attribute->value);
    }
}

// A node whose children are being told.
struct Open {
    const GumboVector* children;
    unsigned int next = 0;
};

void tell(const GumboNode& root, HtmlTree::Builder& builder) {
    openElement(root.v.element, builder);
    std::vector<Open> open = {{&root.v.element.children}};
    while (!open.empty()) {
        Open& parent = open.back();
        if (parent.next == parent.children->length) {
            builder.closeElement();
            open.pop_back();
            continue;
        }
        const auto& node = *static_cast<const GumboNode*>(parent.children->data[parent.next++]);
        switch (node.type) {
            case GUMBO_NODE_ELEMENT:
            case GUMBO_NODE_TEMPLATE:
                openElement(node.v.element, builder);
                open.push_back({&node.v.element.children});
                break;
            case GUMBO_NODE_TEXT:
            case GUMBO_NODE_CDATA:
            case GUMBO_NODE_WHITESPACE: builder.addText(node.v.text.text); break;
            default: break;
        }
    }
}

}  // namespace

void parseHtml(std::string_view html, HtmlTree::Builder& builder) {
    const auto guarded = withoutExcess(html);
    if (guarded) html = *guarded;
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0;
    const std::unique_ptr<GumboOutput, OutputCloser> output(
        gumbo_parse_with_options(&options, html.data(), html.size()));
    if (!output || !output->root) return;
    if (output->document->v.document.doc_type_quirks_mode == GUMBO_DOCTYPE_QUIRKS) {
        builder.setQuirks();
    }
    if (output->root->type == GUMBO_NODE_ELEMENT) tell(*output->root, builder);
}

std::string htmlParserVersion() {
    return CORVY_GUMBO_VERSION;
}

}  // namespace corvy::platform
