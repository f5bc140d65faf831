// Metadata and text of files, read through importer plug-ins.
//
// The registry of importers is made on the first question that needs it and never again. Only the
// plug-ins themselves run elsewhere (importer_host.h). Used from one thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "metadata/importer_host.h"
#include "metadata/importer_places.h"
#include "metadata/importer_registry.h"

namespace corvy {

// The attribute that holds a file's text.
inline constexpr std::u16string_view kMDItemTextContent = u"kMDItemTextContent";

class MetaDataImporter {
public:
    explicit MetaDataImporter(std::unique_ptr<ImporterHost> host,
                              ImporterPlaces places = standardImporterPlaces());

    // The one that a process shares as long as somebody holds it; made on first use, with workers
    // of its own.
    static std::shared_ptr<MetaDataImporter> sharedImporter();

    // The attributes of the file. Values may be null placeholders. None when no importer reads its
    // type, and it is no document whose text is found without one.
    std::optional<Dictionary> metaDataOfFileAtPath(std::u16string_view path);
    // The file's text alone.
    std::optional<std::u16string> textContentOfFileAtPath(std::u16string_view path);
    // Whether an importer for the file's type is there and offers its interface.
    bool supportsFileAtPath(std::u16string_view path);

    // The importers; makes the registry if that has not been done. Valid as long as this.
    const ImporterRegistry& registry();

private:
    void initMDImporters();
    // The importer for the file and the file's type; none when there is none.
    std::optional<ImporterCall> callFor(std::u16string_view path);

    std::unique_ptr<ImporterHost> host_;
    ImporterPlaces places_;
    std::optional<ImporterRegistry> registry_;
};

}  // namespace corvy
