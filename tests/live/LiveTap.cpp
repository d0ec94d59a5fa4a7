// The real tap, monitor and engine without the rest of the program, for the live tests to run, stop and kill.
// Arguments: --display :N, --bind "ctrl+j w g", --group "ctrl+k" (one that passes its first key),
// --keep-hints,
// --timeout MILLISECONDS, --guard PROGRAM. Prints "ready", then "ran NAME" for each sequence. Understands on
// its input: "block MILLISECONDS" (its main thread stands still), "post KEY" (posts ctrl+KEY itself),
// "trouble", "quit".

#include "base/MemoryPreferenceStore.h"
#include "base/PollEventLoop.h"
#include "keyboard/HotkeyManager.h"
#include "keyboard/KeyboardMonitor.h"
#include "keyboard/TimingPreferences.h"
#include "keyboard/x11/XcbKeyboardEventTapSession.h"

#include <xcb/xtest.h>

#include <cstdio>
#include <sstream>
#include <thread>

#include <unistd.h>

namespace {

using namespace varnel;

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> parts;
    for (std::string part; stream >> part;)
        parts.push_back(part);
    return parts;
}

void say(const std::string& line) {
    const std::string text = line + "\n";
    if (::write(STDOUT_FILENO, text.data(), text.size()) < 0)
        std::_Exit(3);
}

class Announcer : public CommandExecuting {
public:
    void execute(const ConfigItem& item, const std::string&, const PluginSettings&, Report) override {
        say("ran " + item.name);
    }
};

struct Arguments {
    XcbKeyboardTapOptions tap;
    std::vector<ConfigItem> items;
    JSONValue::Object preferences;
};

Arguments read(int count, char** values) {
    Arguments arguments;
    for (int i = 1; i + 1 < count; i += 2) {
        const std::string option = values[i], value = values[i + 1];
        if (option == "--display")
            arguments.tap.displayName = value;
        else if (option == "--guard")
            arguments.tap.guardProgram = value;
        else if (option == "--keep-hints")
            arguments.preferences["keepHintsOpenAfterInvalidInput"] = JSONValue(value == "yes");
        else if (option == "--timeout")
            arguments.preferences["sequenceStepTimeoutMilliseconds"] = JSONValue(std::stod(value));
        else
            arguments.items.push_back(
                {.id = Uuid::random(),
                 .name = value,
                 .keys = words(value),
                 .type = option == "--group" ? ItemType::group : ItemType::action,
                 .action = option == "--group" ? std::nullopt : std::optional(ConfigAction{}),
                 .isEnabled = true,
                 .allowsPassthroughPrefix = option == "--group" ? std::optional(true) : std::nullopt});
    }
    return arguments;
}

/// Posts ctrl with a key as an action would, on another thread and connection.
void post(const std::string& display, PostedKeyLedger& ledger, std::uint8_t key) {
    std::thread([=, &ledger] {
        xcb_connection_t* const connection = xcb_connect(display.c_str(), nullptr);
        constexpr std::uint8_t ctrl = 105; // the right one, for nobody's left one to be in the way
        const PostedKeyLedger::Entry entries[] = {{ctrl, true}, {key, true}, {key, false}, {ctrl, false}};
        for (const PostedKeyLedger::Entry entry : entries) {
            ledger.push(entry);
            xcb_test_fake_input(connection, entry.isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE, entry.key, 0,
                                XCB_NONE, 0, 0, 0);
        }
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        xcb_disconnect(connection);
    }).detach();
}

} // namespace

int main(int count, char** values) {
    Arguments arguments = read(count, values);
    PollEventLoop loop;
    PostedKeyLedger ledger;
    const MemoryPreferenceStore preferences(arguments.preferences);
    Announcer announcer;
    int status = 0;
    arguments.tap.ledger = &ledger;
    arguments.tap.onConnectionLost = [&] {
        say("lost");
        status = 4;
        loop.quit();
    };
    XcbKeyboardEventTapSessionFactory taps(loop, arguments.tap);
    KeyboardMonitorFactory monitors(loop, taps, [&] { return modifierTapThreshold(preferences); });
    const PluginSettings settings;
    HotkeyManager engine({.loop = loop,
                          .keyboardMonitorFactory = monitors,
                          .timings = sequenceTimings(preferences),
                          .commandExecutor = announcer,
                          .currentConfigPath = [] { return std::string(); },
                          .pluginSettings = [&]() -> const PluginSettings& { return settings; },
                          .isAccessibilityTrusted = [] { return true; },
                          .writeDiagnostic = {},
                          .applicationStatusResolver = {}});
    engine.updateConfiguration(std::make_shared<const std::vector<ConfigItem>>(arguments.items));
    if (!engine.startGlobalMonitoring()) {
        say(taps.error());
        return 1;
    }
    const Subscription input = loop.watchReadable(STDIN_FILENO, [&] {
        char buffer[256];
        const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
        const auto command = words(std::string(buffer, length > 0 ? static_cast<std::size_t>(length) : 0));
        if (command.empty() || command[0] == "quit")
            loop.quit();
        else if (command[0] == "block")
            ::usleep(1000 * static_cast<useconds_t>(std::stoi(command[1])));
        else if (command[0] == "post")
            post(arguments.tap.displayName, ledger, static_cast<std::uint8_t>(std::stoi(command[1])));
        else if (command[0] == "trouble")
            say("trouble: " + engine.trouble());
    });
    loop.post([] { say("ready"); });
    loop.run();
    engine.stopGlobalMonitoring();
    return status;
}
