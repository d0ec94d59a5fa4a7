#include "commands/linux/DetachedProgram.h"

#include "commands/linux/LaunchMessages.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <optional>

extern char** environ;

namespace varnel {

namespace {

constexpr std::size_t kStackSize = 16384;
constexpr const char* kShell = "/bin/sh";
/// A folder on a server that does not answer holds the launcher up; nobody waits longer for it.
constexpr timeval kPatience{.tv_sec = 20, .tv_usec = 0};

/// A program is loaded by a process that ends at once, so that the program belongs to nobody.
struct Between {
    ProgramLoading loading;
    char* programStack = nullptr;
};

__attribute__((no_sanitize("address", "undefined", "thread"))) int standBetween(void* argument) {
    auto& between = *static_cast<Between*>(argument);
    loadProgram(between.loading, between.programStack);
    return 0;
}

std::uint64_t ignoredSignals() {
    std::uint64_t ignored = 0;
    for (int signal = 1; signal <= kLastSignal; ++signal) {
        struct sigaction action{};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            ignored |= std::uint64_t{1} << (signal - 1);
    }
    return ignored;
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const std::string& text : texts)
        result.push_back(const_cast<char*>(text.c_str()));
    result.push_back(nullptr);
    return result;
}

const std::vector<std::string>& environmentOf(const ProgramStart& start) {
    static const std::vector<std::string> nothing;
    return start.environment ? *start.environment : nothing;
}

/// A program for another machine, or a damaged one, is nothing for the shell.
bool isBinary(const std::string& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 256> start{};
    const ssize_t size = file ? ::read(file.get(), start.data(), start.size()) : 0;
    return size > 0 && std::memchr(start.data(), 0, static_cast<std::size_t>(size)) != nullptr;
}

LaunchReply loadDirectly(const ProgramStart& start) {
    const std::vector<char*> arguments = pointers(start.arguments);
    const std::vector<char*> environment = pointers(environmentOf(start));
    alignas(16) std::array<char, kStackSize> betweenStack;
    alignas(16) std::array<char, kStackSize> programStack;
    Between between{.loading = {.program = start.program.c_str(),
                                .arguments = arguments.data(),
                                .environment = environment.data(),
                                .folder = start.folder.c_str(),
                                .ignoredSignals = ignoredSignals()},
                    .programStack = programStack.data() + programStack.size()};

    // A handler of ours must not run in a process that shares our memory.
    sigset_t all, before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    const int process = ::__clone(standBetween, betweenStack.data() + betweenStack.size(),
                                CLONE_VM | CLONE_VFORK | CLONE_FILES | CLONE_FS, &between);
    if (process < 0)
        between.loading.failure = errno;
    else
        while (::waitpid(process, nullptr, __WALL) < 0 && errno == EINTR) {
        }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return {between.loading.step, between.loading.failure};
}

/// `load` is asked once more, for the shell, when the file turns out to be a script without a first line.
template <typename Load>
std::expected<void, ProgramStartError> startWith(const Load& load, const ProgramStart& start) {
    const LaunchReply outcome = load(start);
    if (outcome.failure == 0)
        return {};
    if (outcome.failure == ENOEXEC && start.program != kShell && !isBinary(start.program)) {
        ProgramStart inShell = start;
        inShell.program = kShell;
        inShell.arguments = {kShell, start.program};
        if (!start.arguments.empty())
            inShell.arguments.insert(inShell.arguments.end(), start.arguments.begin() + 1,
                                     start.arguments.end());
        return startWith(load, inShell);
    }
    switch (outcome.step) {
    case LoadingStep::createProcess:
        return std::unexpected(ProgramStartError{"create a process for", start.program, outcome.failure});
    case LoadingStep::enterFolder:
        return std::unexpected(ProgramStartError{"enter folder", start.folder, outcome.failure});
    case LoadingStep::execute:
        break;
    }
    return std::unexpected(ProgramStartError{"execute", start.program, outcome.failure});
}

/// False when the start cannot be written down in one message.
bool encode(const ProgramStart& start, std::string& message) {
    const std::vector<std::string>& environment = environmentOf(start);
    if (start.arguments.size() + environment.size() > kMostLaunchStrings)
        return false;
    const LaunchRequest request{static_cast<std::uint32_t>(start.arguments.size()),
                                static_cast<std::uint32_t>(environment.size())};
    message.assign(reinterpret_cast<const char*>(&request), sizeof request);
    const auto add = [&](const std::string& text) {
        message.append(text.c_str(), std::strlen(text.c_str()) + 1);
    };
    add(start.program);
    add(start.folder);
    for (const std::string& argument : start.arguments)
        add(argument);
    for (const std::string& variable : environment)
        add(variable);
    return message.size() <= kLargestLaunchMessage;
}

} // namespace

std::expected<void, ProgramStartError> startDetached(const ProgramStart& start) {
    return startWith(loadDirectly, start);
}

void ProgramLauncher::prepare(const std::string& program) {
    int ends[2];
    if (program.empty() || socket_ || ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return;
    const UniqueFd theirs(ends[1]);
    UniqueFd ours(ends[0]);
    ::setsockopt(ours.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, theirs.get(), 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // What reaches us from the terminal is none of its business, nor what we ignore.
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t all, none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    std::string name = program;
    char* const arguments[] = {name.data(), nullptr};
    if (::posix_spawn(&process_, program.c_str(), &actions, &attributes, arguments, environ) == 0)
        socket_ = std::move(ours);
    else
        process_ = -1;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
}

ProgramLauncher::~ProgramLauncher() {
    socket_.reset();
    if (process_ <= 0)
        return;
    // It has nothing left to do, whatever may hold it up.
    ::kill(process_, SIGKILL);
    while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

std::expected<void, ProgramStartError> ProgramLauncher::start(const ProgramStart& start) {
    const auto load = [this](const ProgramStart& wanted) -> LaunchReply {
        if (!socket_ || !encode(wanted, message_))
            return loadDirectly(wanted);
        if (::send(socket_.get(), message_.data(), message_.size(), MSG_NOSIGNAL) < 0) {
            if (errno == EPIPE || errno == ECONNRESET)
                socket_.reset();
            return loadDirectly(wanted);
        }
        LaunchReply reply;
        ssize_t size = 0;
        while ((size = ::recv(socket_.get(), &reply, sizeof reply, 0)) < 0 && errno == EINTR) {
        }
        if (size == sizeof reply)
            return reply;
        const bool isLate = size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        socket_.reset(); // a late answer must not be taken for that of the next start
        return isLate ? LaunchReply{LoadingStep::execute, ETIMEDOUT} : loadDirectly(wanted);
    };
    return startWith(load, start);
}

} // namespace varnel
