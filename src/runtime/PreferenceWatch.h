#pragma once

#include "base/FileEventSource.h"
#include "base/FilePreferenceStore.h"
#include "base/Log.h"
#include "base/Subscription.h"

#include <functional>

namespace varnel {

/// Keeps a preference store up to date with its file while other programs change it. Main thread.
class PreferenceWatch {
public:
    /// All must outlive the watch. `changed` is called after each time the file was read. The folder of the
    /// file is created so that it can be watched.
    PreferenceWatch(FileSystem& files, FileEventSource& events, FilePreferenceStore& store, LogSink& log,
                    std::function<void()> changed);

private:
    void watchFile();
    void reload();

    FileEventSource& events_;
    FilePreferenceStore& store_;
    LogSink& log_;
    std::function<void()> changed_;
    Subscription folder_;
    Subscription file_;
};

} // namespace varnel
