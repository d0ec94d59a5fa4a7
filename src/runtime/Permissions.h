#pragma once

#include "base/EventLoop.h"
#include "base/Subscription.h"

#include <cstdint>
#include <functional>

namespace varnel {

/// What macOS knows about the rights of this process; one entry for each call.
struct PermissionTable {
    /// Whether the process has the permission for Accessibility. Any thread.
    std::function<bool()> isTrusted;
    /// The same, and shows the system's dialog where it has not. Returns at once.
    std::function<bool()> promptForTrust;
    std::function<std::uint32_t()> checkListenAccess; ///< an `IOHIDAccessType`
    std::function<std::uint32_t()> checkPostAccess;   ///< an `IOHIDAccessType`
    /// Waits for the permission service, and for the user where it asks: never on the main thread.
    std::function<bool()> requestListenAccess;
    std::function<bool()> mayPostEvents;
    std::function<bool()> requestPostEvents; ///< may show a dialog
    /// Whether some program has the keyboard to itself, so that no key reaches a tap.
    std::function<bool()> isSecureInputOn;
};

enum class AccessState { granted, denied, unknown };

struct PermissionStates {
    bool isTrusted = false;
    AccessState listening = AccessState::unknown;
    AccessState posting = AccessState::unknown;
    bool mayPostEvents = false;
    bool isSecureInputOn = false;

    friend bool operator==(const PermissionStates&, const PermissionStates&) = default;
};

/// The permissions that the user has given, never asking for any.
PermissionStates readPermissions(const PermissionTable& table);

/// Asks for the permissions that capturing and posting keys need, and notices when they are given: the system
/// tells nobody. Main thread.
class Permissions {
public:
    /// `loop` must outlive the object.
    Permissions(PermissionTable table, EventLoop& loop);

    [[nodiscard]] bool isTrusted() const { return table_.isTrusted(); }
    [[nodiscard]] PermissionStates states() const { return readPermissions(table_); }

    /// Shows the system's dialogs for what is missing, and for nothing that the user has refused before.
    /// Later calls ask nothing. Returns at once; an answer that takes long is waited for on a thread of its
    /// own.
    void request();

    /// Calls `granted` once, in a later turn of the loop, as soon as the process is trusted. Looks once a
    /// second; another call takes the place of this one, and none ends it.
    void whenTrusted(std::function<void()> granted);

private:
    void look();

    PermissionTable table_;
    EventLoop& loop_;
    bool hasAsked_ = false;
    std::function<void()> granted_;
    Subscription timer_;
};

} // namespace varnel
