#pragma once

#include "base/JSONValue.h"

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace varnel {

struct CoreFoundationRelease {
    void operator()(const void* object) const { CFRelease(object); }
};
/// Owns an object that a function named "Create" or "Copy" gave; may be null.
template <typename Reference>
using CoreFoundationOwned = std::unique_ptr<std::remove_pointer_t<Reference>, CoreFoundationRelease>;

CoreFoundationOwned<CFStringRef> makeString(std::string_view text);
std::string readString(CFStringRef text);
/// Null values make none.
CoreFoundationOwned<CFTypeRef> makeValue(const JSONValue& value);
/// Strings, numbers, booleans, arrays and dictionaries with string keys; none for other kinds. Elements of
/// other kinds are left out.
std::optional<JSONValue> readValue(CFTypeRef value);

} // namespace varnel
