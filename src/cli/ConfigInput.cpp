#include "cli/ConfigInput.h"

#include "base/PosixFileSystem.h"
#include "base/SharedPreferences.h"
#include "cli/AbsolutePath.h"
#include "config/ConfigDocument.h"
#include "config/LocalConfigStorageProvider.h"
#include "runtime/RuntimePaths.h"

#include <cstdlib>

namespace varnel {

namespace {

std::expected<std::string, std::string> activeConfigPath() {
    RuntimePaths paths = RuntimePaths::fromEnvironment();
    PosixFileSystem files;
    const auto preferences = openSystemPreferences(files, paths.preferences);
    if (auto loaded = preferences->reload(); !loaded)
        return std::unexpected(loaded.error());
    return locateConfigFile(files, *preferences, paths.home);
}

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return folder && folder[0] == '/' ? folder : "/tmp";
}

} // namespace

std::expected<ConfigText, std::string> readConfig(const VerbCall& call,
                                                  const std::optional<std::string>& argument) {
    std::optional<std::string> named = argument ? argument : call.value(kConfigOption.name);
    if (!named) {
        auto active = activeConfigPath();
        if (!active)
            return std::unexpected(active.error());
        named = *active;
    }
    ReadTextResult read = readText(*named);
    if (!read.error.empty())
        return std::unexpected(read.error);
    return ConfigText{*named, std::move(read.text)};
}

std::expected<ConfigFileDocument, std::string> loadConfig(const VerbCall& call) {
    auto file = readConfig(call);
    if (!file)
        return std::unexpected(file.error());
    auto document = decodeDocument(file->text);
    if (!document)
        return std::unexpected(file->path + ": " + describe(document.error()));
    return std::move(*document);
}

std::expected<void, std::string> saveConfig(const std::string& path, const std::string& text) {
    RuntimePaths paths = RuntimePaths::fromEnvironment();
    PosixFileSystem files;
    const auto preferences = openSystemPreferences(files, paths.preferences);
    auto storage = LocalConfigStorageProvider::locate({files, *preferences, paths.home, temporaryFolder()},
                                                      absolutePath(path));
    if (!storage)
        return std::unexpected(describe(storage.error()));
    if (auto written = (*storage)->write(text); !written)
        return std::unexpected(describe(written.error()));
    return {};
}

} // namespace varnel
