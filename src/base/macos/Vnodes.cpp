#include "base/macos/SystemTables.h"

#include <dispatch/dispatch.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace varnel {

namespace {

static_assert(DISPATCH_VNODE_DELETE == kVnodeDelete && DISPATCH_VNODE_WRITE == kVnodeWrite &&
              DISPATCH_VNODE_RENAME == kVnodeRename);

/// What a source carries; gone with the cancel handler, which is its last call.
struct Handlers {
    dispatch_source_t source;
    std::function<void(unsigned)> onEvent;
    std::function<void()> onCancelled;
};

void handleEvent(void* context) {
    auto* handlers = static_cast<Handlers*>(context);
    handlers->onEvent(static_cast<unsigned>(dispatch_source_get_data(handlers->source)));
}

void handleCancel(void* context) {
    const std::unique_ptr<Handlers> handlers(static_cast<Handlers*>(context));
    handlers->onCancelled();
}

void* startSource(int descriptor, std::function<void(unsigned)> onEvent, std::function<void()> onCancelled) {
    dispatch_source_t source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_VNODE, static_cast<uintptr_t>(descriptor),
                               DISPATCH_VNODE_DELETE | DISPATCH_VNODE_WRITE | DISPATCH_VNODE_RENAME,
                               dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0));
    if (!source)
        return nullptr;
    dispatch_set_context(source, new Handlers{source, std::move(onEvent), std::move(onCancelled)});
    dispatch_source_set_event_handler_f(source, handleEvent);
    dispatch_source_set_cancel_handler_f(source, handleCancel);
    dispatch_resume(source); // sources are made suspended
    return source;
}

} // namespace

VnodeTable systemVnodes() {
    return {
        .openForEvents = [](const std::string& path) { return open(path.c_str(), O_EVTONLY | O_CLOEXEC); },
        .closeDescriptor = [](int descriptor) { close(descriptor); },
        .start = startSource,
        .cancel =
            [](void* handle) {
                auto source = static_cast<dispatch_source_t>(handle);
                dispatch_source_cancel(source);
                dispatch_release(source);
            }};
}

} // namespace varnel
