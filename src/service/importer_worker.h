// The worker half of calling importers: see metadata/importer_exchange.h.
#pragma once

#include <optional>
#include <string>

#include "foundation/property_list.h"
#include "platform/worker.h"

namespace corvy {

// Loads a plug-in, by the path of its bundle, so that operations find it loaded.
void loadImporter(const std::u16string& plugIn);

std::optional<PropertyList> offersImporterInterface(const Dictionary& arguments,
                                                    platform::WorkerChannel& channel);
// None when there is no interface.
std::optional<PropertyList> importAttributes(const Dictionary& arguments,
                                             platform::WorkerChannel& channel);

}  // namespace corvy
