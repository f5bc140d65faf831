// The toolkit bridge: operations of the text and web toolkit called by JSON, one request and one
// reply a line.
//
//     {"id": 7, "op": "stripTag:", "self": "a<b>c</b>", "args": ["B"]}
//     {"id": 7, "result": "ac"}
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace corvy::tools {

// The reply to one request, without a line feed. Everything that can be wrong with a request is
// said in the reply's "error".
std::string replyToRequest(std::string_view line);

// Replies to each line of `in`, in order, flushing after each, until it ends.
void runToolkitBridge(std::istream& in, std::ostream& out);

}  // namespace corvy::tools
