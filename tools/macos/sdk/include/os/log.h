// Unified log. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
#ifdef __OBJC__
@class NSObject;
typedef NSObject *os_log_t;
#else
typedef struct os_log_s *os_log_t;
#endif
typedef uint8_t os_log_type_t;
enum : os_log_type_t { OS_LOG_TYPE_DEFAULT = 0, OS_LOG_TYPE_INFO = 1, OS_LOG_TYPE_DEBUG = 2, OS_LOG_TYPE_ERROR = 0x10, OS_LOG_TYPE_FAULT = 0x11 };
__attribute__((ns_returns_retained)) os_log_t os_log_create(const char *subsystem, const char *category);
bool os_log_type_enabled(os_log_t log, os_log_type_t type);
void _os_log_impl(void *dso, os_log_t log, os_log_type_t type, const char *format, uint8_t *buf, uint32_t size);
extern void *__dso_handle;
#ifdef __cplusplus
}
#endif
// The format must be a string literal: the compiler encodes the arguments from it.
#define os_log_with_type(log, type, fmt, ...)                                                \
  __extension__({                                                                            \
    if (os_log_type_enabled(log, type)) {                                                    \
      static const char log_format[] __attribute__((section("__TEXT,__oslogstring"))) = fmt; \
      uint8_t log_buffer[__builtin_os_log_format_buffer_size(fmt, ##__VA_ARGS__)];          \
      __builtin_os_log_format(log_buffer, fmt, ##__VA_ARGS__);                              \
      _os_log_impl(&__dso_handle, log, type, log_format, log_buffer, sizeof log_buffer);  \
    }                                                                                        \
  })
