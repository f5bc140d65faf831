// How commands come by a helper.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/private_helper.h"
#include "foundation/remote_interface.h"
#include "tools/import/helper_slot.h"

namespace corvy::tools {

// No helper, for the reason that it tells.
class HelperUnreachable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class Launching {
    never,     // only the helper that is registered
    ifNeeded,  // that, else a private one
    always     // a private one
};

// The helper of one command. A private one ends with it; Ctrl-C makes its calls fail.
class HelperAccess {
public:
    // `timeout` in seconds for request and reply; 0 leaves the connection's own. Throws
    // HelperUnreachable.
    explicit HelperAccess(Launching launching, double timeout = 0);
    ~HelperAccess();
    HelperAccess(const HelperAccess&) = delete;
    HelperAccess& operator=(const HelperAccess&) = delete;

    RootProxy& proxy() { return *proxy_; }

private:
    std::unique_ptr<PrivateHelper> private_;
    std::unique_ptr<RootProxy> registered_;
    RootProxy* proxy_ = nullptr;
};

// A file as an argument: the helper opens it itself, from another folder.
PropertyList pathForHelper(const std::string& file);

// A private helper; null when it does not come up, or Ctrl-C comes first.
std::unique_ptr<OwnedHelper> launchOwnedHelper();

// Where the worker programs lie: beside the helper.
std::string workerProgramFolder();
// The families of documents whose worker programs lie beside the helper, in the order of their
// names.
std::vector<std::string> workerFamilies();

// What happened, for a person.
std::string explanationOf(const TransportError& error);

}  // namespace corvy::tools
