#pragma once

#include "activation/WindowGeometry.h"

#include <ostream>

namespace varnel {

/// How failed expectations show it.
inline void PrintTo(const Rectangle& r, std::ostream* out) {
    *out << r.width << 'x' << r.height << '+' << r.x << '+' << r.y;
}

} // namespace varnel
