#pragma once

#include "base/EventLoop.h"
#include "base/JSONValue.h"
#include "base/UniqueFd.h"
#include "runtime/RuntimePaths.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

namespace varnel {

/// Why there is no control socket.
struct ControlServerError {
    enum class Kind {
        alreadyRunning, ///< another application serves this display
        unavailable,    ///< the socket cannot be made; the application can do without
    } kind = Kind::unavailable;
    std::string message; ///< a sentence for the user
};

/// The socket through which the command line speaks to the running application: a client sends one line with
/// a JSON object and gets one line with a JSON object back, or goes on listening to a feed of them. Only
/// processes of the same user are served. No client can hold up the application: sizes, times and the number
/// of connections are limited, and nothing here waits. Main thread only.
class ControlServer {
public:
    /// Sends the one answer to a request, at once or later; for a client that is gone it does nothing.
    using Answer = std::function<void(const JSONValue::Object&)>;
    /// News for a client that stays. It is asked for one line at a time, and only when the client can take
    /// it: what a slow reader misses is the feed's to leave out, and is kept nowhere.
    struct Feed {
        std::function<std::optional<JSONValue::Object>()> next; ///< none when there is nothing new
        /// Calls its argument, from the loop, when there may be something new.
        std::function<Subscription(std::function<void()>)> observe;
    };
    /// Each may be copied and used later; only the first use of either counts.
    struct Replies {
        Answer answer;
        std::function<void(Feed)> follow;
    };
    using Handler = std::function<void(const JSONValue::Object& request, const Replies& replies)>;

    /// Claims the display, then takes the plain socket, or that of the display when another application has
    /// the plain one. What a crashed application left behind is replaced. The handler runs inside the loop.
    static std::expected<std::unique_ptr<ControlServer>, ControlServerError>
    open(EventLoop& loop, const RuntimePaths& paths, Handler handler);
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    [[nodiscard]] const std::string& socketPath() const { return path_; }

private:
    struct Client {
        std::uint64_t number = 0;
        UniqueFd descriptor;
        std::string received;
        Subscription readable;
        Subscription timeout;
        std::optional<Feed> feed; ///< from here on for a client that stays
        std::string unsent;       ///< the rest of a line that did not fit
        Duration stalled{};       ///< since it last took something
        Subscription news;
    };
    using ClientEntry = std::list<Client>::iterator;

    ControlServer(EventLoop& loop, Handler handler, UniqueFd lock, UniqueFd listener, std::string path);
    void listen();
    void accept();
    void receive(ClientEntry client);
    void handle(const std::string& line, std::uint64_t client);
    void finish(std::uint64_t number, const JSONValue::Object& answer);
    void follow(std::uint64_t number, Feed feed);
    void drain(ClientEntry client);
    void feed(ClientEntry client);
    [[nodiscard]] ClientEntry find(std::uint64_t number);

    EventLoop& loop_;
    Handler handler_;
    UniqueFd lock_;
    UniqueFd listener_;
    std::string path_;
    std::list<Client> clients_;
    std::uint64_t lastClient_ = 0;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
    Subscription acceptable_;
    Subscription retry_;
};

} // namespace varnel
