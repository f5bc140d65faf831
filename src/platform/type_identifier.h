// Uniform type identifiers: the declared ones with their tags and conformance, and dynamic ones for
// files that nobody has declared.
//
// Identifiers, extensions and MIME types match in any case, type codes exactly. Answers that name a
// declared type have its own spelling, in lower case.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy::platform {

enum class TagClass {
    filenameExtension,  // without the dot
    mimeType,
    typeCode,  // four characters
};

// Whose extension it is: the same one may be that of a document and of a folder that is one.
enum class ItemKind { file, folder };

// The declared type that a tag stands for; `kind` counts for extensions alone.
std::optional<std::u16string> declaredTypeForTag(TagClass tagClass, std::u16string_view tag,
                                                 ItemKind kind = ItemKind::file);
// The dynamic identifier "dyn.a..." that holds tag and kind. Extensions and MIME types are put into
// it in lower case, as equal tags shall give equal identifiers.
std::u16string dynamicTypeForTag(TagClass tagClass, std::u16string_view tag,
                                 ItemKind kind = ItemKind::file);
// The declared type, else the dynamic one.
std::u16string typeForTag(TagClass tagClass, std::u16string_view tag,
                          ItemKind kind = ItemKind::file);

// The first of the tags that a declared type, or a dynamic one, has of a class.
std::optional<std::u16string> preferredTag(std::u16string_view identifier, TagClass tagClass);

// Whether a type is the other one or stands below it. A dynamic type conforms as it says itself;
// one that is not declared conforms to nothing but itself.
bool conformsTo(std::u16string_view identifier, std::u16string_view to);

}  // namespace corvy::platform
