#include "base/Localization.h"
#include "cli/CommandLine.h"
#include "cli/StandardStreams.h"
#include "runtime/ProgramLocation.h"

#include <csignal>

int main(int argc, char** argv) {
    varnel::keepStandardStreamsClosed();
    // A closed pipe is noticed where it is written to.
    std::signal(SIGPIPE, SIG_IGN);
    varnel::speakUsersLanguage(varnel::programFolder());
    varnel::Console console;
    return varnel::runCommandLine({argv, argv + argc}, console);
}
