#include "base/Localized.h"
#include "capabilities/shell/ShellCommand.h"

using namespace varnel::capability;

int main(int argc, char** argv) {
    return run(argc, argv, [](const Request& request) {
        if (request.actionID != "run")
            return Response::failure(varnel::localized("There is no action '%1'.", {request.actionID}));
        return runShellCommand({request.text("command"), request.flag("openInTerminal", false),
                                request.text("terminalApplication")});
    });
}
