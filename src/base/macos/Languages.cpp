#include "base/Localization.h"

#include "base/macos/CoreFoundationValues.h"

namespace varnel {

std::vector<std::string> systemLanguages() {
    const CoreFoundationOwned<CFArrayRef> preferred(CFLocaleCopyPreferredLanguages());
    const auto value = readValue(preferred.get());
    const JSONValue::Array* names = value ? value->array() : nullptr;
    std::vector<std::string> languages;
    if (!names)
        return languages;
    for (const JSONValue& name : *names) // "de-AT", "ja-JP", "zh-Hant-TW"
        if (name.string() && !addLocale(languages, *name.string()))
            break;
    return languages;
}

} // namespace varnel
