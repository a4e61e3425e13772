#pragma once

#include <map>

class CScannerDriver;

// The registry of drivers by the USB location of their device, owning nothing. Exported under this plain
// name. No code inserts into it: it is always empty, unless a host that knows the name fills it.
extern "C" std::map<unsigned long, CScannerDriver*> gType1Map;

// Looks through the USB devices of platform::usbStack() for one of this model that is not in the registry,
// and returns its location identifier. Where every such device is in the registry it returns the last one's,
// where there is none 0. Opens each device for the time of the question; one that cannot be opened is passed
// over.
unsigned long FindDeviceNotOnMap();
