// What the service and the worker that calls importers say to each other.
#pragma once

namespace corvy::importer_exchange {

inline constexpr const char* kFamily = "importer";
inline constexpr const char* kOffersInterface = "offersInterface";  // its result: a flag
// Its parts: an empty dictionary once there is an interface, then a dictionary with one entry for
// each attribute that is set, and a key for each that is removed. Its result says nothing.
inline constexpr const char* kImport = "import";
// Arguments.
inline constexpr const char16_t* kPlugIn = u"plugIn";
inline constexpr const char16_t* kContentType = u"contentType";
inline constexpr const char16_t* kPath = u"path";

}  // namespace corvy::importer_exchange
