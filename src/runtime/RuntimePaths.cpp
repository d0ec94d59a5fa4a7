#include "runtime/RuntimePaths.h"

#include "base/PosixFileSystem.h"
#include "base/Text.h"

#include <unistd.h>

#include <cstdlib>

namespace varnel {

namespace {

/// The folder that the variable names, or none.
std::string folder(const RuntimePaths::Variable& variable, const char* name) {
    const char* value = variable(name);
    std::string path = value && value[0] == '/' ? value : "";
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

/// Without the screen, which makes no difference to the keyboard: ":1.0" is ":1".
std::string withoutScreen(const std::string& display) {
    std::size_t colon = display.rfind(':');
    std::size_t dot = colon == std::string::npos ? colon : display.find('.', colon);
    return display.substr(0, dot);
}

std::string fileNamePart(const std::string& display) {
    std::string name = display.empty() ? "none" : display;
    for (char& c : name)
        if (c == '/' || static_cast<unsigned char>(c) < ' ')
            c = '_';
    return name.substr(0, 64);
}

/// The home folder of the account database's own file. Asking the system for it would load libraries.
std::string homeOfAccount() {
    const auto accounts = PosixFileSystem().readFile("/etc/passwd");
    if (!accounts)
        return "/";
    for (std::string_view line : split(*accounts, '\n'))
        if (auto fields = split(line, ':');
            fields.size() > 5 && fields[2] == std::to_string(::geteuid()) && fields[5].starts_with('/'))
            return std::string(fields[5]);
    return "/";
}

} // namespace

RuntimePaths RuntimePaths::from(const Variable& variable) {
    RuntimePaths paths;
    paths.home = folder(variable, "HOME");
    if (paths.home.empty())
        paths.home = homeOfAccount();
    std::string state = folder(variable, "XDG_STATE_HOME");
    if (state.empty())
        state = paths.home + "/.local/state";
    paths.preferences = state + "/varnel/preferences.json";
    std::string runtime = folder(variable, "XDG_RUNTIME_DIR");
    paths.control = (runtime.empty() ? state : runtime) + "/varnel";
    if (const char* display = variable("DISPLAY"))
        paths.display = withoutScreen(display);
    return paths;
}

RuntimePaths RuntimePaths::fromEnvironment() {
    return from([](const char* name) -> const char* { return std::getenv(name); });
}

std::string RuntimePaths::controlSocket() const {
    return control + "/control.sock";
}

std::string RuntimePaths::displayControlSocket() const {
    return control + "/control-" + fileNamePart(display) + ".sock";
}

std::string RuntimePaths::displayLock() const {
    return control + "/display-" + fileNamePart(display) + ".lock";
}

} // namespace varnel
