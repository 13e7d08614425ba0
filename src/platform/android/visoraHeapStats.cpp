// Nothing is counted here. A file of their own keeps the compiler from leaving out the calls, which a program may want
// to receive.
#include "visora/memory.h"

void vsrHeapStatsInit(void) {}

void vsrHeapStatsMalloc(void* /*allocation*/, size_t /*size*/) {}

void vsrHeapStatsFree(void* /*allocation*/) {}
