#include "runtime/Permissions.h"

#include <thread>
#include <utility>

namespace varnel {

namespace {

constexpr Duration kLookInterval = 1s;

AccessState accessState(std::uint32_t native) {
    constexpr AccessState kStates[] = {AccessState::granted, AccessState::denied};
    return native < std::size(kStates) ? kStates[native] : AccessState::unknown;
}

} // namespace

PermissionStates readPermissions(const PermissionTable& table) {
    return {.isTrusted = table.isTrusted(),
            .listening = accessState(table.checkListenAccess()),
            .posting = accessState(table.checkPostAccess()),
            .mayPostEvents = table.mayPostEvents(),
            .isSecureInputOn = table.isSecureInputOn()};
}

Permissions::Permissions(PermissionTable table, EventLoop& loop)
    : table_(std::move(table))
    , loop_(loop) {}

void Permissions::request() {
    if (std::exchange(hasAsked_, true))
        return;
    // The permission for Accessibility includes the others.
    if (table_.promptForTrust())
        return;
    const PermissionStates now = states();
    if (!now.mayPostEvents)
        table_.requestPostEvents();
    // The thread may outlive us: a user can leave the dialog open for as long as they like.
    if (now.listening == AccessState::unknown)
        std::thread(table_.requestListenAccess).detach();
}

void Permissions::whenTrusted(std::function<void()> granted) {
    granted_ = std::move(granted);
    timer_ = granted_ ? loop_.after(kLookInterval, [this] { look(); }) : Subscription();
}

void Permissions::look() {
    if (!table_.isTrusted()) {
        timer_ = loop_.after(kLookInterval, [this] { look(); });
        return;
    }
    timer_.reset();
    // The call may ask for the next one.
    if (auto granted = std::exchange(granted_, nullptr))
        granted();
}

} // namespace varnel
