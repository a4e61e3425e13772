#pragma once

#include <cstdint>
#include <string>

#include "ScanOutcome.h"
#include "ScanRequest.h"

namespace hostile {

// The scan for this seed: a small page in any mode, seldom a larger one, with the seed where the hostile
// worker finds it.
frontend::ScanRequest requestFor(std::uint32_t seed);

// Whether a broken device may end a scan like this: with this status and a matching sentence, in printable
// ASCII. A dead worker, lack of memory and a request that is not understood are not allowed.
bool isDesigned(const frontend::ScanOutcome& outcome);

// What is wrong with the scan of the device with this seed, which some seeds cancel; empty if nothing is.
// `result` is set to the outcome, which depends on the seed alone, whatever else the machine does. Blocks
// until the worker has exited.
std::string complaintAbout(std::uint32_t seed, const std::string& worker,
                           frontend::ScanOutcome* result = nullptr);

// The outcome of a scan by the honest virtual scanner: "The page was scanned.", and every byte of it arrived.
std::string goodScan(const std::string& worker);

}  // namespace hostile
