// Posting key events through the HID system. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <IOKit/IOKitLib.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef struct IOGPoint { SInt16 x, y; } IOGPoint;

// Only the key part is named; the whole is 48 bytes.
typedef union {
  struct {
    UInt16 origCharSet;
    SInt16 repeat;
    UInt16 charSet;
    UInt16 charCode;
    UInt16 keyCode;
    UInt16 origCharCode;
    SInt32 reserved1;
    UInt32 keyboardType;
    SInt32 rest[7];
  } key;
  UInt8 bytes[48];
} NXEventData;

#define kNXEventDataVersion 2
enum { kIOHIDParamConnectType = 1 };
enum { kIOHIDSetGlobalEventFlags = 1, kIOHIDPostHIDManagerEvent = 8 };
kern_return_t IOHIDPostEvent(io_connect_t connect, UInt32 type, IOGPoint at, const NXEventData *data,
                             UInt32 version, IOOptionBits flags, IOOptionBits options);

typedef enum { kIOHIDRequestTypePostEvent, kIOHIDRequestTypeListenEvent } IOHIDRequestType;
typedef enum { kIOHIDAccessTypeGranted, kIOHIDAccessTypeDenied, kIOHIDAccessTypeUnknown } IOHIDAccessType;
IOHIDAccessType IOHIDCheckAccess(IOHIDRequestType type);
bool IOHIDRequestAccess(IOHIDRequestType type);
#ifdef __cplusplus
}
#endif
