#include "base/MemoryPreferenceStore.h"
#include "base/Sha256.h"
#include "plugins/PluginManager.h"
#include "plugins/PluginPackageHash.h"
#include "plugins/PluginProcessRunner.h"

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

extern "C" char** environ;

namespace varnel {
namespace {

/// Packages in a folder of their own, bundled or trusted as a user's.
class Packages {
public:
    Packages() {
        std::string pattern = "/tmp/varnel-bench-XXXXXX";
        folder_ = ::mkdtemp(pattern.data());
    }
    ~Packages() { std::filesystem::remove_all(folder_); }
    Packages(const Packages&) = delete;
    Packages& operator=(const Packages&) = delete;

    std::string add(const std::string& folder, const std::string& id) const {
        const std::string package = folder_ + "/" + folder + "/" + id;
        std::filesystem::create_directories(package);
        std::ofstream(package + "/plugin.json")
            << R"({"id":")" << id
            << R"(","name":"Bench","version":"1","executable":"run","capabilities":["actions"],)"
            << R"("actions":[{"id":"go","name":"Go","description":""}]})";
        std::filesystem::copy_file(VARNEL_BENCH_CHILD, package + "/run");
        return package;
    }
    [[nodiscard]] PluginManagerOptions options() const {
        PluginManagerOptions options;
        options.bundledPluginsURL = folder_ + "/bundled";
        options.userPluginsURL = folder_ + "/user";
        options.verifiedCopiesFolder = folder_ + "/copies";
        return options;
    }
    [[nodiscard]] const std::string& folder() const { return folder_; }

private:
    std::string folder_;
};

/// The floor: starting the process and waiting for it, nothing read and nothing written.
void spawnAndWait(benchmark::State& state) {
    char path[] = VARNEL_BENCH_CHILD, word[] = "action";
    char* arguments[] = {path, word, nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
    for (auto _ : state) {
        pid_t child;
        int status;
        ::posix_spawn(&child, path, &actions, nullptr, arguments, environ);
        ::waitpid(child, &status, 0);
    }
    ::posix_spawn_file_actions_destroy(&actions);
}
BENCHMARK(spawnAndWait)->UseRealTime();

void runActions(benchmark::State& state, const Packages& packages, PluginManager& manager) {
    (void)packages;
    const ConfigAction action{"bench", "go", {{"command", "true"}}};
    for (auto _ : state) {
        auto message = manager.makePluginCommand("Item", action, "/config.json", {})->execute();
        if (message)
            state.SkipWithError(message->c_str());
    }
}

void bundledAction(benchmark::State& state) {
    Packages packages;
    packages.add("bundled", "bench");
    MemoryPreferenceStore preferences;
    PluginManager manager(packages.options(), preferences, nullptr);
    manager.reload();
    runActions(state, packages, manager);
}
BENCHMARK(bundledAction)->UseRealTime();

/// `settled`: long after the last change of the package, as it is in use.
void trustedUserAction(benchmark::State& state) {
    Packages packages;
    const std::string package = packages.add("user", "bench");
    MemoryPreferenceStore preferences;
    PluginManager manager(packages.options(), preferences, nullptr);
    manager.reload();
    if (!manager.trust(package))
        state.SkipWithError("not trusted");
    (void)manager.makePluginCommand("Item", {"bench", "go", {}}, "", {})->execute();
    if (state.range(0))
        ::usleep(3000000);
    runActions(state, packages, manager);
}
BENCHMARK(trustedUserAction)->ArgName("settled")->Arg(0)->Arg(1)->UseRealTime();

void hashPackage(benchmark::State& state) {
    Packages packages;
    const std::string package = packages.add("user", "bench");
    const auto size = static_cast<std::uint64_t>(state.range(0));
    std::ofstream(package + "/data") << std::string(size, 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(hashPluginPackage(package));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(hashPackage)
    ->Arg(1 << 10)
    ->Arg(64 << 20)
    ->Arg(512 << 20)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// What the library does with bytes that are in memory already: the bound for hashPackage.
void hashInMemory(benchmark::State& state) {
    const std::string bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        Sha256 hash;
        hash.update(bytes);
        benchmark::DoNotOptimize(hash.finishHex());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(hashInMemory)->Arg(64 << 20)->Arg(512 << 20)->UseRealTime()->Unit(benchmark::kMillisecond);

void scan(benchmark::State& state) {
    Packages packages;
    for (int i = 0; i < state.range(0); ++i) {
        const std::string package = packages.add("user", "bench" + std::to_string(i));
        std::ofstream(package + "/run") << "#!/bin/sh\n" << std::string(4096, '#');
    }
    MemoryPreferenceStore preferences;
    PluginManager manager(packages.options(), preferences, nullptr);
    for (auto _ : state)
        manager.reload();
}
BENCHMARK(scan)->Arg(4)->Arg(200)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
} // namespace varnel
