#include "runtime/ControlServer.h"

#include "base/FileSystem.h"
#include "base/JSONReader.h"
#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "base/PosixFileSystem.h"
#include "runtime/LocalSocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace varnel {

namespace {

constexpr std::size_t kMaximumRequest = std::size_t{64} * 1024;
constexpr std::size_t kMaximumClients = 16;
constexpr Duration kClientPatience = 2s;
constexpr Duration kAnswerPatience = 30s;
/// Clients that stay; the other places remain for requests.
constexpr std::ptrdiff_t kMaximumFollowers = 4;
/// How often a client that takes nothing is tried again, and how long at most.
constexpr Duration kStallInterval = 1s, kStallPatience = 60s;

ControlServerError unavailable(const std::string& path, int code) {
    return {ControlServerError::Kind::unavailable,
            localized("no control socket: %1: %2", {path, std::strerror(code)})};
}

/// The folder of the sockets, for the user alone.
std::expected<void, ControlServerError> prepareFolder(const std::string& folder) {
    struct stat info {};
    if (::stat(folder.c_str(), &info) == 0)
        return {};
    PosixFileSystem files;
    if (auto made = files.makeFolders(parentPath(folder)); !made)
        return std::unexpected(unavailable(made.error().path, made.error().code));
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return std::unexpected(unavailable(folder, errno));
    return {};
}

ControlServerError alreadyRunning(int lock, const std::string& display) {
    char text[32] = {};
    ssize_t size = ::pread(lock, text, sizeof text - 1, 0);
    std::string message = display.empty() ? localized("Varnel is already running")
                                          : localized("Varnel is already running on display %1", {display});
    if (size > 0)
        message = localized("%1 (process %2)", {message, std::to_string(std::strtol(text, nullptr, 10))});
    return {ControlServerError::Kind::alreadyRunning, message};
}

/// The lock of the display, which the system gives back however this process ends.
std::expected<UniqueFd, ControlServerError> claimDisplay(const RuntimePaths& paths) {
    std::string path = paths.displayLock();
    UniqueFd lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock)
        return std::unexpected(unavailable(path, errno));
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return std::unexpected(errno == EWOULDBLOCK ? alreadyRunning(lock.get(), paths.display)
                                                    : unavailable(path, errno));
    std::string pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(lock.get(), 0) != 0 || ::pwrite(lock.get(), pid.data(), pid.size(), 0) < 0)
        return std::unexpected(unavailable(path, errno));
    return lock;
}

/// A socket at `path`, or nothing when somebody listens there already.
std::expected<UniqueFd, int> takeOver(const std::string& path) {
    auto other = LocalSocket::connectTo(path);
    if (other || other.error() == EAGAIN)
        return UniqueFd();
    if (other.error() == ECONNREFUSED)
        ::unlink(path.c_str());
    return LocalSocket::listenAt(path);
}

struct Listener {
    UniqueFd descriptor;
    std::string path;
};

/// The first free one of our two sockets. Applications that start at once take turns.
std::expected<Listener, ControlServerError> claimSocket(const RuntimePaths& paths) {
    UniqueFd folder(::open(paths.control.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::flock(folder.get(), LOCK_EX) != 0)
        return std::unexpected(unavailable(paths.control, errno));
    for (const std::string& path : {paths.controlSocket(), paths.displayControlSocket()}) {
        auto taken = takeOver(path);
        if (!taken)
            return std::unexpected(unavailable(path, taken.error()));
        if (*taken)
            return Listener{std::move(*taken), path};
    }
    return std::unexpected(unavailable(paths.displayControlSocket(), EADDRINUSE));
}

/// Sends as much as there is room for and takes it off `text`; false when the client is gone.
bool send(int descriptor, std::string& text) {
    std::size_t done = 0;
    bool isThere = true;
    while (done < text.size()) {
        const ssize_t sent = ::write(descriptor, text.data() + done, text.size() - done);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
        } else if (errno != EINTR) {
            isThere = errno == EAGAIN;
            break;
        }
    }
    text.erase(0, done);
    return isThere;
}

} // namespace

std::expected<std::unique_ptr<ControlServer>, ControlServerError>
ControlServer::open(EventLoop& loop, const RuntimePaths& paths, Handler handler) {
    if (auto prepared = prepareFolder(paths.control); !prepared)
        return std::unexpected(prepared.error());
    auto lock = claimDisplay(paths);
    if (!lock)
        return std::unexpected(lock.error());
    auto listener = claimSocket(paths);
    if (!listener)
        return std::unexpected(listener.error());
    return std::unique_ptr<ControlServer>(new ControlServer(loop, std::move(handler), std::move(*lock),
                                                            std::move(listener->descriptor), listener->path));
}

ControlServer::ControlServer(EventLoop& loop, Handler handler, UniqueFd lock, UniqueFd listener,
                             std::string path)
    : loop_(loop)
    , handler_(std::move(handler))
    , lock_(std::move(lock))
    , listener_(std::move(listener))
    , path_(std::move(path)) {
    listen();
}

ControlServer::~ControlServer() {
    ::unlink(path_.c_str());
}

void ControlServer::listen() {
    acceptable_ = loop_.watchReadable(listener_.get(), [this] { accept(); });
}

void ControlServer::accept() {
    UniqueFd descriptor(::accept(listener_.get(), nullptr, nullptr));
    if (!descriptor) {
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
            // The connection stays in the queue; asking again at once would spin.
            acceptable_.reset();
            retry_ = loop_.after(1s, [this] { listen(); });
        }
        return;
    }
    ::fcntl(descriptor.get(), F_SETFD, FD_CLOEXEC);
    ::fcntl(descriptor.get(), F_SETFL, O_NONBLOCK);
    auto user = LocalSocket::peerUser(descriptor.get());
    if (user != ::geteuid() || clients_.size() >= kMaximumClients)
        return;
    auto client = clients_.emplace(clients_.end());
    client->number = ++lastClient_;
    client->descriptor = std::move(descriptor);
    client->readable = loop_.watchReadable(client->descriptor.get(), [this, client] { receive(client); });
    client->timeout = loop_.after(kClientPatience, [this, client] { clients_.erase(client); });
}

void ControlServer::receive(std::list<Client>::iterator client) {
    char chunk[4096];
    ssize_t got = ::read(client->descriptor.get(), chunk, sizeof chunk);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (got > 0) {
        client->received.append(chunk, static_cast<std::size_t>(got));
        std::size_t end = client->received.find('\n');
        if (end == std::string::npos && client->received.size() <= kMaximumRequest)
            return;
        if (end != std::string::npos) {
            client->readable.reset();
            client->timeout = loop_.after(kAnswerPatience, [this, client] { clients_.erase(client); });
            handle(client->received.substr(0, end), client->number);
            return;
        }
    }
    clients_.erase(client);
}

void ControlServer::handle(const std::string& line, std::uint64_t client) {
    const Replies replies{.answer =
                              [this, alive = std::weak_ptr(alive_), client](const JSONValue::Object& answer) {
                                  if (!alive.expired())
                                      finish(client, answer);
                              },
                          .follow =
                              [this, alive = std::weak_ptr(alive_), client](Feed feed) {
                                  if (!alive.expired())
                                      follow(client, std::move(feed));
                              }};
    auto request = readJSON(line);
    if (request && request->object())
        handler_(*request->object(), replies);
    else
        replies.answer({{"success", false}, {"message", "a JSON object is expected"}});
}

ControlServer::ClientEntry ControlServer::find(std::uint64_t number) {
    return std::ranges::find(clients_, number, &Client::number);
}

void ControlServer::finish(std::uint64_t number, const JSONValue::Object& answer) {
    const auto client = find(number);
    if (client == clients_.end() || client->feed)
        return;
    // An answer fits into the socket's buffer; a client that left no room for it is not waited for.
    std::string line = writeCompactJSON(answer) + "\n";
    (void)send(client->descriptor.get(), line);
    clients_.erase(client);
}

void ControlServer::follow(std::uint64_t number, Feed feed) {
    const auto client = find(number);
    if (client == clients_.end() || client->feed)
        return;
    const auto followers =
        std::ranges::count_if(clients_, [](const Client& other) { return other.feed.has_value(); });
    if (followers >= kMaximumFollowers)
        return finish(number, {{"success", false}, {"message", "too many clients are listening already"}});
    client->feed = std::move(feed);
    client->timeout.reset();
    client->readable = loop_.watchReadable(client->descriptor.get(), [this, client] { drain(client); });
    client->news = client->feed->observe([this, client] { this->feed(client); });
    this->feed(client);
}

/// A client that stays has nothing more to say: what comes is its end.
void ControlServer::drain(ClientEntry client) {
    char ignored[512];
    const ssize_t got = ::read(client->descriptor.get(), ignored, sizeof ignored);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR))
        clients_.erase(client);
}

/// Sends what there is. A client that takes nothing is left alone for a while, and in the end for good.
void ControlServer::feed(ClientEntry client) {
    for (;;) {
        if (client->unsent.empty()) {
            const auto next = client->feed->next();
            if (!next)
                return;
            client->unsent = writeCompactJSON(*next) + "\n";
        }
        const std::size_t before = client->unsent.size();
        if (!send(client->descriptor.get(), client->unsent)) {
            clients_.erase(client);
            return;
        }
        if (client->unsent.size() < before)
            client->stalled = Duration::zero();
        if (!client->unsent.empty())
            break;
    }
    if (client->timeout)
        return;
    client->timeout = loop_.after(kStallInterval, [this, client] {
        client->timeout.reset();
        client->stalled += kStallInterval;
        if (client->stalled >= kStallPatience)
            clients_.erase(client);
        else
            feed(client);
    });
}

} // namespace varnel
