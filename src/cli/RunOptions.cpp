#include "cli/RunOptions.h"

#include "cli/AbsolutePath.h"
#include "runtime/ProcessMemory.h"
#include "runtime/ProgramLocation.h"

namespace varnel {

ApplicationOptions applicationOptions(const VerbCall& call) {
    ApplicationOptions options{.paths = RuntimePaths::fromEnvironment(), .programFolder = programFolder()};
    if (auto path = call.value(kConfigOption.name))
        options.configPath = absolutePath(*path);
    if (auto folder = call.value(kBundledPluginsOption.name))
        options.bundledPlugins = absolutePath(*folder);
    if (auto folder = call.value(kUserPluginsOption.name))
        options.userPlugins = absolutePath(*folder);
    options.isSafe = call.has("--safe");
    return options;
}

int runApplication(EventLoop& loop, ApplicationOptions options, Console& console,
                   const std::function<std::shared_ptr<void>(Application&)>& started,
                   const std::function<bool()>& replaced) {
    prepareMemoryForLongLife();
    Application application(loop, std::move(options));
    if (auto result = application.start(); !result) {
        if (replaced && replaced())
            return ExitStatus::fine;
        console.complain(result.error());
        return ExitStatus::failed;
    }
    console.out.line(application.hotkeys().statusLine());
    console.out.flush();
    std::shared_ptr<void> guest = started ? started(application) : nullptr;
    loop.run();
    guest.reset();
    if (application.failure().empty())
        return ExitStatus::fine;
    console.complain(application.failure());
    return ExitStatus::failed;
}

} // namespace varnel
