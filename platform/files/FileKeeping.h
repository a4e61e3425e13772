#pragma once

namespace platform {

// Whether this process keeps files under fixed names: a choice of whoever runs the library in it, made before
// the first of them is due. Where it keeps none, each one fails as if its folder could not be written to. It
// keeps them until told otherwise. One thread at a time.
void keepFiles(bool keep);
bool filesAreKept();

}  // namespace platform
