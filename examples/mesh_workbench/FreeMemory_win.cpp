#include "FreeMemory.h"

void joinFreeBlocksAtOnce() {}
