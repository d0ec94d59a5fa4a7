// Notices between programs. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <dispatch/dispatch.h>
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
#define NOTIFY_STATUS_OK 0
#define NOTIFY_TOKEN_INVALID -1
typedef void (^notify_handler_t)(int token);
uint32_t notify_post(const char *name);
uint32_t notify_register_dispatch(const char *name, int *out_token, dispatch_queue_t queue, notify_handler_t handler);
uint32_t notify_cancel(int token);
#ifdef __cplusplus
}
#endif
