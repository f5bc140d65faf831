// Holds a name: its lock, and the listening socket that clients find under it.
//
// The owner of a name is the process that holds the record lock on "NAME.lock". Such a lock dies
// with its process, even if a child lives on. The socket is bound under a temporary name and
// renamed once it listens, so a client finds either the socket of a dead process or a listening
// one.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "foundation/descriptor.h"

namespace corvy::platform {

class Registration {
public:
    // Null, with nothing left behind but the lock file, when the name is taken or anything else is
    // in the way. A listening socket that the process was started with is used for the first name.
    static std::unique_ptr<Registration> take(std::string_view name);
    // Removes the socket, unless it came from outside, and gives the name up.
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    // Listening, non-blocking.
    int socket() const { return socket_.get(); }

private:
    Registration() = default;

    std::string key_;   // among the names that this process holds
    std::string path_;  // of a socket that we made, else empty
    Descriptor lock_;
    Descriptor socket_;
};

}  // namespace corvy::platform
