#include "base/PosixFileSystem.h"
#include "commands/linux/LinuxWorkspace.h"
#include "runtime/ConfigReview.h"

#include <memory>

extern "C" char** environ;

namespace varnel {

namespace {

/// A workspace that finds what it would start, and starts nothing.
struct DryWorkspace {
    PosixFileSystem files;
    LinuxWorkspace workspace{
        {.files = files,
         .windows = nullptr,
         .environment = variables(),
         .start = [](const ProgramStart&) -> std::expected<void, ProgramStartError> { return {}; }}};

    static std::vector<std::string> variables() {
        std::vector<std::string> all;
        for (char** variable = environ; *variable; ++variable)
            all.emplace_back(*variable);
        return all;
    }
};

} // namespace

std::function<std::string(const std::string&)> makeApplicationFinder() {
    return [dry = std::shared_ptr<DryWorkspace>()](const std::string& path) mutable {
        if (!dry) // most configurations are checked without a look at any application
            dry = std::make_shared<DryWorkspace>();
        const auto opened = dry->workspace.open(FileURL::fromPath(path));
        return opened ? std::string() : opened.error();
    };
}

} // namespace varnel
