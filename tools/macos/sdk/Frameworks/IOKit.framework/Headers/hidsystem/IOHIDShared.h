// Kept apart because real headers are. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <IOKit/hidsystem/IOHIDLib.h>
