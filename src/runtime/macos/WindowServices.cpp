#include "runtime/WindowServices.h"

namespace varnel {

std::expected<std::unique_ptr<WindowServices>, WindowError> openWindowServices(LogSink&) {
    return std::unexpected(WindowError{"Choosing windows is not available on this system yet."});
}

} // namespace varnel
