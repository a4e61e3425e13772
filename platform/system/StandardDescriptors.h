#pragma once

// Standard input, output and error, as the caller of a program passes them on.
namespace platform {

// Opens those of the three standard descriptors that the caller of the program has closed, so that no file or
// socket of ours gets one of their numbers and with it whatever is printed there. Writing to one that was
// closed fails as it would have. Before anything else is opened. Never fails.
void reserveStandardDescriptors() noexcept;

}  // namespace platform
