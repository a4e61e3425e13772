#pragma once

namespace platform {

// Whether this process writes files under fixed names, which it does by default. If it does not, creating
// each of them fails as if its folder were not writable, and the library continues without it. A process-wide
// setting: LibraryEnvironment changes it for the scan worker, and tests do. One thread at a time.
void keepFiles(bool keep);
bool filesAreKept();

}  // namespace platform
