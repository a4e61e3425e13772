#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string_view>

#include "OwnedDescriptor.h"

// Messages of a local socket (AF_UNIX), which carry open files from one process to another. Any thread;
// nothing throws.
namespace platform {

// Sends one message without blocking, and with it a copy of an open file; -1 for none. The descriptor stays
// the caller's. Returns an errno, 0 for success.
int sendMessage(int socket, std::string_view message, int descriptor) noexcept;

// Blocks until there is a message. Returns its length, at most `capacity`; 0 if the connection is closed; -1
// with errno for a failure. `descriptor` gets the file that it carries, which programs started later do not
// inherit, or none; of several, all but the first are closed.
ssize_t receiveMessage(int socket, char* buffer, std::size_t capacity, OwnedDescriptor& descriptor) noexcept;

}  // namespace platform
