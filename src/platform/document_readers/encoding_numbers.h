// The numbers that document attributes have for encodings.
#pragma once

#include <cstdint>

#include "foundation/encoding.h"

namespace corvy::platform {

// 0 for an encoding without a number.
std::int64_t numberOfEncoding(Encoding encoding);

}  // namespace corvy::platform
