// Families of fonts and the PostScript names of their faces.
#pragma once

#include <string>
#include <string_view>

namespace corvy::platform {

// The name of the face: "Times-Bold" for Times, bold. A family that is not known has its own name
// in every face.
std::u16string postScriptName(std::u16string_view family, bool bold, bool italic);
// The family of a face, or the name itself when it is not known.
std::u16string_view familyOfPostScriptName(std::u16string_view name);

}  // namespace corvy::platform
