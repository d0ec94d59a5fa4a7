#include "base/VnodeFileEventSource.h"

#include <utility>

namespace varnel {

namespace {

struct Watch {
    std::function<void(FileEvent)> callback;
};

/// One report may carry several flags; what ends the file's life under its name comes first.
FileEvent eventOf(unsigned flags) {
    if (flags & kVnodeDelete)
        return FileEvent::remove;
    return flags & kVnodeRename ? FileEvent::rename : FileEvent::write;
}

} // namespace

VnodeFileEventSource::VnodeFileEventSource(EventLoop& loop, VnodeTable table)
    : gate_(std::make_shared<Gate>())
    , table_(std::make_shared<const VnodeTable>(std::move(table))) {
    gate_->loop = &loop;
}

VnodeFileEventSource::~VnodeFileEventSource() {
    const std::lock_guard lock(gate_->mutex);
    gate_->loop = nullptr;
}

Subscription VnodeFileEventSource::watch(const std::string& path, std::function<void(FileEvent)> callback) {
    const int descriptor = table_->openForEvents(path);
    if (descriptor < 0)
        return {};
    auto watch = std::make_shared<Watch>(Watch{std::move(callback)});
    const auto onEvent = [gate = gate_, weak = std::weak_ptr(watch)](unsigned flags) {
        const std::lock_guard lock(gate->mutex);
        if (!gate->loop)
            return;
        gate->loop->post([weak, flags] {
            if (const auto live = weak.lock())
                live->callback(eventOf(flags));
        });
    };
    // The number must stay taken until the last event is through: a new file would get it otherwise.
    void* source = table_->start(descriptor, onEvent,
                                 [table = table_, descriptor] { table->closeDescriptor(descriptor); });
    if (!source) {
        table_->closeDescriptor(descriptor);
        return {};
    }
    return Subscription([watch = std::move(watch), source, table = table_]() mutable {
        watch.reset();
        table->cancel(source);
    });
}

} // namespace varnel
