#pragma once

// Memory that only the start of a program needed.
namespace platform {

// Gives back the read-only pages of the program and its libraries. They are most of what a program with many
// libraries has resident after its start, because the loader reads the table of names of each. The system
// reads a page from its file again when it is needed: this is for a server that is about to wait. Any thread,
// any number of times; never fails.
void forgetStartPages() noexcept;

}  // namespace platform
