#include "base/PosixFileSystem.h"
#include "base/SharedPreferences.h"
#include "cli/AbsolutePath.h"
#include "cli/ConfigInput.h"
#include "config/ConfigDocument.h"
#include "config/LocalConfigStorageProvider.h"
#include "runtime/RuntimePaths.h"

#include <cstdlib>

namespace varnel {

namespace {

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return folder && folder[0] == '/' ? folder : "/tmp";
}

/// Saves as the application does, with the backup. The error is a sentence.
std::expected<void, std::string> save(const std::string& path, const std::string& canonical) {
    RuntimePaths paths = RuntimePaths::fromEnvironment();
    PosixFileSystem files;
    const auto preferences = openSystemPreferences(files, paths.preferences);
    auto storage = LocalConfigStorageProvider::locate({files, *preferences, paths.home, temporaryFolder()},
                                                      absolutePath(path));
    if (!storage)
        return std::unexpected(describe(storage.error()));
    if (auto written = (*storage)->write(canonical); !written)
        return std::unexpected(describe(written.error()));
    return {};
}

int fail(Console& console, const std::string& message) {
    console.complain(message);
    return ExitStatus::failed;
}

int run(const VerbCall& call, Console& console) {
    bool write = call.has("--write"), check = call.has("--check");
    std::optional<std::string> argument;
    if (!call.arguments.empty())
        argument = call.arguments[0];
    if (write && check)
        return fail(console, "--write and --check exclude each other");
    auto file = readConfig(call, argument);
    if (!file)
        return fail(console, file.error());
    if (write && file->path == "-")
        return fail(console, "--write needs a file");
    auto document = decodeDocument(file->text);
    if (!document)
        return fail(console, file->path + ": " + describe(document.error()));
    auto canonical = encodeDocument(document->items, document->pluginSettings);
    if (!canonical)
        return fail(console, file->path + ": " + describe(canonical.error()));
    bool isCanonical = file->text == *canonical || file->text == *canonical + "\n";
    if (check) {
        if (!isCanonical)
            console.complain(file->path + " is not in its canonical form");
        return isCanonical ? ExitStatus::fine : ExitStatus::no;
    }
    if (!write) {
        console.out.line(*canonical);
        return ExitStatus::fine;
    }
    if (isCanonical)
        return ExitStatus::fine;
    if (auto saved = save(file->path, *canonical); !saved)
        return fail(console, saved.error());
    return ExitStatus::fine;
}

constexpr VerbOption kOptions[] = {
    {"--write", "", "save the canonical form, with a backup"},
    {"--check", "", "only say whether the file is in its canonical form"},
    kConfigOption,
};

} // namespace

extern const Verb kFormatVerb{.name = "format",
                              .arguments = "[FILE]",
                              .summary = "prints a configuration in its canonical form",
                              .maximumArguments = 1,
                              .options = kOptions,
                              .run = run};

} // namespace varnel
