#pragma once

#include "DriverGlobals.h"

// Searches the USB devices of platform::usbStack() for one of this model that is not in gType1Map and returns
// its location identifier; the last such device's where all of them are registered, 0 where there is none.
// Opens and closes each device on the way. One that cannot be opened is closed as well and skipped.
unsigned long FindDeviceNotOnMap();
