#pragma once

#include "base/EventLoop.h"
#include "base/UniqueFd.h"
#include "runtime/linux/BusMessage.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace varnel {

/// A connection to a message bus. Never waits: what was called for comes in later turns of the loop. Main
/// thread.
class MessageBus {
public:
    /// A message from the bus, with the descriptor that came with it, if one did.
    using Handler = std::function<void(const BusMessage&, UniqueFd)>;

    struct Observers {
        std::function<void(const BusMessage&)> signal; ///< that everybody was sent and that was listened for
        std::function<void()> lost;                    ///< the connection is gone; may destroy the bus
    };

    /// `address` as the bus gives it: "unix:path=/run/bus;unix:abstract=…". Null when nobody answers there.
    static std::unique_ptr<MessageBus> connect(EventLoop& loop, const std::string& address,
                                               Observers observers);
    ~MessageBus();
    MessageBus(const MessageBus&) = delete;
    MessageBus& operator=(const MessageBus&) = delete;

    /// Whether the bus has let us in.
    [[nodiscard]] bool isWelcome() const { return isGreeted_; }
    /// Asks; `answered` hears a reply or an error. A call that is never answered is forgotten with the bus.
    void call(BusMessage message, Handler answered = {});
    /// Has the signals delivered that fit: "type='signal',interface='…'".
    void listen(const std::string& rule);

private:
    MessageBus(EventLoop& loop, UniqueFd socket, Observers observers);
    void send(const std::string& bytes);
    void read();
    bool receive();
    /// Whether the bus has let us in; throws away what it said to that.
    bool takeGreeting();
    void takeMessages();
    void deliver(const BusMessage& message);
    void lose();

    UniqueFd socket_;
    Observers observers_;
    bool isGreeted_ = false;
    bool isLost_ = false;
    std::uint32_t lastSerial_ = 0;
    std::string received_;
    std::deque<UniqueFd> descriptors_;
    std::map<std::uint32_t, Handler> waiting_;
    Subscription readable_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
    EventLoop& loop_;
};

/// The bus of the computer, and that of the user's session ("" when there is none), from the environment.
std::string systemBusAddress();
std::string sessionBusAddress();

} // namespace varnel
