#pragma once

#include <string>

namespace varnel {

/// The folder in which the running program lies, links resolved; "" when the system does not tell.
std::string programFolder();

} // namespace varnel
