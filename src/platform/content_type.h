// The content type of files, as uniform type identifiers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy::platform {

// The type of the file or folder at the path, links followed; none when there is nothing, or a
// device, pipe or socket.
// - A folder is a package when its extension is declared for one, else "public.folder".
// - A file is what its extension stands for, unless its first bytes are those of another format
//   where the type has bytes of its own; an extension that nobody has declared gives a dynamic
//   type, whatever the bytes are.
// - Without an extension the classic type code counts, then the first bytes, then whether it is
//   text or a program; "public.data" in the end.
std::optional<std::u16string> contentTypeOfFile(std::u16string_view path);

}  // namespace corvy::platform
