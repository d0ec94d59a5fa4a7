#include "runtime/ProcessMemory.h"

#include "base/linux/StartupCode.h"

#include <malloc.h>

namespace varnel {

void prepareMemoryForLongLife() {
    ::mallopt(M_ARENA_MAX, 1);
}

void returnUnusedMemory() {
    ::malloc_trim(0);
    forgetStartupCode();
}

} // namespace varnel
