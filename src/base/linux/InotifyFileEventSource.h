#pragma once

#include "base/FileEventSource.h"
#include "base/UniqueFd.h"

#include <memory>

namespace varnel {

/// File events from inotify, one descriptor for all watches.
class InotifyFileEventSource : public FileEventSource {
public:
    /// `loop` must outlive the source.
    explicit InotifyFileEventSource(EventLoop& loop);
    ~InotifyFileEventSource() override;
    [[nodiscard]] Subscription watch(const std::string& path,
                                     std::function<void(FileEvent)> callback) override;

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace varnel
