#include "commands/linux/DetachedProgram.h"

#include "base/UniqueFd.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>

namespace varnel {

namespace {

// The two processes below share our memory until the program is loaded, while the calling thread stands
// still. So they make plain system calls only: nothing that takes locks, and nothing that a sanitizer
// watches.
#define VARNEL_PLAIN __attribute__((no_sanitize("address", "undefined", "thread")))

constexpr std::size_t kStackSize = 16384;
constexpr int kLastSignal = 64;
constexpr const char* kShell = "/bin/sh";

enum class Step { createProcess, enterFolder, execute };

struct Plan {
    const char* program = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    const char* folder = nullptr;
    char* programStack = nullptr;
    Step step = Step::createProcess;
    int failure = 0;
};

/// As the kernel wants it; all zero is the default action.
struct KernelSignalAction {
    std::uintptr_t handler, flags, restorer;
    std::uint64_t mask;
};

VARNEL_PLAIN long call(long number, long a = 0, long b = 0, long c = 0, long d = 0) {
    return ::syscall(number, a, b, c, d);
}
VARNEL_PLAIN long address(const void* pointer) {
    return reinterpret_cast<long>(pointer);
}

VARNEL_PLAIN void closeDescriptors() {
    if (call(SYS_close_range, 0, ~0U, 0) != 0)
        for (int descriptor = 0; descriptor < 4096; ++descriptor) // kernels before 5.9
            call(SYS_close, descriptor);
    call(SYS_openat, AT_FDCWD, address("/dev/null"), O_RDWR);
    call(SYS_dup3, 0, 1, 0);
    call(SYS_dup3, 0, 2, 0);
}

VARNEL_PLAIN void resetSignals() {
    const KernelSignalAction byDefault{};
    const std::uint64_t none = 0;
    for (int signal = 1; signal <= kLastSignal; ++signal)
        call(SYS_rt_sigaction, signal, address(&byDefault), 0, sizeof none);
    call(SYS_rt_sigprocmask, SIG_SETMASK, address(&none), 0, sizeof none);
}

VARNEL_PLAIN int becomeProgram(void* argument) {
    Plan& plan = *static_cast<Plan*>(argument);
    call(SYS_setsid);
    closeDescriptors();
    resetSignals();
    plan.step = Step::enterFolder;
    if (*plan.folder && call(SYS_chdir, address(plan.folder)) != 0) {
        plan.failure = errno;
        return 1;
    }
    plan.step = Step::execute;
    call(SYS_execve, address(plan.program), address(plan.arguments), address(plan.environment));
    plan.failure = errno;
    return 1;
}

/// Ends as soon as the program is loaded, so that the program belongs to nobody.
VARNEL_PLAIN int standBetween(void* argument) {
    Plan& plan = *static_cast<Plan*>(argument);
    if (::clone(becomeProgram, plan.programStack, CLONE_VM | CLONE_VFORK | SIGCHLD, argument) < 0)
        plan.failure = errno;
    return 0;
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const std::string& text : texts)
        result.push_back(const_cast<char*>(text.c_str()));
    result.push_back(nullptr);
    return result;
}

/// A program for another machine, or a damaged one, is nothing for the shell.
bool isBinary(const std::string& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 256> start{};
    const ssize_t size = file ? ::read(file.get(), start.data(), start.size()) : 0;
    return size > 0 && std::memchr(start.data(), 0, static_cast<std::size_t>(size)) != nullptr;
}

/// Returns when the program is loaded or has failed to; `plan` then tells.
void run(Plan& plan) {
    alignas(16) std::array<char, kStackSize> betweenStack;
    alignas(16) std::array<char, kStackSize> programStack;
    plan.programStack = programStack.data() + programStack.size();

    // A handler of ours must not run in a process that shares our memory.
    sigset_t all, before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    const int between = ::clone(standBetween, betweenStack.data() + betweenStack.size(),
                                CLONE_VM | CLONE_VFORK | CLONE_FILES | CLONE_FS, &plan);
    if (between < 0)
        plan.failure = errno;
    else
        while (::waitpid(between, nullptr, __WALL) < 0 && errno == EINTR) {
        }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

std::expected<void, ProgramStartError> startDetached(const ProgramStart& start) {
    const std::vector<char*> arguments = pointers(start.arguments);
    const std::vector<char*> environment = pointers(start.environment);
    Plan plan;
    plan.program = start.program.c_str();
    plan.arguments = arguments.data();
    plan.environment = environment.data();
    plan.folder = start.folder.c_str();
    run(plan);
    if (plan.failure == 0)
        return {};
    if (plan.failure == ENOEXEC && start.program != kShell && !isBinary(start.program)) {
        ProgramStart inShell = start;
        inShell.program = kShell;
        inShell.arguments = {kShell, start.program};
        if (!start.arguments.empty())
            inShell.arguments.insert(inShell.arguments.end(), start.arguments.begin() + 1,
                                     start.arguments.end());
        return startDetached(inShell);
    }
    switch (plan.step) {
    case Step::createProcess:
        return std::unexpected(ProgramStartError{"create a process for", start.program, plan.failure});
    case Step::enterFolder:
        return std::unexpected(ProgramStartError{"enter folder", start.folder, plan.failure});
    case Step::execute:
        break;
    }
    return std::unexpected(ProgramStartError{"execute", start.program, plan.failure});
}

} // namespace varnel
