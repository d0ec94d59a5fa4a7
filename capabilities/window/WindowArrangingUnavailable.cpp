#include "capabilities/window/WindowArranging.h"

namespace varnel::capability {

std::expected<void, std::string> arrangeFrontWindow(WindowArrangement) {
    return std::unexpected("Arranging windows is not available on this system yet.");
}

} // namespace varnel::capability
