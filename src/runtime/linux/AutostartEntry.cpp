#include "runtime/linux/AutostartEntry.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "commands/DesktopEntry.h"
#include "config/AtomicFile.h"

#include <cstdlib>
#include <utility>

namespace varnel {

namespace {

constexpr std::string_view kFileName = "varnel.desktop";
constexpr std::string_view kSwitchedOff = "X-GNOME-Autostart-enabled=false";

std::string absoluteOr(const char* value, std::string fallback) {
    return value && value[0] == '/' ? value : std::move(fallback);
}

/// A word of a command line, as desktop entries write it: quoted where it must be, and escaped once more as
/// every text of the file is.
std::string quotedWord(std::string_view word) {
    std::string quoted = "\"";
    for (const char c : word) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            quoted += c == '\\' ? "\\\\\\" : "\\\\";
        quoted += c;
        if (c == '%')
            quoted += c;
    }
    return quoted + "\"";
}

std::string entryText(const std::string& program) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Varnel!\n"
           "Comment=Key sequences for the whole desktop\n"
           "Exec=" +
           quotedWord(program) +
           "\n"
           "Icon=varnel\n"
           "Terminal=false\n";
}

/// A line of its own, so that no comment or other value is taken for it.
bool hasLine(std::string_view text, std::string_view wanted) {
    for (const std::string_view line : split(text, '\n'))
        if (trimmed(line) == wanted)
            return true;
    return false;
}

} // namespace

AutostartEntry::Places AutostartEntry::Places::fromEnvironment(const std::string& home, std::string program) {
    Places places;
    places.userFolder =
        appendPath(absoluteOr(std::getenv("XDG_CONFIG_HOME"), appendPath(home, ".config")), "autostart");
    const char* folders = std::getenv("XDG_CONFIG_DIRS");
    for (const std::string_view folder : split(folders && *folders ? folders : "/etc/xdg", ':'))
        if (folder.starts_with('/'))
            places.systemFolders.push_back(appendPath(folder, "autostart"));
    places.program = std::move(program);
    return places;
}

AutostartEntry::AutostartEntry(FileSystem& files, Places places)
    : files_(files)
    , places_(std::move(places)) {}

std::string AutostartEntry::userPath() const {
    return appendPath(places_.userFolder, kFileName);
}

std::string AutostartEntry::systemPath() const {
    for (const std::string& folder : places_.systemFolders)
        if (std::string path = appendPath(folder, kFileName); files_.exists(path))
            return path;
    return {};
}

LaunchAtLoginState AutostartEntry::state() {
    using Kind = LaunchAtLoginState::Kind;
    const std::string path = files_.exists(userPath()) ? userPath() : systemPath();
    if (path.empty())
        return {Kind::off};
    const auto text = files_.readFile(path);
    if (!text)
        return {Kind::unknown, describe(text.error())};
    const auto entry = parseDesktopEntry(*text, path);
    const auto words = entry ? commandLine(*entry) : std::unexpected(localized("it names no program"));
    if (entry && (entry->isHidden || hasLine(*text, kSwitchedOff)))
        return {Kind::switchedOff};
    if (!words || words->empty())
        return {Kind::unknown, path + ": " + (words ? localized("it names no program") : words.error())};
    const std::string& program = words->front();
    if (program == places_.program)
        return {Kind::on};
    return {program.starts_with('/') && !files_.exists(program) ? Kind::gone : Kind::otherProgram, program};
}

std::expected<void, std::string> AutostartEntry::setEnabled(bool enabled) {
    FileSystem::Result<void> done;
    if (!enabled && systemPath().empty()) {
        if (files_.exists(userPath()))
            done = files_.remove(userPath());
    } else if (done = files_.makeFolders(places_.userFolder); done) {
        const auto path = AtomicFile::resolveLinks(files_, userPath());
        done = path ? AtomicFile::write(files_, *path,
                                        entryText(places_.program) + (enabled ? "" : "Hidden=true\n"))
                    : std::unexpected(path.error());
    }
    if (!done)
        return std::unexpected(describe(done.error()));
    return {};
}

} // namespace varnel
