// Spreadsheets in SpreadsheetML (.xlsx): what is written in their cells.
#pragma once

#include "platform/document_readers/document_facts.h"
#include "platform/document_readers/zip_archive.h"

namespace corvy::platform {

// Bytes of a part; a sheet with more is left out.
inline constexpr std::size_t kLongestSheet = std::size_t{64} << 20;

// For each sheet its name, then its rows, cells apart by tabs, then notes on cells. Numbers are as
// they are stored, dates therefore days; results of formulas as they were last computed.
TextInParts textOfSpreadsheet(ZipArchive& archive);

}  // namespace corvy::platform
