#include "base/macos/ApplicationIdentifier.h"
#include "base/macos/SystemTables.h"

#include <os/log.h>

#include <string>

namespace varnel {

void UnifiedLog::write(LogLevel level, std::string_view category, std::string_view text) {
    // The system keeps one object for each category and hands the same one out again.
    os_log_t log = os_log_create(VARNEL_APPLICATION_IDENTIFIER, std::string(category).c_str());
    const os_log_type_t type = level == LogLevel::error ? OS_LOG_TYPE_ERROR : OS_LOG_TYPE_DEBUG;
    const std::string line(text);
    // The compiler encodes the arguments: the format must be a literal. Without "public" the text is hidden.
    os_log_with_type(log, type, "%{public}s", line.c_str());
}

std::unique_ptr<LogSink> makeSystemLog() {
    return std::make_unique<UnifiedLog>();
}

} // namespace varnel
