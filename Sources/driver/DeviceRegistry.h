#pragma once

#include "DriverGlobals.h"

// Looks through the USB devices of platform::usbStack() for one of this model that is not in gType1Map,
// and returns its location identifier. Where every such device is in the registry it returns the last one's,
// where there is none 0. Opens each device for the time of the question; one that cannot be opened is passed
// over.
unsigned long FindDeviceNotOnMap();
