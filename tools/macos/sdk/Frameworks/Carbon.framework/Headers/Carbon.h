// The keyboard type, the layout in use and secure input. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#ifdef __cplusplus
extern "C" {
#endif
UInt8 LMGetKbdType(void);
Boolean IsSecureEventInputEnabled(void);
typedef struct OpaqueTISInputSource *TISInputSourceRef;
extern const CFStringRef kTISPropertyUnicodeKeyLayoutData;
TISInputSourceRef TISCopyCurrentKeyboardLayoutInputSource(void);
void *TISGetInputSourceProperty(TISInputSourceRef source, CFStringRef key);
typedef struct UCKeyboardLayout UCKeyboardLayout;
typedef uint32_t OptionBits;
enum { kUCKeyActionDisplay = 3, kUCKeyTranslateNoDeadKeysMask = 1 };
OSStatus UCKeyTranslate(const UCKeyboardLayout *layout, UInt16 code, UInt16 action, UInt32 modifiers, UInt32 keyboardType,
                        OptionBits options, UInt32 *deadKeyState, UniCharCount capacity, UniCharCount *length,
                        UniChar *text);
#ifdef __cplusplus
}
#endif
