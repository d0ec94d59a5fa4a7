#include "commands/ProgramStart.h"

#include "base/Localized.h"

#include <system_error>

namespace varnel {

std::string describe(const ProgramStartError& error) {
    return localized("Could not %1 %2: %3",
                     {error.operation, error.path, std::generic_category().message(error.code)});
}

} // namespace varnel
