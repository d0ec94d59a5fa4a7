#include "commands/WindowManagerOperations.h"

#include "base/Localized.h"

#include <algorithm>

namespace varnel {

namespace {

using Needs = WindowManagerOperation::Needs;

constexpr WindowManagerOperation kOperations[] = {
    {"focus-left", "Moves focus to the window on the left.", "aerospace focus left"},
    {"focus-right", "Moves focus to the window on the right.", "aerospace focus right"},
    {"focus-up", "Moves focus to the window above.", "aerospace focus up"},
    {"focus-down", "Moves focus to the window below.", "aerospace focus down"},
    {"focus-dfs-next", "Moves to the next window in DFS order.", "aerospace focus dfs-next"},
    {"focus-dfs-prev", "Moves to the previous window in DFS order.", "aerospace focus dfs-prev"},
    {"focus-back-and-forth", "Returns to the previously focused window.", "aerospace focus-back-and-forth"},
    {"focus-monitor-left", "Moves focus to the monitor on the left.", "aerospace focus-monitor left"},
    {"focus-monitor-right", "Moves focus to the monitor on the right.", "aerospace focus-monitor right"},
    {"focus-monitor-up", "Moves focus to the monitor above.", "aerospace focus-monitor up"},
    {"focus-monitor-down", "Moves focus to the monitor below.", "aerospace focus-monitor down"},
    {"focus-monitor-next", "Moves focus to the next monitor.", "aerospace focus-monitor next"},
    {"focus-monitor-prev", "Moves focus to the previous monitor.", "aerospace focus-monitor prev"},
    {"focus-monitor-pattern", "Moves focus to the monitor matching a pattern.",
     "aerospace focus-monitor <pattern>", Needs::monitorPattern},
    {"workspace-name", "Switches to the specified workspace.", "aerospace workspace work", Needs::workspace},
    {"workspace-next", "Moves to the next workspace.", "aerospace workspace next"},
    {"workspace-prev", "Moves to the previous workspace.", "aerospace workspace prev"},
    {"workspace-back-and-forth", "Returns to the last used workspace.", "aerospace workspace-back-and-forth"},
    {"summon-workspace", "Brings the specified workspace to the current monitor.",
     "aerospace summon-workspace work", Needs::workspace},
    {"move-left", "Moves the active window to the container on the left.", "aerospace move left"},
    {"move-right", "Moves the active window to the container on the right.", "aerospace move right"},
    {"move-up", "Moves the active window to the container above.", "aerospace move up"},
    {"move-down", "Moves the active window to the container below.", "aerospace move down"},
    {"move-node-to-workspace-name", "Moves the active window to the specified workspace.",
     "aerospace move-node-to-workspace work", Needs::workspace},
    {"move-node-to-workspace-next", "Moves the active window to the next workspace.",
     "aerospace move-node-to-workspace next"},
    {"move-node-to-workspace-prev", "Moves the active window to the previous workspace.",
     "aerospace move-node-to-workspace prev"},
    {"move-node-to-monitor-left", "Moves the active window to the monitor on the left.",
     "aerospace move-node-to-monitor left"},
    {"move-node-to-monitor-right", "Moves the active window to the monitor on the right.",
     "aerospace move-node-to-monitor right"},
    {"move-node-to-monitor-up", "Moves the active window to the monitor above.",
     "aerospace move-node-to-monitor up"},
    {"move-node-to-monitor-down", "Moves the active window to the monitor below.",
     "aerospace move-node-to-monitor down"},
    {"move-node-to-monitor-next", "Moves the active window to the next monitor.",
     "aerospace move-node-to-monitor next"},
    {"move-node-to-monitor-prev", "Moves the active window to the previous monitor.",
     "aerospace move-node-to-monitor prev"},
    {"move-node-to-monitor-pattern", "Moves the active window to the monitor matching a pattern.",
     "aerospace move-node-to-monitor <pattern>", Needs::monitorPattern},
    {"move-workspace-to-monitor-left", "Moves the workspace to the monitor on the left.",
     "aerospace move-workspace-to-monitor left"},
    {"move-workspace-to-monitor-right", "Moves the workspace to the monitor on the right.",
     "aerospace move-workspace-to-monitor right"},
    {"move-workspace-to-monitor-up", "Moves the workspace to the monitor above.",
     "aerospace move-workspace-to-monitor up"},
    {"move-workspace-to-monitor-down", "Moves the workspace to the monitor below.",
     "aerospace move-workspace-to-monitor down"},
    {"move-workspace-to-monitor-next", "Moves the workspace to the next monitor.",
     "aerospace move-workspace-to-monitor next"},
    {"move-workspace-to-monitor-prev", "Moves the workspace to the previous monitor.",
     "aerospace move-workspace-to-monitor prev"},
    {"move-workspace-to-monitor-pattern", "Moves the workspace to the monitor matching a pattern.",
     "aerospace move-workspace-to-monitor <pattern>", Needs::monitorPattern},
    {"balance-sizes", "Balances container sizes in the workspace.", "aerospace balance-sizes"},
    {"close", "Closes the current window.", "aerospace close"},
    {"close-all-windows-but-current", "Closes all windows except the active one.",
     "aerospace close-all-windows-but-current"},
    {"enable", "Enables or disables the mode depending on the configured state.", "aerospace enable on",
     Needs::arguments},
    {"flatten-workspace-tree", "Flattens the active workspace tree.", "aerospace flatten-workspace-tree"},
    {"fullscreen", "Toggles fullscreen for the current window.", "aerospace fullscreen on", Needs::arguments},
    {"macos-native-fullscreen", "Uses macOS native fullscreen.", "aerospace macos-native-fullscreen toggle",
     Needs::arguments},
    {"macos-native-minimize", "Minimizes the current window using native macOS behavior.",
     "aerospace macos-native-minimize"},
    {"join-with-left", "Joins the current window with the container on the left.",
     "aerospace join-with left"},
    {"join-with-right", "Joins the current window with the container on the right.",
     "aerospace join-with right"},
    {"join-with-up", "Joins the current window with the container above.", "aerospace join-with up"},
    {"join-with-down", "Joins the current window with the container below.", "aerospace join-with down"},
    {"layout-set", "Sets a specific container layout.", "aerospace layout tiles", Needs::arguments},
    {"layout-toggle-floating-tiling", "Toggles between floating and tiling.",
     "aerospace layout floating tiling"},
    {"layout-toggle-tiles-accordion", "Toggles between tiles and accordion.",
     "aerospace layout tiles accordion"},
    {"layout-toggle-orientation", "Toggles the layout orientation.", "aerospace layout horizontal vertical"},
    {"resize", "Resizes the active container.", "aerospace resize width +20", Needs::arguments},
    {"split", "Splits the current container in the selected orientation.", "aerospace split vertical",
     Needs::arguments},
    {"swap-left", "Swaps the active window with the neighbor on the left.", "aerospace swap left"},
    {"swap-right", "Swaps the active window with the neighbor on the right.", "aerospace swap right"},
    {"swap-up", "Swaps the active window with the neighbor above.", "aerospace swap up"},
    {"swap-down", "Swaps the active window with the neighbor below.", "aerospace swap down"},
    {"swap-dfs-next", "Swaps the active window with the next one in DFS order.", "aerospace swap dfs-next"},
    {"swap-dfs-prev", "Swaps the active window with the previous one in DFS order.",
     "aerospace swap dfs-prev"},
    {"reload-config", "Reloads the AeroSpace configuration.", "aerospace reload-config"},
    {"mode", "Switches to the specified shortcut mode.", "aerospace mode main", Needs::arguments},
    {"trigger-binding", "Triggers the specified binding as if it were pressed.",
     "aerospace trigger-binding alt-tab", Needs::arguments},
    {"move-mouse", "Moves the cursor to the selected position.", "aerospace move-mouse monitor-force-center",
     Needs::arguments},
};

std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> found;
    std::size_t at = 0;
    while ((at = text.find_first_not_of(" \t\n", at)) != std::string_view::npos) {
        const std::size_t end = std::min(text.find_first_of(" \t\n", at), text.size());
        found.emplace_back(text.substr(at, end - at));
        at = end;
    }
    return found;
}

} // namespace

std::span<const WindowManagerOperation> windowManagerOperations() {
    return kOperations;
}

const WindowManagerOperation* findWindowManagerOperation(std::string_view id) {
    const auto* found = std::ranges::find(kOperations, id, &WindowManagerOperation::id);
    return found == std::end(kOperations) ? nullptr : found;
}

std::string_view parameterName(WindowManagerOperation::Needs needs) {
    switch (needs) {
    case Needs::nothing:
        return "";
    case Needs::workspace:
        return "workspace";
    case Needs::monitorPattern:
        return "monitorPattern";
    case Needs::arguments:
        return "arguments";
    }
    return "";
}

std::expected<std::vector<std::string>, std::string>
windowManagerCommandLine(const WindowManagerOperation& operation, std::string_view value) {
    std::vector<std::string> line = words(operation.example);
    switch (operation.needs) {
    case Needs::nothing:
        break;
    case Needs::workspace:
    case Needs::monitorPattern:
        if (words(value).empty())
            return std::unexpected(localized("The operation '%1' needs the parameter '%2'.",
                                             {operation.id, parameterName(operation.needs)}));
        // A value that begins with a dash would be read as an option of the tool.
        if (value.starts_with('-'))
            return std::unexpected(
                localized("The parameter '%1' may not begin with '-'.", {parameterName(operation.needs)}));
        line.back() = value;
        break;
    case Needs::arguments:
        if (const auto given = words(value); !given.empty()) {
            line.resize(2);
            line.insert(line.end(), given.begin(), given.end());
        }
        break;
    }
    return line;
}

} // namespace varnel
