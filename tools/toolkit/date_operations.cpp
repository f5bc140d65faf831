#include "foundation/date.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::optional<std::u16string_view>;

constexpr Operation kOperations[] = {
    method<[](Text self) { return self ? date(*self) : std::nullopt; }>("date"),
    method<[](Text self) { return self ? dateFromHTTPHeaderValue(*self) : std::nullopt; }>(
        "dateFromHTTPHeaderValue"),
};

}  // namespace

std::span<const Operation> dateOperations() {
    return kOperations;
}

}  // namespace corvy::tools
