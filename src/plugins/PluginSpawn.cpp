#include "plugins/PluginSpawn.h"

#include "plugins/ProcessSystem.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>

#include <cerrno>
#include <initializer_list>
#include <system_error>

extern "C" char** environ;

namespace varnel {

namespace {

std::unexpected<PluginProcessError> launchFailure(const std::string& what, int code) {
    return std::unexpected(PluginProcessError{PluginProcessError::Kind::launchFailed,
                                              what + ": " + std::system_category().message(code), 0, code});
}

/// A standard descriptor number must never be a pipe end: duplicating it onto itself would leave it
/// close-on-exec in the child.
int moveAboveStandard(UniqueFd& descriptor) {
    if (descriptor.get() > 2)
        return 0;
    int moved = ::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, 3);
    if (moved < 0)
        return errno;
    descriptor.reset(moved);
    return 0;
}

int openPipe(PluginPipe& pipe) {
    int ends[2];
    if (int code = openProcessPipe(ends))
        return code;
    pipe.readEnd.reset(ends[0]);
    pipe.writeEnd.reset(ends[1]);
    if (int code = moveAboveStandard(pipe.readEnd))
        return code;
    return moveAboveStandard(pipe.writeEnd);
}

/// The structures that describe a spawn, destroyed on every path.
class SpawnDescription {
public:
    SpawnDescription() = default;
    SpawnDescription(const SpawnDescription&) = delete;
    SpawnDescription& operator=(const SpawnDescription&) = delete;
    ~SpawnDescription() {
        if (hasActions_)
            ::posix_spawn_file_actions_destroy(&actions_);
        if (hasAttributes_)
            ::posix_spawnattr_destroy(&attributes_);
    }

    std::expected<void, PluginProcessError> prepare(const PluginPipes& pipes) {
        if (auto begun = initialize(); !begun)
            return begun;
        if (auto connected = connect(pipes); !connected)
            return connected;
        return setAttributes();
    }

    int spawn(pid_t& child, const char* path, char* const arguments[]) const {
        return ::posix_spawn(&child, path, &actions_, &attributes_, arguments, environ);
    }

private:
    static std::expected<void, PluginProcessError> check(const char* step, int code) {
        if (code != 0)
            return launchFailure("Could not " + std::string(step), code);
        return {};
    }

    std::expected<void, PluginProcessError> initialize() {
        int code = ::posix_spawn_file_actions_init(&actions_);
        if (auto step = check("initialize file actions", code); !step)
            return step;
        hasActions_ = true;
        code = ::posix_spawnattr_init(&attributes_);
        hasAttributes_ = code == 0;
        return check("initialize spawn attributes", code);
    }

    std::expected<void, PluginProcessError> connect(const PluginPipes& pipes) {
        const struct {
            const char* step;
            const UniqueFd& end;
            int standard;
        } connections[] = {{"connect plugin stdin", pipes.standardInput.readEnd, 0},
                           {"connect plugin stdout", pipes.standardOutput.writeEnd, 1},
                           {"connect plugin stderr", pipes.standardError.writeEnd, 2}};
        for (const auto& [step, end, standard] : connections)
            if (auto done = check(step, ::posix_spawn_file_actions_adddup2(&actions_, end.get(), standard));
                !done)
                return done;
        for (const PluginPipe* pipe : {&pipes.standardInput, &pipes.standardOutput, &pipes.standardError})
            for (int end : {pipe->readEnd.get(), pipe->writeEnd.get()})
                if (int code = ::posix_spawn_file_actions_addclose(&actions_, end))
                    return launchFailure("Could not close inherited pipe", code);
        return check("close inherited descriptors", closeOtherDescriptors(actions_));
    }

    std::expected<void, PluginProcessError> setAttributes() {
        sigset_t none, endings;
        // These are macros on macOS, which take no "::".
        sigemptyset(&none);
        sigemptyset(&endings);
        for (int signal : {SIGPIPE, SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGCHLD})
            sigaddset(&endings, signal);
        const auto flags = static_cast<short>(POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK |
                                              POSIX_SPAWN_SETSIGDEF | extraSpawnFlags());
        if (auto step = check("set process-group flag", ::posix_spawnattr_setflags(&attributes_, flags));
            !step)
            return step;
        if (auto step = check("create process group", ::posix_spawnattr_setpgroup(&attributes_, 0)); !step)
            return step;
        if (auto step = check("set signal mask", ::posix_spawnattr_setsigmask(&attributes_, &none)); !step)
            return step;
        return check("set default signals", ::posix_spawnattr_setsigdefault(&attributes_, &endings));
    }

    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
    bool hasActions_ = false, hasAttributes_ = false;
};

} // namespace

std::expected<PluginPipes, PluginProcessError> PluginPipes::open() {
    PluginPipes pipes;
    for (PluginPipe* pipe : {&pipes.standardInput, &pipes.standardOutput, &pipes.standardError})
        if (int code = openPipe(*pipe))
            return launchFailure("Could not create plugin pipe", code);
    return pipes;
}

std::expected<pid_t, PluginProcessError> spawnPlugin(const std::string& executable,
                                                     std::string_view commandWord, const PluginPipes& pipes) {
    SpawnDescription description;
    if (auto prepared = description.prepare(pipes); !prepared)
        return std::unexpected(prepared.error());
    std::string path = executable, word(commandWord);
    char* arguments[] = {path.data(), word.data(), nullptr};
    pid_t child = 0;
    if (int code = description.spawn(child, executable.c_str(), arguments))
        return launchFailure("Could not launch plugin", code);
    return child;
}

} // namespace varnel
