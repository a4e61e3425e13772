#include "BitmapExport.h"
