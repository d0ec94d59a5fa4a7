#include "base/linux/InotifyFileEventSource.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <vector>

namespace varnel {

namespace {

constexpr std::uint32_t kFileMask = IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;
// IN_MODIFY and IN_ATTRIB on a folder would tell of the files inside it.
constexpr std::uint32_t kFolderMask =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MOVE_SELF | IN_DELETE_SELF | IN_ONLYDIR;

} // namespace

struct InotifyFileEventSource::State {
    struct Watch {
        int descriptor; ///< inotify's; two watches of one file share it
        std::string path;
        dev_t device;
        ino_t inode;
        std::function<void(FileEvent)> callback;
        bool live = true;
        bool gone = false; ///< the end of the file has been told
    };

    EventLoop* loop;
    UniqueFd inotify;
    Subscription readable;
    std::vector<std::shared_ptr<Watch>> watches;
    bool closed = false;

    explicit State(EventLoop& eventLoop)
        : loop(&eventLoop) {}

    void read();
    void handle(const inotify_event& event);
    static void tell(Watch& watch, std::uint32_t mask);
    void forget(const std::shared_ptr<Watch>& watch);
};

InotifyFileEventSource::InotifyFileEventSource(EventLoop& loop)
    : state_(std::make_shared<State>(loop)) {}
InotifyFileEventSource::~InotifyFileEventSource() {
    state_->closed = true;
    state_->readable.reset();
}

Subscription InotifyFileEventSource::watch(const std::string& path, std::function<void(FileEvent)> callback) {
    State& state = *state_;
    if (!state.inotify) {
        state.inotify.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        if (!state.inotify)
            return {};
        state.readable = state.loop->watchReadable(state.inotify.get(), [weak = std::weak_ptr(state_)] {
            if (const auto owner = weak.lock()) // held: a callback may destroy the source
                owner->read();
        });
    }
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    const int descriptor = inotify_add_watch(state.inotify.get(), path.c_str(),
                                             S_ISDIR(status.st_mode) ? kFolderMask : kFileMask);
    if (descriptor < 0)
        return {};
    auto watch = std::make_shared<State::Watch>(
        State::Watch{descriptor, path, status.st_dev, status.st_ino, std::move(callback)});
    state.watches.push_back(watch);
    return Subscription([weak = std::weak_ptr(state_), watch] {
        watch->live = false;
        if (const auto owner = weak.lock())
            owner->forget(watch);
    });
}

void InotifyFileEventSource::State::forget(const std::shared_ptr<Watch>& watch) {
    std::erase(watches, watch);
    const bool shared = std::any_of(watches.begin(), watches.end(), [&](const auto& other) {
        return other->descriptor == watch->descriptor;
    });
    if (!shared)
        inotify_rm_watch(inotify.get(), watch->descriptor); // fails when the file is gone, which is fine
}

void InotifyFileEventSource::State::read() {
    alignas(inotify_event) char buffer[4096];
    const ssize_t size = ::read(inotify.get(), buffer, sizeof buffer);
    for (ssize_t offset = 0; offset < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
        handle(*event);
        offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
}

void InotifyFileEventSource::State::handle(const inotify_event& event) {
    const bool overflow = event.mask & IN_Q_OVERFLOW; // events were lost: anything may have changed
    const auto present = watches;
    for (const auto& watch : present)
        if (!closed && watch->live && (overflow || watch->descriptor == event.wd))
            tell(*watch, overflow ? IN_MODIFY : event.mask);
}

void InotifyFileEventSource::State::tell(Watch& watch, std::uint32_t mask) {
    if (watch.gone)
        return;
    if (mask & (IN_MODIFY | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO))
        return watch.callback(FileEvent::write);
    if (mask & IN_MOVE_SELF)
        return watch.callback(FileEvent::rename);
    if (!(mask & (IN_ATTRIB | IN_DELETE_SELF | IN_UNMOUNT)))
        return;
    // A file that somebody still has open, or that has another name, reports only changed attributes when it
    // is deleted or replaced: see what the path names now.
    struct stat status {};
    const bool exists = stat(watch.path.c_str(), &status) == 0;
    if (exists && status.st_ino == watch.inode && status.st_dev == watch.device && !(mask & IN_DELETE_SELF))
        return;
    watch.gone = true;
    watch.callback(exists ? FileEvent::rename : FileEvent::remove);
}

} // namespace varnel
