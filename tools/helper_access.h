// How commands come by a helper.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/private_helper.h"
#include "foundation/descriptor.h"
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

// A file that the helper opens itself. Standard input ("-") is read to its end and kept in memory
// that other processes can open, as long as this lives.
class FileForHelper {
public:
    // `mayBeFolder`: some documents are folders.
    explicit FileForHelper(const std::string& file, bool mayBeFolder = false);

    // Why it cannot be opened; empty when it can.
    const std::string& fault() const { return fault_; }
    // Absolute: the helper works in another folder.
    const std::u16string& path() const { return path_; }

private:
    Descriptor memory_;
    std::u16string path_;
    std::string fault_;
};

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
