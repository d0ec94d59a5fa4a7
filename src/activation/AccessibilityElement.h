#pragma once

#include <cstdint>
#include <memory>

namespace varnel {

using ProcessIdentifier = std::int32_t;
/// A window's number at the window server (an X11 window identifier there). 0 is none.
using WindowNumber = std::uint32_t;

/// A window or an application of another program, as the accessibility service names it. Only the controller
/// that gave it understands `handle`; `keepAlive` holds a native object that must not go away before the
/// element.
struct AccessibilityElement {
    std::uintptr_t handle = 0;
    std::shared_ptr<const void> keepAlive = nullptr;
    friend bool operator==(const AccessibilityElement& a, const AccessibilityElement& b) {
        return a.handle == b.handle;
    }
};

/// What an accessibility call answers: the service's own numbers, so that traces can be looked up.
enum class AccessibilityResult : std::int32_t {
    success = 0,
    failure = -25200,
    illegalArgument = -25201,
    invalidElement = -25202,
    cannotComplete = -25204, ///< no answer in time; the request may still be carried out
    attributeUnsupported = -25205,
    actionUnsupported = -25206,
    disabled = -25211, ///< not permitted
    noValue = -25212,
};

} // namespace varnel
