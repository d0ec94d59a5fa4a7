#include "base/Log.h"

namespace varnel {

std::unique_ptr<LogSink> makeSystemLog() {
    return std::make_unique<StandardErrorLog>();
}

} // namespace varnel
