#include "commands/linux/ProgramLoading.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

// The new process shares its creator's memory until the program is loaded, while the creator stands still. So
// it makes plain system calls only: nothing that takes locks, and nothing that a sanitizer watches.
#define VARNEL_PLAIN __attribute__((no_sanitize("address", "undefined", "thread")))

namespace varnel {

namespace {

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

/// A program starts with handlers removed anyway, but inherits what is ignored.
VARNEL_PLAIN void resetSignals(std::uint64_t ignored) {
    const KernelSignalAction byDefault{};
    const std::uint64_t none = 0;
    for (int signal = 1; signal <= kLastSignal; ++signal)
        if ((ignored >> (signal - 1) & 1) != 0)
            call(SYS_rt_sigaction, signal, address(&byDefault), 0, sizeof none);
    call(SYS_rt_sigprocmask, SIG_SETMASK, address(&none), 0, sizeof none);
}

VARNEL_PLAIN int becomeProgram(void* argument) {
    ProgramLoading& loading = *static_cast<ProgramLoading*>(argument);
    call(SYS_setsid);
    closeDescriptors();
    resetSignals(loading.ignoredSignals);
    loading.step = LoadingStep::enterFolder;
    if (*loading.folder && call(SYS_chdir, address(loading.folder)) != 0) {
        loading.failure = errno;
        return 1;
    }
    loading.step = LoadingStep::execute;
    call(SYS_execve, address(loading.program), address(static_cast<const void*>(loading.arguments)),
         address(static_cast<const void*>(loading.environment)));
    loading.failure = errno;
    return 1;
}

} // namespace

VARNEL_PLAIN void loadProgram(ProgramLoading& loading, char* stackEnd) {
    if (::__clone(becomeProgram, stackEnd, CLONE_VM | CLONE_VFORK | SIGCHLD, &loading) < 0)
        loading.failure = errno;
}

} // namespace varnel
