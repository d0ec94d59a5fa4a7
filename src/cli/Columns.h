#pragma once

#include "base/UTF8.h"

#include <string>

namespace varnel {

/// The text, filled up with spaces to so many columns of a terminal; at least one space follows it.
inline std::string column(std::string text, std::size_t columns) {
    const std::size_t used = columnsOf(text);
    return text.append(used < columns ? columns - used : 1, ' ');
}

} // namespace varnel
