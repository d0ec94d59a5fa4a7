#pragma once

#include "activation/WindowGeometry.h"

#include <expected>
#include <string>

namespace varnel::capability {

/// Arranges the window that has the keyboard. The error is a sentence for the user.
std::expected<void, std::string> arrangeFrontWindow(WindowArrangement arrangement);

} // namespace varnel::capability
