// Attributes for which no public name exists.
#pragma once

namespace corvy::own_keys {

inline constexpr const char* kTextEncoding = "org_corvystack_textEncoding";  // string
inline constexpr const char* kLineCount = "org_corvystack_lineCount";        // integers
inline constexpr const char* kWordCount = "org_corvystack_wordCount";
inline constexpr const char* kItemCount = "org_corvystack_itemCount";              // what it holds
inline constexpr const char* kUnpackedSize = "org_corvystack_unpackedSize";        // bytes
inline constexpr const char* kIsEncrypted = "org_corvystack_isEncrypted";          // boolean
inline constexpr const char* kAttachmentNames = "org_corvystack_attachmentNames";  // lists
inline constexpr const char* kFontFamilies = "org_corvystack_fontFamilies";
inline constexpr const char* kFontStyles = "org_corvystack_fontStyles";
inline constexpr const char* kGlyphCount = "org_corvystack_glyphCount";    // integer
inline constexpr const char* kFrameRate = "org_corvystack_frameRate";      // real, of a second
inline constexpr const char* kOrientation = "org_corvystack_orientation";  // integer, as in Exif
inline constexpr const char* kStartDate = "org_corvystack_startDate";      // dates
inline constexpr const char* kEndDate = "org_corvystack_endDate";
inline constexpr const char* kBirthday = "org_corvystack_birthday";

}  // namespace corvy::own_keys
