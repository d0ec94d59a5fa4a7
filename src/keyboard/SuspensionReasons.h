#pragma once

namespace varnel {

/// Reasons for which the engine is suspended that have words of their own. All others are the user's and are
/// shown as they are.
inline constexpr const char* kPauseReason = "pause"; ///< in the menu, for some time or until resumed
inline constexpr const char* kPanicReason = "panic keys";
inline constexpr const char* kLockedReason = "session locked";
inline constexpr const char* kAsleepReason = "computer asleep";

} // namespace varnel
