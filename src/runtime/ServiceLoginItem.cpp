#include "runtime/ServiceLoginItem.h"

#include "base/Localized.h"

namespace varnel {

namespace {

enum Status : std::int64_t { kNotRegistered = 0, kEnabled = 1, kRequiresApproval = 2, kNotFound = 3 };

} // namespace

LaunchAtLoginState ServiceLoginItem::state() {
    using Kind = LaunchAtLoginState::Kind;
    switch (const std::int64_t status = table_.status()) {
    case kNotRegistered:
    case kNotFound: // what the system says of an application that never was registered
        return {Kind::off};
    case kEnabled:
        return {Kind::on};
    case kRequiresApproval:
        return {Kind::needsApproval};
    default:
        return {Kind::unknown, localized("the system gave the status %1", {std::to_string(status)})};
    }
}

std::expected<void, std::string> ServiceLoginItem::setEnabled(bool enabled) {
    const auto kind = state().kind;
    const bool isKnown = kind != LaunchAtLoginState::Kind::off;
    // The system calls it an error to register or unregister twice. What waits for the user's word stays so.
    if (enabled == isKnown && kind != LaunchAtLoginState::Kind::unknown)
        return {};
    if (auto error = enabled ? table_.registerService() : table_.unregisterService())
        return std::unexpected(*std::move(error));
    return {};
}

} // namespace varnel
