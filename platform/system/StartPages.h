#pragma once

// Memory that is needed only while a program starts.
namespace platform {

// Releases the read-only pages of the program and its libraries. They are most of what a program with many
// libraries has resident after its start, because the loader reads the table of names of each. The system
// reads a page from its file again when it is needed: intended for a server that is about to wait. Any
// thread, any number of times; never fails.
void forgetStartPages() noexcept;

}  // namespace platform
