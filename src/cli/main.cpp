#include "cli/CommandLine.h"
#include "cli/StandardStreams.h"

#include <csignal>

int main(int argc, char** argv) {
    varnel::keepStandardStreamsClosed();
    // A closed pipe is noticed where it is written to.
    std::signal(SIGPIPE, SIG_IGN);
    varnel::Console console;
    return varnel::runCommandLine({argv, argv + argc}, console);
}
