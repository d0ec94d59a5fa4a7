#include "commands/ProgramStart.h"

#include <system_error>

namespace varnel {

std::string describe(const ProgramStartError& error) {
    return "Could not " + error.operation + " " + error.path + ": " +
           std::generic_category().message(error.code);
}

} // namespace varnel
