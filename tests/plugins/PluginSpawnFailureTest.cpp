// Takes the place of the system's preparation calls, so that each can be made to fail in turn.
#include "plugins/PluginProcessRunner.h"
#include "tests/plugins/OpenDescriptors.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <spawn.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char* failingCall = "";
int callsUntilFailure = 0;

/// The result of the real function, or the failure that the test asks for.
template <typename Function, typename... Arguments>
int failOrCall(const char* name, Function, Arguments... arguments) {
    if (std::strcmp(name, failingCall) == 0 && --callsUntilFailure <= 0)
        return ENOMEM;
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name))(arguments...);
}

/// Signals that this thread sent to whole groups; with `groupsAreZombies` each answer but the first is that
/// of a system where nobody but a dead leader is left.
thread_local std::vector<int> groupSignals;
bool groupsAreZombies = false;

} // namespace

extern "C" int kill(pid_t process, int signal) noexcept {
    if (process < -1)
        groupSignals.push_back(signal);
    if (process < -1 && groupsAreZombies && groupSignals.size() > 1) {
        errno = EPERM;
        return -1;
    }
    return reinterpret_cast<int (*)(pid_t, int)>(::dlsym(RTLD_NEXT, "kill"))(process, signal);
}

#define FAILABLE(name, parameters, ...)                                                                      \
    extern "C" int name parameters noexcept {                                                                \
        return failOrCall(#name, name, __VA_ARGS__);                                                         \
    }
FAILABLE(posix_spawn_file_actions_init, (posix_spawn_file_actions_t * a), a)
FAILABLE(posix_spawnattr_init, (posix_spawnattr_t * a), a)
FAILABLE(posix_spawn_file_actions_adddup2, (posix_spawn_file_actions_t * a, int from, int to), a, from, to)
FAILABLE(posix_spawn_file_actions_addclose, (posix_spawn_file_actions_t * a, int end), a, end)
FAILABLE(posix_spawnattr_setflags, (posix_spawnattr_t * a, short flags), a, flags)
FAILABLE(posix_spawnattr_setpgroup, (posix_spawnattr_t * a, pid_t group), a, group)
FAILABLE(pipe2, (int* ends, int flags), ends, flags)

namespace varnel {
namespace {

using testing::openDescriptors;

TEST(PluginProcessRunner, NamesTheStepOfAPreparationThatFails) {
    const struct {
        const char* call;
        int nth;
        const char* message;
    } rows[] = {
        {"posix_spawn_file_actions_init", 1, "Could not initialize file actions: Cannot allocate memory"},
        {"posix_spawnattr_init", 1, "Could not initialize spawn attributes: Cannot allocate memory"},
        {"posix_spawn_file_actions_adddup2", 1, "Could not connect plugin stdin: Cannot allocate memory"},
        {"posix_spawn_file_actions_adddup2", 2, "Could not connect plugin stdout: Cannot allocate memory"},
        {"posix_spawn_file_actions_adddup2", 3, "Could not connect plugin stderr: Cannot allocate memory"},
        {"posix_spawn_file_actions_addclose", 1, "Could not close inherited pipe: Cannot allocate memory"},
        {"posix_spawn_file_actions_addclose", 6, "Could not close inherited pipe: Cannot allocate memory"},
        {"posix_spawnattr_setflags", 1, "Could not set process-group flag: Cannot allocate memory"},
        {"posix_spawnattr_setpgroup", 1, "Could not create process group: Cannot allocate memory"},
    };
    const int before = openDescriptors();
    for (const auto& row : rows) {
        failingCall = row.call;
        callsUntilFailure = row.nth;
        auto result = runPluginProcess(VARNEL_BINARY_DIR "/plugin_test_child", "echo", "x", {});
        ASSERT_FALSE(result) << row.message;
        EXPECT_EQ(describe(result.error()), row.message);
    }
    for (int nth : {1, 2, 3}) {
        failingCall = "pipe2";
        callsUntilFailure = nth;
        EXPECT_FALSE(runPluginProcess(VARNEL_BINARY_DIR "/plugin_test_child", "echo", "x", {}));
    }
    failingCall = "";
    EXPECT_EQ(openDescriptors(), before);
}

TEST(PluginProcessRunner, TakesEPERMForAGroupThatIsStillThere) {
    groupSignals.clear();
    groupsAreZombies = true;
    const auto begin = std::chrono::steady_clock::now();
    const auto result = runPluginProcess(VARNEL_BINARY_DIR "/plugin_test_child", "never-read", "x",
                                         {.timeout = std::chrono::milliseconds(200)});
    groupsAreZombies = false;
    ASSERT_FALSE(result);
    EXPECT_EQ(describe(result.error()), "Plugin command 'never-read' timed out");
    EXPECT_EQ(groupSignals, (std::vector{SIGTERM, 0, SIGKILL})) << "a refused SIGKILL is no error";
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1500));
}

} // namespace
} // namespace varnel
