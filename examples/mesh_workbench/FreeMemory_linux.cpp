#include "FreeMemory.h"

#include <malloc.h>

void joinFreeBlocksAtOnce()
{
    mallopt(M_MXFAST, 0); // no list of small blocks that stay apart
}
