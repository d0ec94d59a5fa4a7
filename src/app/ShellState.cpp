#include "app/ShellState.h"

#include "base/Localized.h"
#include "base/Text.h"

namespace varnel {

namespace {

/// Menus get as wide as their longest line.
constexpr std::size_t kLineLength = 76;

using Action = MenuEntry::Action;

void addPause(std::vector<MenuEntry>& entries, const ShellState& state) {
    if (state.isSuspended && !state.isLocked)
        entries.push_back({Action::resume, state.pauseLeft ? localized("Resume Now (%1 left)",
                                                                       {remainingTime(*state.pauseLeft)})
                                                           : localized("Resume")});
    entries.push_back({Action::pauseShort, localized("Pause for 5 Minutes")});
    entries.push_back({Action::pauseLong, localized("Pause for 30 Minutes")});
    if (!state.isPaused || state.pauseLeft)
        entries.push_back({Action::pauseUntilResumed, localized("Pause Until Resumed")});
}

} // namespace

std::string toolTip(const ShellState& state) {
    std::string text = "Varnel!\n" + state.health.sentence;
    if (!state.health.problems.empty())
        text += "\n" + problemLine(state.health.problems.front());
    return text;
}

std::vector<MenuEntry> menuEntries(const ShellState& state) {
    std::vector<MenuEntry> entries{{Action::showStatus, singleLine(state.health.sentence, kLineLength)}};
    const auto& problems = state.health.problems;
    if (!problems.empty())
        entries.push_back({Action::showStatus, singleLine(problemLine(problems.front()), kLineLength)});
    if (problems.size() == 2)
        entries.push_back({Action::showStatus, localized("1 more problem…")});
    if (problems.size() > 2)
        entries.push_back(
            {Action::showStatus, localized("%1 more problems…", {std::to_string(problems.size() - 1)})});
    if (!state.lastCommand.empty())
        entries.push_back(
            {Action::none, localized("Last: %1", {singleLine(state.lastCommand, kLineLength)})});
    entries.push_back({Action::separator, {}});
    addPause(entries, state);
    entries.push_back({Action::separator, {}});
    entries.push_back({Action::reload, localized("Reload Configuration")});
    entries.push_back({Action::openConfiguration, localized("Open Configuration")});
    entries.push_back({Action::showWhy, localized("Why did nothing happen?")});
    entries.push_back({Action::showSettings, localized("Settings…")});
    entries.push_back({Action::separator, {}});
    entries.push_back({Action::showAbout, localized("About Varnel!")});
    entries.push_back({Action::quit, localized("Quit Varnel!")});
    return entries;
}

} // namespace varnel
