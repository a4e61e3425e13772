#pragma once

// What a program inherits and does not need: descriptors of files and connections, and an environment that
// may hold keys and passwords. The worker is started without either; a program that the user starts gives
// them up before it reads untrusted bytes.
namespace platform {

// Closes all descriptors but the three standard ones. Call it before the first is opened, while there is one
// thread. Before Linux 5.9 it does nothing. Never fails.
void closeInheritedDescriptors() noexcept;

// Removes every variable of the environment and overwrites its text, also where a pointer to it was kept.
// Call it when all variables have been evaluated, while there is one thread. Never fails.
void forgetEnvironment() noexcept;

}  // namespace platform
