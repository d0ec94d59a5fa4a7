// varnel-launcher: standard input is a socket. Starts the program that each message names and answers how
// that went; the programs are its children, and the kernel buries them. Ends when the other side does.

#include "base/linux/StartupCode.h"
#include "commands/linux/LaunchMessages.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace {

using namespace varnel;

alignas(16) char message[kLargestLaunchMessage + 1];
alignas(16) char stack[16384];
char* strings[kMostLaunchStrings + 4]; // the lists end with null

constexpr std::uint64_t bit(int signal) {
    return std::uint64_t{1} << (signal - 1);
}
/// Ours, and the two that the C library ignores for its own ends in what it starts.
constexpr std::uint64_t kIgnored = bit(SIGCHLD) | bit(32) | bit(33);

/// Points `loading` into the message; false when that is none of ours.
bool decode(std::size_t size, ProgramLoading& loading) {
    LaunchRequest request;
    if (size < sizeof request || size > kLargestLaunchMessage)
        return false;
    std::memcpy(&request, message, sizeof request);
    if (request.argumentCount > kMostLaunchStrings ||
        request.environmentCount > kMostLaunchStrings - request.argumentCount)
        return false;
    message[size] = 0;
    char* at = message + sizeof request;
    const auto next = [&]() -> char* {
        if (at >= message + size)
            return nullptr;
        char* const text = at;
        at += std::strlen(at) + 1;
        return text;
    };
    loading.program = next();
    loading.folder = next();
    char** list = strings;
    loading.arguments = list;
    for (std::uint32_t i = 0; i < request.argumentCount; ++i)
        *list++ = next();
    *list++ = nullptr;
    loading.environment = list;
    for (std::uint32_t i = 0; i < request.environmentCount; ++i)
        *list++ = next();
    *list = nullptr;
    return at == message + size && loading.folder != nullptr;
}

} // namespace

int main() {
    ::signal(SIGCHLD, SIG_IGN); // no child is ever waited for
    forgetStartupCode();
    while (true) {
        const ssize_t size = ::recv(0, message, kLargestLaunchMessage, 0);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return size < 0;
        ProgramLoading loading;
        loading.ignoredSignals = kIgnored;
        if (decode(static_cast<std::size_t>(size), loading))
            loadProgram(loading, stack + sizeof stack);
        else
            loading.failure = EINVAL;
        const LaunchReply reply{loading.step, loading.failure};
        if (::send(0, &reply, sizeof reply, MSG_NOSIGNAL) != sizeof reply)
            return 1;
    }
}
