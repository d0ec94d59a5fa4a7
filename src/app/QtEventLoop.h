#pragma once

#include "base/EventLoop.h"
#include "base/LoopTasks.h"

#include <QObject>
#include <QTimer>

#include <map>
#include <memory>

class QSocketNotifier;

namespace varnel {

/// The loop of the application with windows: Qt's own, on the thread that makes this object. A
/// `QCoreApplication` must exist before it and outlive it. Tasks also run while Qt is running the loop
/// itself, in dialogs for example.
class QtEventLoop : public QObject, public EventLoop {
public:
    QtEventLoop();
    ~QtEventLoop() override;
    [[nodiscard]] TimePoint now() const override;
    void post(Task task) override;
    [[nodiscard]] Subscription after(Duration delay, Task task) override;
    [[nodiscard]] Subscription watchReadable(int descriptor, Task task) override;
    [[nodiscard]] Subscription observe(Phase phase, Task task) override;
    void run() override;
    void quit() override;

protected:
    bool event(QEvent* event) override;

private:
    struct Watches;
    void runPosted();
    void runTimers();
    void armTimer();

    PostedTasks posted_;
    TimerQueue timers_;
    CallbackList observers_;
    std::unique_ptr<Watches> watches_;
    QTimer timer_;
    bool running_ = false;
    bool quit_ = false;
};

} // namespace varnel
