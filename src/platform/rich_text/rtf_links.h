// The instructions of fields.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy::platform {

// The address that a field leads to: HYPERLINK "address" \l "place". None for other fields.
std::optional<std::u16string> linkOfInstruction(std::u16string_view instruction);

}  // namespace corvy::platform
