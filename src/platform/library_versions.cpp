#include "platform/library_versions.h"

#include <glib.h>
#include <unicode/uversion.h>

#include <string>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

std::u16string icuVersion() {
    UVersionInfo numbers;
    char text[U_MAX_VERSION_STRING_LENGTH];
    u_getVersion(numbers);
    u_versionToString(numbers, text);
    return fromUtf8(text);
}

}  // namespace

Dictionary serviceLibraries() {
    return {
        {u"GLib",
         fromUtf8(std::to_string(glib_major_version) + "." + std::to_string(glib_minor_version) +
                  "." + std::to_string(glib_micro_version))},
        {u"ICU", icuVersion()},
        {u"libsystemd", fromUtf8(CORVY_LIBSYSTEMD_VERSION)},
    };
}

}  // namespace corvy::platform
