#include "Scenes.h"

#include "overlay/KeyCaps.h"
#include "overlay/SuggestionModel.h"

#include <algorithm>
#include <functional>
#include <map>

namespace varnel::test {
namespace {

const KeyNaming kNaming;

HintRow row(std::string token, std::string name) {
    HintRow hint;
    hint.token = std::move(token);
    hint.metadata.name = std::move(name);
    return hint;
}

HintRow group(std::string token, std::string name, std::size_t entries) {
    HintRow hint = row(std::move(token), std::move(name));
    hint.isGroup = true;
    hint.entryCount = entries;
    return hint;
}

HintRow application(std::string token, std::string name, std::string path, bool isRunning = false) {
    HintRow hint = row(std::move(token), std::move(name));
    hint.metadata.applicationPath = std::move(path);
    hint.metadata.isRunningApplication = isRunning;
    return hint;
}

HintRow unavailable(HintRow hint, HintAvailability why) {
    hint.availability = why;
    return hint;
}

HintState capture(std::vector<std::string> sequence, std::string title, std::vector<HintRow> rows) {
    HintState hints;
    hints.interaction = Interaction::capture;
    hints.sequence = std::move(sequence);
    if (!title.empty())
        hints.title = std::move(title);
    hints.rows = std::move(rows);
    return hints;
}

HintState three() {
    return capture({"cmd"}, "",
                   {row("l", "Lock the screen"), row("space", "Command menu"), group("o", "Open", 24)});
}

HintState twentyFour() {
    return capture({"cmd", "o"}, "Open",
                   {application("b", "Browser", "/usr/share/applications/firefox.desktop", true),
                    application("c", "Calendar", "/usr/share/applications/calendar.desktop"),
                    application("e", "Text Editor", "/usr/share/applications/editor.desktop", true),
                    application("f", "Files", "/usr/share/applications/files.desktop"),
                    application("m", "Mail", "/usr/share/applications/mail.desktop", true),
                    application("n", "Notes", "/usr/share/applications/notes.desktop"),
                    application("t", "Terminal", "/usr/share/applications/debian-xterm.desktop", true),
                    row("s", "Search the web for the selection"),
                    row("p", "Paste without formatting"),
                    row("ctrl+l", "Lock the screen"),
                    row("shift+n", "New note from the clipboard"),
                    unavailable(row("j", "Jira ticket"), HintAvailability::untrusted),
                    unavailable(row("k", "Kubernetes context"), HintAvailability::disabled),
                    unavailable(row("v", "VPN"), HintAvailability::missing),
                    row("1", "Workspace 1"),
                    row("2", "Workspace 2"),
                    row("3", "Workspace 3"),
                    row("f5", "Reload the configuration"),
                    row("left", "Window to the left"),
                    row("right", "Window to the right"),
                    row("return", "Full screen"),
                    group("d", "Documents", 7),
                    group("g", "Development", 18),
                    group("w", "Windows", 1)});
}

HintState many() {
    std::vector<HintRow> rows;
    const std::string keys = "abcdefghijklmnopqrstuvwxyz1234567890";
    const char* kNames[] = {"Open project", "Arrange windows",   "Insert snippet",
                            "Play",         "Move to workspace", "Look up in the dictionary"};
    const char* kModifiers[] = {"", "shift+", "ctrl+", "ctrl+shift+"};
    for (const char* modifiers : kModifiers)
        for (const char key : keys)
            if (rows.size() < 120)
                rows.push_back(
                    row(modifiers + std::string(1, key),
                        std::string(kNames[rows.size() % 6]) + " " + std::to_string(rows.size() + 1)));
    return capture({"cmd", "x"}, "Everything", std::move(rows));
}

HintState choices() {
    HintState hints = capture({"cmd", "w"}, "Which window?", {});
    hints.interaction = Interaction::dynamicChoice;
    hints.areChoices = true;
    hints.input = "k";
    const char* kTitles[] = {"README.md, varnel", "Inbox (3)", "Terminal: make test",
                             "Quarterly figures.ods"};
    const char* kLabels[] = {"j", "kf", "kd", "f"};
    for (int i = 0; i < 4; ++i) {
        HintRow hint = row(kLabels[i], kTitles[i]);
        hint.metadata.detail = i % 2 == 0 ? "Workspace 1" : "minimised";
        hints.rows.push_back(hint);
    }
    return hints;
}

HintState japanese() {
    return capture({"cmd", "o"}, "開く",
                   {row("b", "ブラウザ"), row("m", "メール"), row("t", "ターミナル"),
                    row("l", "画面をロックする"), row("s", "選択範囲をウェブで検索する"),
                    group("d", "書類", 7), group("w", "ウインドウ", 12),
                    unavailable(row("k", "翻訳"), HintAvailability::untrusted)});
}

HintState longNames() {
    std::string name =
        "A name that somebody pasted from somewhere, which goes on and on and never seems to end";
    HintRow detailed = row("b", "Short");
    detailed.metadata.detail = name;
    return capture({"cmd", "ctrl+shift+forwarddelete"}, name + " as a title, too, so that it must be cut",
                   {row("a", name), detailed, unavailable(row("c", name), HintAvailability::untrusted),
                    group("ctrl+alt+shift+pagedown", name, 1234), row("keycode200", "")});
}

SuggestionOverlayState shown(const HintState& hints) {
    return suggestionState(hints, OverlayOrder::keys, kNaming);
}

const std::map<std::string, std::function<SuggestionOverlayState()>>& scenes() {
    static const std::map<std::string, std::function<SuggestionOverlayState()>> kScenes = {
        {"rows3", [] { return shown(three()); }},
        {"rows24", [] { return shown(twentyFour()); }},
        {"rows120", [] { return shown(many()); }},
        {"choices", [] { return shown(choices()); }},
        {"japanese", [] { return shown(japanese()); }},
        {"long", [] { return shown(longNames()); }},
        {"loading",
         [] {
             HintState hints = choices();
             hints.rows.clear();
             hints.input.clear();
             hints.isLoading = true;
             return shown(hints);
         }},
        {"chosen",
         [] {
             HintState hints = twentyFour();
             hints.interaction = Interaction::selectionFeedback;
             hints.rows[6].isChosen = true;
             return shown(hints);
         }},
        {"timed",
         [] {
             HintState hints = three();
             hints.deadline = TimePoint{} + 1s;
             return shown(hints);
         }},
        {"refused",
         [] {
             SuggestionOverlayState state = shown(three());
             showRefusal(state, {"z", {"cmd"}, 1}, kNaming);
             state.message = refusalState({"z", {"cmd"}, 1}, kNaming).message;
             return state;
         }},
        {"refused-alone",
         [] {
             return refusalState({"z", {"cmd", "o"}, 1}, kNaming);
         }},
        {"frozen",
         [] {
             HintState hints = three();
             hints.interaction = Interaction::frozenOverlay;
             return shown(hints);
         }},
        {"message",
         [] {
             SuggestionOverlayState state;
             state.message = "Executed: Lock the screen";
             return state;
         }},
        {"failure",
         [] {
             SuggestionOverlayState state;
             state.message =
                 "Failed to execute action: The capability 'notes.append' cannot run: bin/run has changed "
                 "since it was trusted. Look at what changed and trust it again.";
             return state;
         }},
        {"sample", [] { return sampleState(kNaming); }},
    };
    return kScenes;
}

} // namespace

std::vector<std::string> sceneNames() {
    std::vector<std::string> names;
    for (const auto& [name, make] : scenes())
        names.push_back(name);
    return names;
}

SuggestionOverlayState scene(const std::string& name) {
    const auto found = scenes().find(name);
    return found == scenes().end() ? SuggestionOverlayState() : found->second();
}

} // namespace varnel::test
