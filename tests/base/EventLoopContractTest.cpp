// One set of promises for every event loop.
#include "base/ManualEventLoop.h"
#include "base/PollEventLoop.h"
#include "base/UniqueFd.h"

#include <gtest/gtest.h>

#ifdef VARNEL_TEST_QT
#include "app/QtEventLoop.h"

#include <QCoreApplication>
#endif

#include <atomic>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace varnel {
namespace {

using Phase = EventLoop::Phase;

struct Kind {
    std::string name;
    std::function<std::unique_ptr<EventLoop>()> make;
    friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }
};

/// A pipe whose reading end a loop can watch.
struct Pipe {
    UniqueFd read, write;
    Pipe() {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        read.reset(ends[0]);
        write.reset(ends[1]);
    }
};

class EventLoopContract : public testing::TestWithParam<Kind> {
protected:
    /// Ends the test's run even where a promise is broken.
    Subscription quitAfter(Duration delay) {
        return loop->after(delay, [this] { loop->quit(); });
    }
    /// Makes the descriptor readable in the way the loop can notice.
    void makeReadable(Pipe& pipe) {
        EXPECT_EQ(::write(pipe.write.get(), "x", 1), 1);
        if (auto* manual = dynamic_cast<ManualEventLoop*>(loop.get()))
            manual->post([manual, descriptor = pipe.read.get()] { manual->fireReadable(descriptor); });
    }
    void drain(Pipe& pipe) {
        char byte;
        EXPECT_EQ(::read(pipe.read.get(), &byte, 1), 1);
    }

    std::unique_ptr<EventLoop> loop = GetParam().make();
    std::string log;
};

TEST_P(EventLoopContract, RunsPostedTasksInOrderAndOnlyInALaterTurn) {
    loop->post([this] {
        loop->post([this] { log += "c"; });
        log += "a";
    });
    loop->post([this] { log += "b"; });
    EXPECT_EQ(log, "");
    const auto end = quitAfter(20ms);
    loop->run();
    EXPECT_EQ(log, "abc");
}

TEST_P(EventLoopContract, FiresTimersByDeadlineThenByRegistration) {
    std::vector<Subscription> timers;
    const TimePoint start = loop->now();
    bool early = false;
    for (const auto& [delay, letter] :
         {std::pair(30ms, 'd'), {10ms, 'b'}, {10ms, 'c'}, {0ms, 'a'}, {-5ms, 'n'}})
        timers.push_back(loop->after(delay, [&, delay, letter] {
            early = early || loop->now() - start < delay;
            log += letter;
        }));
    const auto end = quitAfter(60ms);
    loop->run();
    // Two delays that are over at once keep the order of registration unless the clock has moved between
    // them.
    EXPECT_EQ(log.substr(2), "bcd");
    EXPECT_EQ(log.substr(0, 2), "an");
    EXPECT_FALSE(early);
}

TEST_P(EventLoopContract, FiresATimerOnce) {
    const auto timer = loop->after(1ms, [this] { log += "x"; });
    const auto end = quitAfter(25ms);
    loop->run();
    EXPECT_EQ(log, "x");
}

TEST_P(EventLoopContract, NeverCallsADroppedTimer) {
    Subscription dropped = loop->after(5ms, [this] { log += "dropped"; });
    Subscription byOther = loop->after(15ms, [this] { log += "byOther"; });
    const auto dropper = loop->after(5ms, [&] { byOther.reset(); });
    dropped.reset();
    const auto end = quitAfter(25ms);
    loop->run();
    EXPECT_EQ(log, "");
}

TEST_P(EventLoopContract, LetsATimerReplaceItself) {
    Subscription timer;
    std::function<void()> tick = [&] {
        log += "t";
        if (log.size() == 3)
            return loop->quit();
        timer = loop->after(1ms, tick); // drops the subscription of the task that runs
    };
    timer = loop->after(1ms, tick);
    const auto end = quitAfter(2s);
    loop->run();
    EXPECT_EQ(log, "ttt");
}

TEST_P(EventLoopContract, CallsAWatchWhileItsDescriptorIsReadable) {
    Pipe pipe;
    const auto watch = loop->watchReadable(pipe.read.get(), [&] {
        drain(pipe);
        log += "r";
        if (log.size() < 3)
            makeReadable(pipe);
        else
            loop->quit();
    });
    makeReadable(pipe);
    const auto end = quitAfter(2s);
    loop->run();
    EXPECT_EQ(log, "rrr");
}

TEST_P(EventLoopContract, LetsAWatchDropItselfAndItsNeighbour) {
    Pipe first, second;
    Subscription one, other;
    one = loop->watchReadable(first.read.get(), [&] {
        log += "1";
        one.reset();
        other.reset();
        first = Pipe(); // closed as soon as nothing watches it
        second = Pipe();
    });
    other = loop->watchReadable(second.read.get(), [&] {
        log += "2";
        one.reset();
        other.reset();
        first = Pipe();
        second = Pipe();
    });
    makeReadable(first);
    makeReadable(second);
    const auto end = quitAfter(25ms);
    loop->run();
    EXPECT_EQ(log.size(), 1U);
}

TEST_P(EventLoopContract, ServesTwoWatchesOfOneDescriptor) {
    Pipe pipe;
    Subscription one = loop->watchReadable(pipe.read.get(), [&] {
        log += "1";
        one.reset();
    });
    const auto two = loop->watchReadable(pipe.read.get(), [&] {
        log += "2";
        drain(pipe);
    });
    makeReadable(pipe);
    const auto end = quitAfter(25ms);
    loop->run();
    EXPECT_EQ(log, "12");
}

TEST_P(EventLoopContract, TellsBeforeItSleepsAndHandlesWhatIsPostedThere) {
    bool posted = false;
    const auto before = loop->observe(Phase::beforeSleep, [&] {
        if (std::exchange(posted, true))
            return;
        loop->post([this] {
            log += "posted";
            loop->quit();
        });
    });
    const auto end = quitAfter(5s);
    const TimePoint start = loop->now();
    loop->run();
    EXPECT_EQ(log, "posted");
    EXPECT_LT(loop->now() - start, 1s);
}

TEST_P(EventLoopContract, TellsWhenItHasWoken) {
    int woken = 0;
    Subscription after = loop->observe(Phase::afterWake, [&] {
        ++woken;
        after.reset();
    });
    const auto tick = loop->after(2ms, [] {});
    const auto end = quitAfter(25ms);
    loop->run();
    EXPECT_EQ(woken, 1);
}

TEST_P(EventLoopContract, ReturnsAtOnceWhenQuitCameFirst) {
    loop->post([this] { log += "x"; });
    loop->quit();
    loop->run();
    EXPECT_EQ(log, "");
    const auto end = quitAfter(10ms);
    loop->run();
    EXPECT_EQ(log, "x");
}

TEST_P(EventLoopContract, KeepsWhatIsLeftWhenItQuitsForTheNextRun) {
    loop->post([this] { loop->quit(); });
    loop->post([this] { log += "later"; });
    loop->run();
    EXPECT_EQ(log, "");
    const auto end = quitAfter(10ms);
    loop->run();
    EXPECT_EQ(log, "later");
}

TEST_P(EventLoopContract, TakesTasksFromOtherThreads) {
    constexpr int kThreads = 4, kTasks = 500;
    int sum = 0, disorder = 0;
    std::vector<int> last(kThreads, -1);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < kTasks; ++i)
                loop->post([&, t, i] {
                    disorder += last[static_cast<std::size_t>(t)] != i - 1;
                    last[static_cast<std::size_t>(t)] = i;
                    if (++sum == kThreads * kTasks)
                        loop->quit();
                });
        });
    if (dynamic_cast<ManualEventLoop*>(loop.get())) // its time stands still, so it cannot wait for them
        for (auto& thread : threads)
            thread.join();
    const auto end = quitAfter(10s);
    loop->run();
    EXPECT_EQ(sum, kThreads * kTasks);
    EXPECT_EQ(disorder, 0);
    for (auto& thread : threads)
        if (thread.joinable())
            thread.join();
}

TEST_P(EventLoopContract, DropsWhatWaitsWhenItIsDestroyed) {
    const auto alive = std::make_shared<int>();
    Pipe pipe;
    loop->post([alive] {});
    const Subscription timer = loop->after(1ms, [alive] {});
    const Subscription never = loop->after(1h, [] {});
    const Subscription observer = loop->observe(Phase::beforeSleep, [] {});
    const Subscription watch = loop->watchReadable(pipe.read.get(), [] {});
    loop.reset();
    EXPECT_EQ(alive.use_count(), 1);
}

std::vector<Kind> kinds() {
    std::vector<Kind> all{{"Poll", [] { return std::make_unique<PollEventLoop>(); }},
                          {"Manual", [] { return std::make_unique<ManualEventLoop>(); }}};
#ifdef VARNEL_TEST_QT
    all.push_back({"Qt", [] {
                       static int count = 0;
                       static QCoreApplication application(count, nullptr);
                       return std::make_unique<QtEventLoop>();
                   }});
#endif
    return all;
}

INSTANTIATE_TEST_SUITE_P(Loops, EventLoopContract, testing::ValuesIn(kinds()),
                         [](const auto& row) { return row.param.name; });

TEST(PollEventLoop, SleepsAlthoughAWatchedDescriptorWasClosed) {
    PollEventLoop loop;
    Pipe pipe;
    const auto watch = loop.watchReadable(pipe.read.get(), [] { FAIL() << "nothing can be readable"; });
    pipe.read.reset();
    int turns = 0;
    const auto count = loop.observe(Phase::afterWake, [&] { ++turns; });
    const auto end = loop.after(30ms, [&] { loop.quit(); });
    loop.run();
    EXPECT_LE(turns, 3);
}

TEST(PollEventLoop, DoesNotWakeWhileNothingIsDue) {
    PollEventLoop loop;
    int turns = 0;
    const auto count = loop.observe(Phase::afterWake, [&] { ++turns; });
    Subscription cancelled = loop.after(5ms, [] {});
    cancelled.reset();
    const auto end = loop.after(50ms, [&] { loop.quit(); });
    loop.run();
    EXPECT_EQ(turns, 1);
}

TEST(ManualEventLoop, StopsAtEveryTimerOnTheWay) {
    ManualEventLoop loop;
    std::vector<long long> times;
    Subscription second;
    const auto note = [&] { times.push_back((loop.now() - TimePoint{}) / 1ms); };
    const auto first = loop.after(100ms, [&] {
        note();
        second = loop.after(50ms, note);
    });
    const auto later = loop.after(151ms, note);
    loop.advance(150ms);
    EXPECT_EQ(times, (std::vector<long long>{100, 150}));
    EXPECT_EQ(loop.now(), TimePoint{150ms});
    EXPECT_EQ(loop.nextDeadline(), TimePoint{151ms});
    EXPECT_FALSE(loop.fireReadable(7));
}

} // namespace
} // namespace varnel
