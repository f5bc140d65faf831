// Arguments and results of remote calls as the command line writes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/remote_interface.h"

namespace corvy::tools {

// Both throw, with a message for a person: std::invalid_argument for arguments that do not fit,
// std::runtime_error for a file that cannot be read.
//
// true, false, integers and null; @FILE: the bytes of a file, @- those of standard input;
// url:ADDRESS; str:TEXT; anything else a string. `wanted` settles what may stand there: a flag
// takes only true or false, a size only an integer.
RemoteValue argumentOf(std::string_view text, const RemoteArgument& wanted);

// All arguments of a call. A relative path is completed by the working directory, since the helper
// has another; `str:` keeps it as it is.
std::vector<RemoteValue> argumentsOf(const RemoteMethod& method,
                                     const std::vector<std::string>& texts);

struct ResultStyle {
    bool pretty = false;
    std::string outFolder = {};  // bytes become files there; empty: they stand in the JSON
};

// The result as one JSON value. Throws std::runtime_error when a file cannot be written.
std::string jsonOfResult(const RemoteValue& result, const ResultStyle& style);

// The extension that fits bytes of some format that helpers give: "pdf", "tiff", ...; "bin" for
// others.
std::string_view extensionForBytes(std::string_view bytes);

}  // namespace corvy::tools
