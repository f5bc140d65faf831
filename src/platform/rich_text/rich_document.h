// A document: attributed text and what is said of it as a whole.
#pragma once

#include "foundation/property_list.h"
#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

struct RichDocument {
    AttributedText text;
    Dictionary attributes;  // under the keys below
};

// Keys of document attributes. They and the values leave with the vended results: other programs
// know them by these names.
namespace document_attribute {

inline constexpr const char16_t* kType = u"DocumentType";                    // one of document_type
inline constexpr const char16_t* kConverted = u"Converted";                  // integer
inline constexpr const char16_t* kCharacterEncoding = u"CharacterEncoding";  // integer
inline constexpr const char16_t* kPaperSize = u"PaperSize";                  // size string, points
inline constexpr const char16_t* kLeftMargin = u"LeftMargin";                // points
inline constexpr const char16_t* kRightMargin = u"RightMargin";
inline constexpr const char16_t* kTopMargin = u"TopMargin";
inline constexpr const char16_t* kBottomMargin = u"BottomMargin";
inline constexpr const char16_t* kViewSize = u"ViewSize";  // size string, points
inline constexpr const char16_t* kViewZoom = u"ViewZoom";  // percent
inline constexpr const char16_t* kViewMode = u"ViewMode";  // 0: as a page is wide, 1: pages
inline constexpr const char16_t* kDefaultTabInterval = u"DefaultTabInterval";  // points
inline constexpr const char16_t* kHyphenationFactor = u"HyphenationFactor";    // 0 to 1
inline constexpr const char16_t* kBackgroundColor = u"BackgroundColor";        // "#RRGGBB"
// Strings; keywords are an array of strings.
inline constexpr const char16_t* kTitle = u"NSTitleDocumentAttribute";
inline constexpr const char16_t* kSubject = u"NSSubjectDocumentAttribute";
inline constexpr const char16_t* kAuthor = u"NSAuthorDocumentAttribute";
inline constexpr const char16_t* kEditor = u"NSEditorDocumentAttribute";
inline constexpr const char16_t* kManager = u"NSManagerDocumentAttribute";
inline constexpr const char16_t* kCompany = u"NSCompanyDocumentAttribute";
inline constexpr const char16_t* kCopyright = u"NSCopyrightDocumentAttribute";
inline constexpr const char16_t* kCategory = u"NSCategoryDocumentAttribute";
inline constexpr const char16_t* kComment = u"NSCommentDocumentAttribute";
inline constexpr const char16_t* kKeywords = u"NSKeywordsDocumentAttribute";
// Dates.
inline constexpr const char16_t* kCreationTime = u"NSCreationTimeDocumentAttribute";
inline constexpr const char16_t* kModificationTime = u"NSModificationTimeDocumentAttribute";

}  // namespace document_attribute

namespace document_type {

inline constexpr const char16_t* kPlainText = u"NSPlainText";
inline constexpr const char16_t* kRtf = u"NSRTF";
inline constexpr const char16_t* kRtfd = u"NSRTFD";
inline constexpr const char16_t* kHtml = u"NSHTML";
inline constexpr const char16_t* kWebArchive = u"NSWebArchive";
inline constexpr const char16_t* kDocFormat = u"NSDocFormat";
inline constexpr const char16_t* kWordML = u"NSWordML";
inline constexpr const char16_t* kOfficeOpenXml = u"NSOfficeOpenXML";
inline constexpr const char16_t* kOpenDocument = u"NSOpenDocument";

}  // namespace document_type

}  // namespace corvy::platform
