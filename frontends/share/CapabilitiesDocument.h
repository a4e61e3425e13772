#pragma once

#include <string>
#include <string_view>

#include "ShareIdentity.h"

namespace frontend::share {

// The ScannerCapabilities document: what readTicket() accepts. `address` is where clients reach the server,
// by a name that all of them resolve, without a path: "http://myhost.local:8750". If it is empty, the
// document contains no addresses: clients use them, and one that cannot be resolved is worse than none.
// Throws nothing but std::bad_alloc.
std::string capabilitiesDocument(const ShareIdentity& identity, std::string_view address);

}  // namespace frontend::share
