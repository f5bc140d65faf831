// The records of a folder that `import --out` has written, as their readers see them.
#pragma once

#include <functional>
#include <string>

#include "foundation/property_list.h"

namespace corvy::tools {

// Visits the last record of each path, in the order of the file; what is no record is passed over.
// Throws std::runtime_error, with the reason for a person, when there are none to be read.
void forEachRecord(
    const std::string& folder,
    const std::function<void(const std::string& path, const Dictionary& record)>& visit);

// A dictionary inside the record; null when there is none.
const Dictionary* partOf(const Dictionary& record, std::u16string_view key);

// Whether the name of a text or thumbnail stays below the folder of its record.
bool isInside(std::u16string_view file);

// What the document calls itself, empty when it does not.
std::u16string titleOf(const Dictionary& record);

}  // namespace corvy::tools
