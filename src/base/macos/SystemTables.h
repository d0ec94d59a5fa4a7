#pragma once

#include "base/CoreFoundationPreferenceStore.h"
#include "base/Log.h"
#include "base/VnodeFileEventSource.h"

namespace varnel {

/// Vnode sources of libdispatch, on a global queue.
VnodeTable systemVnodes();

/// The preferences of this application: its bundle identifier names their place.
PreferencesTable systemPreferences();

/// The unified log, under the application's identifier.
class UnifiedLog : public LogSink {
public:
    void write(LogLevel level, std::string_view category, std::string_view text) override;
};

} // namespace varnel
