// Where importer plug-ins are looked for.
#pragma once

#include <string>

namespace corvy {

struct ImporterPlaces {
    // Stands for "/" in front of the system's folders, such as "/Library/Spotlight", and of the
    // tool that lists importers; without a slash at its end.
    std::u16string root = {};
    // The user's library folder; empty when there is none.
    std::u16string userLibrary = {};
    // What "~" stands for.
    std::u16string home = {};

    // Empty when there is no such folder.
    std::u16string userSpotlight() const {
        return userLibrary.empty() ? u"" : userLibrary + u"/Spotlight";
    }
    std::u16string librarySpotlight() const { return root + u"/Library/Spotlight"; }
    std::u16string systemSpotlight() const { return root + u"/System/Library/Spotlight"; }
    std::u16string tool() const { return root + u"/usr/bin/mdimport"; }
};

// Those of this process: $CORVYSTACK_ROOT, or the installation's own folder (beside the program in
// a build); $XDG_DATA_HOME/corvystack, or ~/.local/share/corvystack.
ImporterPlaces standardImporterPlaces();

}  // namespace corvy
