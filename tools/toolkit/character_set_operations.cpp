#include "foundation/converters.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

constexpr Operation kOperations[] = {
    function<[](const Bytes& bytes, Encoding encoding) {
        auto decoded = tryToCreateStringWithEncoding(bytes, encoding);
        if (!decoded) return Reply{Null(), {{u"replacements", std::int32_t{0}}}};
        return Reply{std::move(decoded->text),
                     {{u"replacements", static_cast<std::int64_t>(decoded->replacements)}}};
    }>("tryToCreateStringWithEncoding"),
};

}  // namespace

std::span<const Operation> characterSetOperations() {
    return kOperations;
}

}  // namespace corvy::tools
