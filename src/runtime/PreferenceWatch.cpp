#include "runtime/PreferenceWatch.h"

namespace varnel {

PreferenceWatch::PreferenceWatch(FileSystem& files, FileEventSource& events, FilePreferenceStore& store,
                                 LogSink& log, std::function<void()> changed)
    : events_(events)
    , store_(store)
    , log_(log)
    , changed_(std::move(changed)) {
    std::string folder = parentPath(store.path());
    if (!files.makeFolders(folder))
        return;
    // Most programs replace the file, which is an event of the folder only.
    folder_ = events_.watch(folder, [this](FileEvent) {
        watchFile();
        reload();
    });
    watchFile();
}

void PreferenceWatch::watchFile() {
    file_ = events_.watch(store_.path(), [this](FileEvent) { reload(); });
}

void PreferenceWatch::reload() {
    if (auto loaded = store_.reload(); !loaded)
        log_.write(LogLevel::error, "Preferences", loaded.error());
    else
        changed_();
}

} // namespace varnel
