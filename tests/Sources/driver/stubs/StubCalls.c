#include "StubCalls.h"
