#include "base/macos/CoreFoundationValues.h"

#include <vector>

namespace varnel {

namespace {

JSONValue::Array readArray(CFArrayRef array) {
    JSONValue::Array elements;
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
        if (auto element = readValue(CFArrayGetValueAtIndex(array, i)))
            elements.push_back(*std::move(element));
    return elements;
}

JSONValue::Object readDictionary(CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count), values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    JSONValue::Object members;
    for (std::size_t i = 0; i < count; ++i)
        if (CFGetTypeID(keys[i]) == CFStringGetTypeID())
            if (auto value = readValue(values[i]))
                members.emplace(readString(static_cast<CFStringRef>(keys[i])), *std::move(value));
    return members;
}

/// The objects made of several values; those that make none are left out.
using OwnedList = std::vector<CoreFoundationOwned<CFTypeRef>>;

std::vector<const void*> references(const OwnedList& objects) {
    std::vector<const void*> list;
    for (const auto& object : objects)
        list.push_back(object.get());
    return list;
}

CFTypeRef makeArray(const JSONValue::Array& elements) {
    OwnedList objects;
    for (const JSONValue& element : elements)
        if (auto object = makeValue(element))
            objects.push_back(std::move(object));
    auto list = references(objects);
    return CFArrayCreate(kCFAllocatorDefault, list.data(), static_cast<CFIndex>(list.size()),
                         &kCFTypeArrayCallBacks);
}

CFTypeRef makeDictionary(const JSONValue::Object& members) {
    OwnedList keys, values;
    for (const auto& [key, member] : members)
        if (auto value = makeValue(member)) {
            keys.emplace_back(makeString(key).release());
            values.push_back(std::move(value));
        }
    auto keyList = references(keys), valueList = references(values);
    return CFDictionaryCreate(kCFAllocatorDefault, keyList.data(), valueList.data(),
                              static_cast<CFIndex>(keyList.size()), &kCFTypeDictionaryKeyCallBacks,
                              &kCFTypeDictionaryValueCallBacks);
}

} // namespace

CoreFoundationOwned<CFStringRef> makeString(std::string_view text) {
    return CoreFoundationOwned<CFStringRef>(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

std::string readString(CFStringRef text) {
    const CFIndex size =
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(text), kCFStringEncodingUTF8) + 1;
    std::string out(static_cast<std::size_t>(size), '\0');
    if (!CFStringGetCString(text, out.data(), size, kCFStringEncodingUTF8))
        return {};
    out.resize(out.find('\0'));
    return out;
}

CoreFoundationOwned<CFTypeRef> makeValue(const JSONValue& value) {
    CFTypeRef made = nullptr;
    if (const auto* text = value.string())
        made = makeString(*text).release();
    else if (const auto* number = value.number())
        made = CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, number);
    else if (const auto* truth = value.boolean())
        made = CFRetain(*truth ? kCFBooleanTrue : kCFBooleanFalse);
    else if (const auto* elements = value.array())
        made = makeArray(*elements);
    else if (const auto* members = value.object())
        made = makeDictionary(*members);
    return CoreFoundationOwned<CFTypeRef>(made);
}

std::optional<JSONValue> readValue(CFTypeRef value) {
    const CFTypeID kind = CFGetTypeID(value);
    if (kind == CFStringGetTypeID())
        return readString(static_cast<CFStringRef>(value));
    if (kind == CFBooleanGetTypeID())
        return JSONValue(CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0);
    if (kind == CFArrayGetTypeID())
        return readArray(static_cast<CFArrayRef>(value));
    if (kind == CFDictionaryGetTypeID())
        return readDictionary(static_cast<CFDictionaryRef>(value));
    double number = 0;
    if (kind == CFNumberGetTypeID() &&
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number))
        return number;
    return std::nullopt;
}

} // namespace varnel
