#include "runtime/ProcessMemory.h"

#include <malloc/malloc.h>

namespace varnel {

void prepareMemoryForLongLife() {}

void returnUnusedMemory() {
    ::malloc_zone_pressure_relief(nullptr, 0);
}

} // namespace varnel
