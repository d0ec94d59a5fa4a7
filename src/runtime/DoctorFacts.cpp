#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "base/SharedPreferences.h"
#include "config/ConfigDocument.h"
#include "config/LocalConfigStorageProvider.h"
#include "keyboard/notation/KeyTokenCodec.h"
#include "plugins/PluginManager.h"
#include "runtime/ControlClient.h"
#include "runtime/Doctor.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace varnel {

namespace {

DoctorFile look(FileSystem& files, const std::string& path) {
    DoctorFile file{.path = path, .error = {}};
    const auto info = files.info(path);
    if (!info) {
        file.error = info.error().code == ENOENT ? std::string() : describe(info.error());
        return file;
    }
    file.exists = true;
    file.mode = info->mode;
    file.isOwn = info->owner == ::geteuid() || info->owner == 0;
    return file;
}

DoctorConfiguration lookAtConfiguration(FileSystem& files, const std::string& path) {
    DoctorConfiguration config{.file = look(files, path), .error = {}, .actionCount = 0, .firstKeys = {}};
    const auto info = files.info(path);
    if (!info || info->kind != FileSystem::Info::Kind::file) {
        if (info)
            config.error = localized("it is no file");
        return config;
    }
    const auto text = files.readFile(path);
    if (!text) {
        config.error = describe(text.error());
        return config;
    }
    const auto document = decodeDocument(*text);
    if (!document) {
        config.error = describe(document.error());
        return config;
    }
    for (const ConfigItem& item : document->items) {
        if (!item.isEnabled || item.type != ItemType::action || item.keys.empty())
            continue;
        ++config.actionCount;
        std::string first = KeyTokenCodec::liveSpelling(item.keys[0]);
        if (std::ranges::find(config.firstKeys, first) == config.firstKeys.end())
            config.firstKeys.push_back(std::move(first));
    }
    return config;
}

std::vector<DoctorFile> lookAtCapabilities(FileSystem& files, const std::string& folder) {
    std::vector<DoctorFile> found{look(files, folder)};
    if (const auto names = files.list(folder))
        for (const std::string& name : *names)
            found.push_back(look(files, appendPath(folder, name)));
    return found;
}

std::string hostName() {
    char name[256] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

} // namespace

DoctorFacts collectDoctorFacts(const RuntimePaths& paths, const std::optional<std::string>& configPath) {
    DoctorFacts facts;
    PosixFileSystem files;
    facts.version = VARNEL_VERSION;
    utsname system{};
    if (::uname(&system) == 0)
        facts.system = std::string(system.sysname) + " " + system.release + " " + system.machine;
    facts.paths = paths;
    facts.host = hostName();
    const char* user = std::getenv("USER");
    facts.user = user ? user : lastPathComponent(paths.home);

    const auto preferences = openSystemPreferences(files, paths.preferences);
    facts.preferencesPlace = preferences->place();
    if (auto loaded = preferences->reload(); !loaded)
        facts.preferencesError = loaded.error();
    facts.configuration = lookAtConfiguration(
        files, configPath ? *configPath : locateConfigFile(files, *preferences, paths.home));
    facts.capabilities = lookAtCapabilities(files, defaultUserPluginsFolder(paths.home));

    facts.socketFolder = look(files, paths.control);
    auto status = sendControlRequest(paths, {{"verb", "diagnose"}}, 2s);
    if (status)
        facts.status = *std::move(status);
    else if (status.error().kind != ControlClientError::Kind::notRunning)
        facts.socketError = status.error().message;
    return facts;
}

} // namespace varnel
