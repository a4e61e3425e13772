#pragma once

#include "DriverGlobals.h"

// Searches the USB devices of platform::usbStack() for one of this model that is not in gType1Map and returns
// its location identifier: that of the last such device if all of them are registered, 0 if there is none.
// Opens and closes each device examined. One that cannot be opened is closed as well and skipped.
unsigned long FindDeviceNotOnMap();
