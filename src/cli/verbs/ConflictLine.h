#pragma once

#include "cli/JSONLine.h"
#include "config/TriggerConflict.h"

#include <string>

namespace varnel {

inline std::string conflictLine(const TriggerConflict& conflict) {
    return JSONLine()
        .text("id", conflict.itemID.text())
        .text("name", conflict.name)
        .texts("keys", conflict.keys)
        .text("message", conflictMessage(conflict))
        .finished();
}

} // namespace varnel
