#include "app/QtEventLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QSocketNotifier>

#include <algorithm>
#include <climits>

namespace varnel {

namespace {

const auto kTaskPosted = static_cast<QEvent::Type>(QEvent::registerEventType());

} // namespace

/// Qt wants at most one notifier for a descriptor, however many watch it.
struct QtEventLoop::Watches {
    CallbackList callbacks;
    std::map<int, QSocketNotifier*> notifiers;

    Watches() {
        callbacks.onChange([this] { update(); });
    }
    ~Watches() {
        callbacks.onChange(nullptr);
        for (const auto& [descriptor, notifier] : notifiers)
            delete notifier;
    }
    Watches(const Watches&) = delete;
    Watches& operator=(const Watches&) = delete;

    void update() {
        std::map<int, QSocketNotifier*> kept;
        for (const auto& entry : callbacks.snapshot()) {
            QSocketNotifier*& notifier = kept[entry->tag];
            if (const auto found = notifiers.find(entry->tag); found != notifiers.end()) {
                notifier = found->second;
                notifiers.erase(found);
            } else if (!notifier) {
                notifier = newNotifier(entry->tag);
            }
        }
        for (const auto& [descriptor, unused] : notifiers) {
            unused->setEnabled(false); // now: the descriptor may be closed as soon as we return
            unused->deleteLater();     // it may be the one that is just calling us
        }
        notifiers = std::move(kept);
    }

    QSocketNotifier* newNotifier(int descriptor) {
        auto* notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read);
        QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                         [this, descriptor] { callbacks.call(descriptor); });
        return notifier;
    }
};

QtEventLoop::QtEventLoop()
    : watches_(std::make_unique<Watches>()) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { runTimers(); });
    auto* dispatcher = QAbstractEventDispatcher::instance();
    connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this,
            [this] { observers_.call(static_cast<int>(Phase::beforeSleep)); });
    connect(dispatcher, &QAbstractEventDispatcher::awake, this,
            [this] { observers_.call(static_cast<int>(Phase::afterWake)); });
}

QtEventLoop::~QtEventLoop() = default;

TimePoint QtEventLoop::now() const {
    return std::chrono::steady_clock::now();
}

void QtEventLoop::post(Task task) {
    if (posted_.add(std::move(task)))
        QCoreApplication::postEvent(this, new QEvent(kTaskPosted));
}

Subscription QtEventLoop::after(Duration delay, Task task) {
    auto subscription = timers_.add(now() + std::max(delay, Duration::zero()), std::move(task));
    armTimer();
    return subscription;
}

Subscription QtEventLoop::watchReadable(int descriptor, Task task) {
    return watches_->callbacks.add(descriptor, std::move(task));
}

Subscription QtEventLoop::observe(Phase phase, Task task) {
    return observers_.add(static_cast<int>(phase), std::move(task));
}

void QtEventLoop::run() {
    if (!posted_.empty()) // left over when the last run ended
        QCoreApplication::postEvent(this, new QEvent(kTaskPosted));
    armTimer();
    running_ = true;
    if (!quit_)
        QCoreApplication::exec();
    running_ = quit_ = false;
}

void QtEventLoop::quit() {
    quit_ = true;
    if (running_)
        QCoreApplication::exit();
}

bool QtEventLoop::event(QEvent* event) {
    if (event->type() != kTaskPosted)
        return QObject::event(event);
    runPosted();
    return true;
}

void QtEventLoop::runPosted() {
    if (quit_ && running_)
        return;
    const Task task = posted_.takeFirst();
    // The task may run a loop of Qt's own, in which the others have their turn.
    if (!posted_.empty())
        QCoreApplication::postEvent(this, new QEvent(kTaskPosted));
    if (task)
        task();
}

void QtEventLoop::runTimers() {
    const auto mark = timers_.mark();
    while (!(quit_ && running_)) {
        const Task task = timers_.takeDue(now(), mark);
        armTimer(); // before the task, which may run a loop of Qt's own
        if (!task)
            return;
        task();
    }
}

void QtEventLoop::armTimer() {
    const auto deadline = timers_.nextDeadline();
    if (!deadline) {
        timer_.stop();
        return;
    }
    // Rounded up: a timer must not fire early.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - now()).count();
    timer_.start(static_cast<int>(std::clamp<long long>(left, 0, INT_MAX)));
}

} // namespace varnel
