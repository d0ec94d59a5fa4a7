#pragma once

#include <cstdlib>
#include <memory>

namespace varnel {

struct FreeWithC {
    void operator()(void* memory) const { std::free(memory); }
};
/// What xcb hands out: replies, events and errors.
template <typename T>
using XcbOwned = std::unique_ptr<T, FreeWithC>;

} // namespace varnel
