#include "BridgeFromC.h"

#include "DebugBridge.h"

void logFromC(void) {
  BridgeNSLog("from C: %d and %s", 7, "text");
}
