#include "runtime/macos/MacDoctorFacts.h"

#include "activation/PrivateWindowServer.h"
#include "base/macos/CoreFoundationValues.h"
#include "keyboard/macos/SystemEventTaps.h"
#include "runtime/macos/SystemPermissions.h"

namespace varnel {

namespace {

std::string ownBundleIdentifier() {
    CFBundleRef bundle = CFBundleGetMainBundle();                                    // borrowed
    CFStringRef identifier = bundle ? CFBundleGetIdentifier(bundle) : CFStringRef(); // borrowed
    return identifier ? readString(identifier) : std::string();
}

/// Opens a tap for as long as the call lasts; every event passes.
std::optional<EventTapRequest::Level> tryTap() {
    CoreGraphicsKeyboardEventTapSessionFactory taps(systemEventTaps());
    const auto session = taps.createSession([](const KeyboardEvent&) { return TapVerdict::pass; });
    return taps.grantedLevel();
}

} // namespace

DoctorMac readMacFacts(std::optional<EventTapRequest::Level> level) {
    DoctorMac mac;
    mac.permissions = readPermissions(systemPermissions());
    if (level)
        mac.tapLevel = *level == EventTapRequest::Level::hid ? "hid" : "session";
    for (const PrivateSymbol& symbol : listPrivateSymbols(systemSymbolLoader())) {
        mac.symbols[symbol.name] = symbol.isFound;
        if (symbol.isRequired && !symbol.isFound)
            mac.missingSymbols.push_back(symbol.name);
    }
    mac.bundleIdentifier = ownBundleIdentifier();
    return mac;
}

/// Permissions belong to the program that has them: the running application knows its own.
void addSystemFacts(DoctorFacts& facts) {
    const JSONValue* report = nullptr;
    if (facts.status)
        if (const auto system = facts.status->find("system"); system != facts.status->end())
            report = &system->second;
    facts.mac = report && report->object() ? doctorMac(*report->object()) : readMacFacts(tryTap());
}

} // namespace varnel
