#include "runtime/Doctor.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>

namespace varnel {

namespace {

using Grade = DoctorFinding::Grade;

std::string textOf(const JSONValue::Object& object, std::string_view key) {
    const auto member = object.find(key);
    const std::string* text = member == object.end() ? nullptr : member->second.string();
    return text ? *text : std::string();
}

std::string octal(std::uint32_t mode) {
    return {'0', static_cast<char>('0' + (mode >> 6 & 7)), static_cast<char>('0' + (mode >> 3 & 7)),
            static_cast<char>('0' + (mode & 7))};
}

bool isCapturing(const JSONValue::Object& status) {
    return textOf(status, "statusLine").find("global:off") == std::string::npos;
}

std::string pauseReasons(const JSONValue::Object& status) {
    const auto member = status.find("suspensionReasons");
    std::vector<std::string> reasons;
    if (const JSONValue::Array* all = member == status.end() ? nullptr : member->second.array())
        for (const JSONValue& reason : *all)
            if (reason.string())
                reasons.push_back(singleLine(*reason.string(), 60));
    return join(reasons, ", ");
}

class Examination {
public:
    explicit Examination(const DoctorFacts& facts)
        : facts_(facts) {}

    std::vector<DoctorFinding> findings() && {
        application();
        configuration();
        files();
        if (facts_.display)
            display(*facts_.display);
        if (facts_.mac)
            mac(*facts_.mac);
        if (facts_.watchLimits)
            watchLimits(*facts_.watchLimits);
        helpers();
        return std::move(findings_);
    }

private:
    void add(std::string_view id, Grade grade, const std::string& text, const std::string& remedy = {}) {
        findings_.push_back({std::string(id), grade, redacted(text, facts_), redacted(remedy, facts_)});
    }

    void application() {
        if (!facts_.socketError.empty())
            add("application.socket", Grade::warning, facts_.socketError,
                localized("End that application and start it again."));
        else if (!facts_.status)
            add("application.running", Grade::note, localized("Varnel is not running."));
        else
            running(*facts_.status);
        if (const DoctorFile& folder = facts_.socketFolder; folder.exists && (folder.mode & 077))
            add("application.folder", Grade::warning,
                localized("Others can look into the folder of the control socket, %1 (mode %2).",
                          {folder.path, octal(folder.mode)}),
                localized("chmod 700 %1", {folder.path}));
    }

    void running(const JSONValue::Object& status) {
        const std::string version = textOf(status, "version");
        if (!isCapturing(status))
            add("application.running", Grade::warning,
                localized("Varnel %1 is running, but captures no keys.", {version}),
                localized("“varnel why” tells what is in the way, “varnel reload” tries again."));
        else if (const std::string reasons = pauseReasons(status); !reasons.empty())
            add("application.running", Grade::note,
                localized("Varnel %1 is running, but paused: %2.", {version, reasons}),
                localized("“varnel resume” goes on."));
        else
            add("application.running", Grade::fine,
                localized("Varnel %1 is running and captures keys.", {version}));
        if (version != facts_.version)
            add("application.version", Grade::warning,
                localized("The running application has the version %1, this program %2.",
                          {version, facts_.version}),
                localized("Start the application again."));
        if (const std::string trouble = textOf(status, "trouble"); !trouble.empty() && !facts_.display)
            add("application.trouble", Grade::warning, localized("Keys are not captured: %1", {trouble}));
        if (const std::string path = textOf(status, "configPath");
            !path.empty() && path != facts_.configuration.file.path)
            add("application.configuration", Grade::note,
                localized("The running application uses another configuration file: %1", {path}));
    }

    void configuration() {
        const DoctorConfiguration& config = facts_.configuration;
        if (!config.file.exists)
            add("configuration.file", config.file.error.empty() ? Grade::note : Grade::failure,
                config.file.error.empty()
                    ? localized("There is no configuration yet; the first start writes %1.",
                                {config.file.path})
                    : config.file.error);
        else if (!config.error.empty())
            add("configuration.file", Grade::failure,
                localized("%1 does not load: %2", {config.file.path, config.error}),
                localized("varnel check tells more."));
        else if (config.actionCount == 0)
            add("configuration.file", Grade::warning,
                localized("%1 has no enabled action.", {config.file.path}));
        else
            add("configuration.file", Grade::fine,
                localized("%1 has %2 enabled actions.",
                          {config.file.path, std::to_string(config.actionCount)}));
        if (facts_.preferencesError.empty())
            add("preferences", Grade::fine, localized("Preferences are in %1.", {facts_.preferencesPlace}));
        else
            add("preferences", Grade::failure, facts_.preferencesError);
    }

    /// Who can write there decides what Varnel runs.
    void files() {
        std::vector<DoctorFile> all = facts_.capabilities;
        all.insert(all.begin(), facts_.configuration.file);
        for (const DoctorFile& file : all) {
            if (file.exists && (file.mode & 022))
                add("files.mode", Grade::warning,
                    localized("Others can change %1 (mode %2), and so what your keys do.",
                              {file.path, octal(file.mode)}),
                    localized("chmod go-w %1", {file.path}));
            if (file.exists && !file.isOwn)
                add("files.owner", Grade::warning,
                    localized("%1 belongs to another user, who can change what your keys do.", {file.path}));
            if (!file.exists && !file.error.empty() && &file != &all.front())
                add("files.unreadable", Grade::failure, file.error);
        }
    }

    void display(const DoctorDisplay& display) {
        if (display.name.empty() || !display.error.empty()) {
            add("display", Grade::warning,
                display.name.empty()
                    ? localized("No X display is named, so no keys can be captured.")
                    : localized("The display %1 cannot be used: %2", {display.name, display.error}),
                display.isWaylandSession ? localized("This is a Wayland session: log in to an X11 session.")
                                         : localized("Start Varnel inside your session, or set DISPLAY."));
            return;
        }
        add("display", Grade::fine, localized("The display %1 answers.", {display.name}));
        if (display.isWaylandSession)
            add("display.wayland", Grade::warning,
                localized("This is a Wayland session: keys come only while an X11 window has the focus."),
                localized("Log in to an X11 session."));
        for (const auto& [extension, isThere] : display.extensions)
            if (!isThere)
                add("display.extension", Grade::warning,
                    localized("The X server lacks the extension %1.", {extension}));
        if (display.windowManager.empty())
            add("display.windowManager", Grade::note,
                localized("No window manager is running: windows cannot be brought forward."));
        else
            add("display.windowManager", Grade::fine,
                localized("The window manager is %1.", {display.windowManager}));
        if (display.trayHost.empty())
            add("display.tray", Grade::note, localized("Nothing on this display shows tray icons."));
        else
            add("display.tray", Grade::fine, localized("%1 shows tray icons.", {display.trayHost}));
        grabs(display);
    }

    void grabs(const DoctorDisplay& display) {
        if (!display.trouble)
            return;
        if (display.trouble->empty()) {
            add("keyboard.grabs", Grade::fine,
                localized("The first keys of your sequences can be captured."));
            return;
        }
        const std::string remedy =
            display.grabbers.empty()
                ? std::string()
                : localized("These programs hold keys: %1. Take the key from them, or begin your sequences "
                            "with another one.",
                            {join(display.grabbers, ", ")});
        add("keyboard.grabs", Grade::warning,
            localized("Not all keys can be captured: %1.", {*display.trouble}), remedy);
    }

    void mac(const DoctorMac& mac) {
        const bool trusted = mac.permissions.isTrusted;
        add("permissions.accessibility", trusted ? Grade::fine : Grade::warning,
            trusted ? localized("The permission for Accessibility is given.")
                    : localized("The permission for Accessibility is missing."),
            trusted
                ? std::string()
                : localized("Allow Varnel under Privacy & Security, Accessibility. If it is allowed there "
                            "already, the program was signed anew: switch it off and on again."));
        if (!trusted && mac.permissions.listening == AccessState::denied)
            add("permissions.listening", Grade::note, localized("Input Monitoring has been refused."));
        if (trusted && (!mac.permissions.mayPostEvents || mac.permissions.posting == AccessState::denied))
            add("permissions.posting", Grade::warning,
                localized("Keys cannot be sent: the system refuses to let Varnel post events."),
                localized("Switch the permission for Accessibility off and on again."));
        if (mac.tapLevel.empty())
            add("keyboard.tap", Grade::warning, localized("The keyboard cannot be captured."));
        else
            add("keyboard.tap", Grade::fine,
                localized("The keyboard can be captured, at the level %1.", {mac.tapLevel}));
        if (mac.permissions.isSecureInputOn)
            add("keyboard.secureInput", Grade::warning,
                localized("Secure input is on: some program, such as a password field or a terminal, keeps "
                          "all keys to itself."),
                localized("Leave the password field, or switch Secure Keyboard Entry off in the terminal's "
                          "menu."));
        std::vector<std::string> absent;
        for (const auto& [symbol, isThere] : mac.symbols)
            if (!isThere)
                absent.push_back(symbol);
        if (absent.empty())
            add("windows.private", Grade::fine,
                localized("All private functions of the window server are there."));
        else
            add("windows.private", mac.missingSymbols.empty() ? Grade::note : Grade::warning,
                localized("This system lacks private functions of the window server: %1.",
                          {join(absent, ", ")}),
                mac.missingSymbols.empty() ? std::string()
                                           : localized("Windows on other spaces cannot be focused."));
        if (mac.bundleIdentifier.empty())
            add("bundle", Grade::note,
                localized("This program is in no bundle; its permissions are those of the "
                          "program that started it."));
        else
            add("bundle", Grade::fine, localized("The bundle is %1.", {mac.bundleIdentifier}));
    }

    void watchLimits(const DoctorWatchLimits& limits) {
        if (limits.error.empty())
            add("files.watching", Grade::fine,
                localized("Files can be watched (at most %1 watches and %2 instances for each user).",
                          {std::to_string(limits.watches), std::to_string(limits.instances)}));
        else
            add("files.watching", Grade::warning,
                localized("Changes of the configuration are not noticed: %1.", {limits.error}),
                localized(
                    "Raise fs.inotify.max_user_watches (%1) and fs.inotify.max_user_instances (%2), or end "
                    "programs that watch many files.",
                    {std::to_string(limits.watches), std::to_string(limits.instances)}));
    }

    void helpers() {
        for (const auto& [program, isThere] : facts_.helpers)
            add("helper", isThere ? Grade::fine : Grade::warning,
                isThere ? localized("The helper program %1 is there.", {program})
                        : localized("The helper program %1 is missing.", {program}),
                isThere ? std::string() : localized("Install Varnel again."));
    }

    const DoctorFacts& facts_;
    std::vector<DoctorFinding> findings_;
};

bool isWordByte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || static_cast<unsigned char>(c) >= 0x80;
}

/// Every occurrence as a word of its own.
void replaceWord(std::string& text, const std::string& word, std::string_view with) {
    for (std::size_t at = word.empty() ? text.npos : text.find(word); at != text.npos;) {
        const std::size_t end = at + word.size();
        const bool isWhole =
            (at == 0 || !isWordByte(text[at - 1])) && (end == text.size() || !isWordByte(text[end]));
        if (isWhole)
            text.replace(at, word.size(), with);
        at = text.find(word, isWhole ? at + with.size() : end);
    }
}

} // namespace

std::string_view name(DoctorFinding::Grade grade) {
    constexpr std::string_view kNames[] = {"fine", "note", "warning", "failure"};
    return kNames[static_cast<std::size_t>(grade)];
}

std::vector<DoctorFinding> examine(const DoctorFacts& facts) {
    return Examination(facts).findings();
}

std::string redacted(std::string text, const DoctorFacts& facts) {
    const std::string& home = facts.paths.home;
    if (home.size() > 1)
        replaceWord(text, home, "~");
    // The administrator is called the same everywhere, and so is a computer without a name.
    if (facts.user != "root")
        replaceWord(text, facts.user, "USER");
    if (facts.host != "localhost")
        replaceWord(text, facts.host, "HOST");
    return text;
}

JSONValue::Object asJSON(const DoctorMac& mac) {
    JSONValue::Object symbols;
    for (const auto& [symbol, isThere] : mac.symbols)
        symbols.emplace(symbol, isThere);
    JSONValue::Array missing(mac.missingSymbols.begin(), mac.missingSymbols.end());
    return {{"isTrusted", mac.permissions.isTrusted},
            {"listening", static_cast<double>(mac.permissions.listening)},
            {"posting", static_cast<double>(mac.permissions.posting)},
            {"mayPostEvents", mac.permissions.mayPostEvents},
            {"isSecureInputOn", mac.permissions.isSecureInputOn},
            {"tapLevel", mac.tapLevel},
            {"symbols", std::move(symbols)},
            {"missingSymbols", std::move(missing)},
            {"bundleIdentifier", mac.bundleIdentifier}};
}

DoctorMac doctorMac(const JSONValue::Object& report) {
    auto isTrue = [&](std::string_view key) {
        const auto member = report.find(key);
        const bool* value = member == report.end() ? nullptr : member->second.boolean();
        return value && *value;
    };
    auto access = [&](std::string_view key) {
        const auto member = report.find(key);
        const double* value = member == report.end() ? nullptr : member->second.number();
        return value && *value == 0   ? AccessState::granted
               : value && *value == 1 ? AccessState::denied
                                      : AccessState::unknown;
    };
    DoctorMac mac{.permissions = {.isTrusted = isTrue("isTrusted"),
                                  .listening = access("listening"),
                                  .posting = access("posting"),
                                  .mayPostEvents = isTrue("mayPostEvents"),
                                  .isSecureInputOn = isTrue("isSecureInputOn")},
                  .tapLevel = textOf(report, "tapLevel"),
                  .symbols = {},
                  .missingSymbols = {},
                  .bundleIdentifier = textOf(report, "bundleIdentifier")};
    if (const auto symbols = report.find("symbols"); symbols != report.end() && symbols->second.object())
        for (const auto& [symbol, isThere] : *symbols->second.object())
            mac.symbols[symbol] = isThere.boolean() && *isThere.boolean();
    if (const auto missing = report.find("missingSymbols");
        missing != report.end() && missing->second.array())
        for (const JSONValue& symbol : *missing->second.array())
            if (symbol.string())
                mac.missingSymbols.push_back(*symbol.string());
    return mac;
}

} // namespace varnel
