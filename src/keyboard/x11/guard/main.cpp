// varnel-keyguard PROCESS RESOURCE: standard input tells when PROCESS holds the keyboard ('b') and when no
// longer ('e'); standard output is a connection to the X server. While the keyboard is held and PROCESS is
// found stopped twice in a row, the client that owns RESOURCE is closed. Ends when standard input does.

#include "base/linux/StartupCode.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace {

constexpr int kInterval = 400; // milliseconds

bool isStopped(const char* statusFile) {
    char text[512];
    const int file = ::open(statusFile, O_RDONLY | O_CLOEXEC);
    const ssize_t length = file < 0 ? -1 : ::read(file, text, sizeof text - 1);
    if (file >= 0)
        ::close(file);
    if (length <= 0)
        return false;
    text[length] = 0;
    // The state follows the name in parentheses, which may hold anything itself.
    const char* const name = std::strrchr(text, ')');
    return name != nullptr && name[1] == ' ' && (name[2] == 'T' || name[2] == 't');
}

void closeClient(int server, std::uint32_t resource) {
    struct {
        std::uint8_t opcode = 113; // KillClient
        std::uint8_t unused = 0;
        std::uint16_t length = 2;
        std::uint32_t resource = 0;
    } request;
    static_assert(sizeof request == 8);
    request.resource = resource;
    while (::write(server, &request, sizeof request) < 0 && errno == EINTR) {
    }
}

} // namespace

using varnel::forgetStartupCode;

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    ::signal(SIGPIPE, SIG_IGN);
    char statusFile[64];
    std::snprintf(statusFile, sizeof statusFile, "/proc/%s/stat", arguments[1]);
    const auto resource = static_cast<std::uint32_t>(std::strtoul(arguments[2], nullptr, 10));

    forgetStartupCode();
    bool isHeld = false;
    int stoppedLooks = 0;
    pollfd sources[] = {{STDIN_FILENO, POLLIN, 0}, {STDOUT_FILENO, POLLIN, 0}};
    while (true) {
        const int ready = ::poll(sources, 2, isHeld ? kInterval : -1);
        char buffer[4096];
        if (ready > 0 && sources[0].revents != 0) {
            const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
            if (length <= 0)
                return 0;
            isHeld = buffer[length - 1] == 'b';
            stoppedLooks = 0;
        }
        // What the server tells everybody is of no interest here, but must not pile up.
        if (ready > 0 && sources[1].revents != 0 && ::read(STDOUT_FILENO, buffer, sizeof buffer) <= 0)
            return 0;
        if (ready == 0) {
            stoppedLooks = isStopped(statusFile) ? stoppedLooks + 1 : 0;
            if (stoppedLooks == 2)
                closeClient(STDOUT_FILENO, resource);
        }
    }
}
