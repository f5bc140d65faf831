// Office documents that are archives of parts, which are related to each other.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "platform/document_readers/document_facts.h"
#include "platform/document_readers/xml_part.h"
#include "platform/document_readers/zip_archive.h"

namespace corvy::platform {

inline constexpr std::string_view kWordNameSpace2003 =
    "http://schemas.microsoft.com/office/word/2003/wordml";

struct Relation {
    std::string type;    // the last part of its address
    std::string target;  // a name in the archive, or an address
    bool isOutside = false;
};
using Relations = std::map<std::string, Relation, std::less<>>;  // by identifier

// Of a part; of the archive itself for an empty name.
Relations relationsOf(ZipArchive& archive, const std::string& part);
// The part that another one is related to in that way; empty when there is none.
std::string targetOfType(const Relations& relations, std::string_view type);

enum class OfficeKind { text, spreadsheet, presentation };

// The part that holds the document; that of a text where the archive does not tell.
std::string mainPart(ZipArchive& archive);
OfficeKind kindOfMainPart(std::string_view part);
// Whether an archive has such a part.
bool isOfficePackage(ZipArchive& archive);

// With the usual prefixes, in the usual and in the strict form. Empty when there is no such part.
pugi::xml_document parseOfficeXml(std::span<const std::byte> bytes);
pugi::xml_document parseOfficePart(ZipArchive& archive, const std::string& name);

DocumentFacts factsOfOfficePackage(ZipArchive& archive);

}  // namespace corvy::platform
