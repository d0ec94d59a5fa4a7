#include "cli/CommandLine.h"

#include <fcntl.h>

#include <csignal>

namespace {

/// A descriptor opened later must not take the place of a closed standard stream, or what is printed would go
/// into it. Reading from and writing to the stream goes on failing.
void keepStandardStreamsClosed() {
    for (int stream = 0; stream <= 2; ++stream)
        if (::fcntl(stream, F_GETFD) < 0)
            (void)::open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
}

} // namespace

int main(int argc, char** argv) {
    keepStandardStreamsClosed();
    // A closed pipe is noticed where it is written to.
    std::signal(SIGPIPE, SIG_IGN);
    varnel::Console console;
    return varnel::runCommandLine({argv, argv + argc}, console);
}
