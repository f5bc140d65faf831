#include "metadata/meta_data_importer.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "foundation/ascii_case.h"
#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "metadata/fallback_texts.h"
#include "platform/content_type.h"

namespace corvy {

namespace {

// The name of an element of markup in angle brackets, alone or as the only value of a list.
bool isElementName(const PropertyList& value) {
    const Array* array = value.array();
    const PropertyList& tested = array && array->size() == 1 ? array->front() : value;
    const std::u16string* text = tested.string();
    return text && text->starts_with(u'<') && text->ends_with(u'>') &&
           std::ranges::none_of(*text, isWhite);
}

// That importer tells elements of the file's markup as if they were attributes.
void removeElementNames(Dictionary& attributes) {
    std::vector<std::u16string> keys;
    for (const auto& [key, value] : attributes) {
        if (isElementName(value)) keys.push_back(key);
    }
    for (const std::u16string& key : keys) attributes.remove(key);
}

std::unique_ptr<ImporterHost> hostWithWorkersOfItsOwn() {
    auto pool = std::make_shared<platform::WorkerPool>(platform::programFolder());
    return std::make_unique<WorkerImporterHost>(
        [pool](const platform::WorkerRequest& request) { return pool->run(request); });
}

}  // namespace

MetaDataImporter::MetaDataImporter(std::unique_ptr<ImporterHost> host, ImporterPlaces places)
    : host_(std::move(host)), places_(std::move(places)) {}

std::shared_ptr<MetaDataImporter> MetaDataImporter::sharedImporter() {
    static std::weak_ptr<MetaDataImporter> slot;
    auto shared = slot.lock();
    if (!shared) {
        shared = std::make_shared<MetaDataImporter>(hostWithWorkersOfItsOwn());
        slot = shared;
    }
    return shared;
}

void MetaDataImporter::initMDImporters() {
    if (registry_) return;
    // Set first: whatever comes of the discovery, there is no second one.
    registry_.emplace();
    *registry_ = loadMDImporters(places_);
}

const ImporterRegistry& MetaDataImporter::registry() {
    initMDImporters();
    return *registry_;
}

std::optional<ImporterCall> MetaDataImporter::callFor(std::u16string_view path) {
    auto contentType = platform::contentTypeOfFile(path);
    if (!contentType) return std::nullopt;
    std::ranges::transform(*contentType, contentType->begin(), asciiLower);
    const std::u16string* plugIn = registry().importerForType(*contentType);
    if (!plugIn) return std::nullopt;
    return ImporterCall{*plugIn, *std::move(contentType), std::u16string(path)};
}

bool MetaDataImporter::supportsFileAtPath(std::u16string_view path) {
    const auto call = callFor(path);
    return call && host_->offersInterface(call->plugIn);
}

std::optional<Dictionary> MetaDataImporter::metaDataOfFileAtPath(std::u16string_view path) {
    std::optional<Dictionary> attributes;
    if (const auto call = callFor(path)) attributes = host_->attributesOf(*call);
    if (attributes && !attributes->empty()) {
        if (hasSuffixNoCase(path, u".mellel")) removeElementNames(*attributes);
        return attributes;
    }
    if (auto text = fallbackTextOfFile(path)) {
        return Dictionary{{std::u16string(kMDItemTextContent), *std::move(text)}};
    }
    return attributes;
}

std::optional<std::u16string> MetaDataImporter::textContentOfFileAtPath(std::u16string_view path) {
    const auto attributes = metaDataOfFileAtPath(path);
    return attributes ? stringOf(*attributes, kMDItemTextContent) : std::nullopt;
}

}  // namespace corvy
