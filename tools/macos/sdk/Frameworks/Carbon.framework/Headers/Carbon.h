// The keyboard type and secure input. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#ifdef __cplusplus
extern "C" {
#endif
UInt8 LMGetKbdType(void);
Boolean IsSecureEventInputEnabled(void);
#ifdef __cplusplus
}
#endif
