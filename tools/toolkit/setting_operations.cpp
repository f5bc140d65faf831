#include "foundation/user_defaults.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

constexpr Operation kOperations[] = {
    function<[](std::u16string_view name, std::optional<std::u16string_view> value) {
        using Value = std::optional<std::u16string>;
        UserDefaults::standard().setForProcess(name, value ? Value(*value) : Value());
    }>("setDefault"),
};

}  // namespace

std::span<const Operation> settingOperations() {
    return kOperations;
}

}  // namespace corvy::tools
