#pragma once

#include "runtime/SessionWatch.h"
#include "runtime/linux/MessageBus.h"

namespace varnel {

/// Hears of the session from the login manager (lock, unlock, sleep) and from the desktop's screen saver,
/// over their buses. Waits for neither: without them it is silent. Sleep is delayed until capturing has
/// ended. Main thread.
class BusSessionWatch final : public SessionWatching {
public:
    /// The loop must outlive the watch.
    explicit BusSessionWatch(EventLoop& loop);
    ~BusSessionWatch() override;
    void start(std::function<void(SessionEvent)> observer) override;

private:
    void connectToLoginManager();
    void connectToDesktop();
    void findSession();
    void findGraphicalSession();
    void followSession(std::string path);
    void delaySleep();
    void askLogin(const char* interface, const char* method, std::string signature, const std::string& body,
                  MessageBus::Handler answered, std::string path);
    void loginSignal(const BusMessage& signal);
    void sessionChanged(const BusMessage& signal);
    void prepareForSleep(bool isFallingAsleep);
    void setLocked(bool isLocked);

    EventLoop& loop_;
    std::function<void(SessionEvent)> observer_;
    std::unique_ptr<MessageBus> login_, desktop_;
    std::string session_;   ///< the path of ours
    UniqueFd sleepDelay_;   ///< the computer does not fall asleep while this is open
    bool isLocked_ = false; ///< as the login manager's hint says
    bool isAsleep_ = false;
    Duration patience_;
    Subscription loginRetry_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

} // namespace varnel
