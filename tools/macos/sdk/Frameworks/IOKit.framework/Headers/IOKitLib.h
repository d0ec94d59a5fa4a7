// Services and connections. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <mach/mach.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef mach_port_t io_object_t;
typedef io_object_t io_service_t;
typedef io_object_t io_connect_t;
typedef UInt32 IOOptionBits;
extern const mach_port_t kIOMainPortDefault;
CFMutableDictionaryRef IOServiceMatching(const char *name);
io_service_t IOServiceGetMatchingService(mach_port_t port,
                                         CFDictionaryRef __attribute__((cf_consumed)) matching);
kern_return_t IOServiceOpen(io_service_t service, task_port_t task, uint32_t type, io_connect_t *out);
kern_return_t IOServiceClose(io_connect_t connect);
kern_return_t IOObjectRelease(io_object_t object);
#ifdef __cplusplus
}
#endif
