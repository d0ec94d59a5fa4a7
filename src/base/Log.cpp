#include "base/Log.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace varnel {

StandardErrorLog::StandardErrorLog()
    : debug_(std::getenv("VARNEL_DEBUG") != nullptr) {}

void StandardErrorLog::write(LogLevel level, std::string_view category, std::string_view text) {
    if (level == LogLevel::debug && !debug_)
        return;
    std::string line;
    line.reserve(category.size() + text.size() + 3);
    line.append(category).append(": ").append(text).append("\n");
    // One call a line, so that lines of several threads do not mix. Where the line cannot go, it is lost.
    while (::write(STDERR_FILENO, line.data(), line.size()) < 0 && errno == EINTR) {
    }
}

} // namespace varnel
