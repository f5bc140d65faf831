#include "foundation/remote_interface.h"

#include <algorithm>

namespace corvy {

namespace {

const RemoteMethod* methodWith(const std::vector<RemoteMethod>& methods,
                               std::string RemoteMethod::*field, std::string_view value) {
    const auto found = std::find_if(methods.begin(), methods.end(),
                                    [&](const RemoteMethod& m) { return m.*field == value; });
    return found == methods.end() ? nullptr : &*found;
}

}  // namespace

const RemoteMethod* RemoteInterface::methodForSelector(std::string_view selector) const {
    return methodWith(methods, &RemoteMethod::selector, selector);
}

const RemoteMethod* RemoteInterface::methodForMember(std::string_view member) const {
    return methodWith(methods, &RemoteMethod::member, member);
}

}  // namespace corvy
