#include "overlay/macos/KeyTranslation.h"

#include "base/UTF8.h"

#include <Carbon/Carbon.h>

namespace varnel {
namespace {

constexpr UniCharCount kLongestText = 4;

} // namespace

std::string translateKey(KeyCode code) {
    const TISInputSourceRef source = TISCopyCurrentKeyboardLayoutInputSource();
    if (!source)
        return {};
    const auto data =
        static_cast<CFDataRef>(TISGetInputSourceProperty(source, kTISPropertyUnicodeKeyLayoutData));
    UInt32 deadKeys = 0;
    UniCharCount length = 0;
    UniChar text[kLongestText] = {};
    OSStatus status = -1;
    if (data)
        status = UCKeyTranslate(reinterpret_cast<const UCKeyboardLayout*>(CFDataGetBytePtr(data)), code,
                                kUCKeyActionDisplay, 0, LMGetKbdType(), kUCKeyTranslateNoDeadKeysMask,
                                &deadKeys, kLongestText, &length, text);
    CFRelease(source);
    std::string result;
    // One unit: what lies beyond the first plane is on no key without modifiers.
    if (status == 0 && length == 1 && (text[0] < 0xD800 || text[0] > 0xDFFF))
        appendUTF8(result, text[0]);
    return result;
}

} // namespace varnel
