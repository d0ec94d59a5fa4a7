#pragma once

#include "base/FileEventSource.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace varnel {

/// What a vnode source reports; the system's values.
inline constexpr unsigned kVnodeDelete = 0x1;
inline constexpr unsigned kVnodeWrite = 0x2;
inline constexpr unsigned kVnodeRename = 0x20;

/// The system calls behind `VnodeFileEventSource`.
struct VnodeTable {
    /// Opens for events only; -1 on failure.
    std::function<int(const std::string& path)> openForEvents;
    std::function<void(int descriptor)> closeDescriptor;
    /// Starts a source for the three flags above. `onEvent` runs on a queue of the system and may still run
    /// after `cancel` was called; `onCancelled` runs once, after the last event. Null on failure, without
    /// calling either.
    std::function<void*(int descriptor, std::function<void(unsigned flags)> onEvent,
                        std::function<void()> onCancelled)>
        start;
    /// Ends the source and gives up the reference.
    std::function<void(void* source)> cancel;
};

/// File events from vnode sources, one each watch, handed over to the loop's thread.
class VnodeFileEventSource : public FileEventSource {
public:
    /// `loop` must outlive the source; events that arrive later are dropped.
    VnodeFileEventSource(EventLoop& loop, VnodeTable table);
    ~VnodeFileEventSource() override;
    [[nodiscard]] Subscription watch(const std::string& path,
                                     std::function<void(FileEvent)> callback) override;

private:
    /// The way from the system's queues to the loop; closed when the source goes.
    struct Gate {
        std::mutex mutex;
        EventLoop* loop;
    };
    std::shared_ptr<Gate> gate_;
    std::shared_ptr<const VnodeTable> table_;
};

} // namespace varnel
