#pragma once

#include "runtime/Health.h"

#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// What icon, menu and windows show. A plain value.
struct ShellState {
    Health health;
    bool isPaused = false;             ///< by the user
    std::optional<Duration> pauseLeft; ///< of a pause that ends by itself
    bool isSuspended = false;          ///< for whatever reason
    bool isLocked = false;
    std::string lastCommand; ///< what the last command said
    friend bool operator==(const ShellState&, const ShellState&) = default;
};

/// One line of the icon's menu.
struct MenuEntry {
    enum class Action {
        none, ///< only to be read
        showStatus,
        pauseShort,
        pauseLong,
        pauseUntilResumed,
        resume,
        reload,
        openConfiguration,
        showWhy,
        showSettings,
        showAbout,
        quit,
        separator,
    } action = Action::none;
    std::string text;
    friend bool operator==(const MenuEntry&, const MenuEntry&) = default;
};

inline constexpr Duration kShortPause = std::chrono::minutes(5);
inline constexpr Duration kLongPause = std::chrono::minutes(30);

/// Health and the latest problem first, then what can be done.
std::vector<MenuEntry> menuEntries(const ShellState& state);
/// The text that appears over the icon.
std::string toolTip(const ShellState& state);

} // namespace varnel
