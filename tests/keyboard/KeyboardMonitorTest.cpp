#include "keyboard/KeyboardMonitor.h"

#include "base/ManualEventLoop.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using Type = KeyboardEvent::Type;
constexpr KeyCode kA = 0, kB = 11, kCommand = 55;

/// A tap whose events come from the test; keeps a record of what is asked of it.
class FakeTap : public KeyboardEventTapSessionCreating {
public:
    std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) override {
        if (refuses)
            return nullptr;
        receive = std::move(callback);
        return std::make_unique<Session>(*this);
    }
    bool refuses = false;
    KeyboardTapCallback receive;
    std::string log;
    KeyInterest interest;

private:
    struct Session : KeyboardEventTapSession {
        explicit Session(FakeTap& owner)
            : tap(owner) {}
        ~Session() override { tap.log += "destroyed "; }
        void enable() override { tap.log += "enabled "; }
        void invalidate() override { tap.log += "invalidated "; }
        void setInterest(const KeyInterest& wanted) override { tap.interest = wanted; }
        FakeTap& tap;
    };
};

class KeyboardMonitorTest : public testing::Test {
protected:
    TapVerdict key(KeyCode code, bool isRepeat = false) {
        return tap.receive({.keyCode = code, .isRepeat = isRepeat, .time = loop.now()});
    }
    TapVerdict flags(KeyFlags flags) {
        return tap.receive(
            {.type = Type::flagsChanged, .keyCode = kCommand, .flags = flags, .time = loop.now()});
    }

    ManualEventLoop loop;
    FakeTap tap;
    std::string offered;
    std::function<bool(const std::string&)> answer = [](const std::string& token) { return token == "b"; };
    std::unique_ptr<KeyboardMonitor> monitor = std::make_unique<KeyboardMonitor>(
        loop, tap, [] { return 250ms; },
        [this](const std::string& token, TimePoint) {
            offered += token + " ";
            return answer(token);
        });
};

constexpr auto pass = TapVerdict::pass;
constexpr auto swallow = TapVerdict::swallow;

TEST_F(KeyboardMonitorTest, SwallowsWhatTheHandlerConsumes) {
    ASSERT_TRUE(monitor->start());
    EXPECT_EQ(key(kA), pass);
    EXPECT_EQ(key(kB), swallow);
    EXPECT_EQ(flags(kCommandFlag), pass);
    EXPECT_EQ(flags(0), pass);
    EXPECT_EQ(offered, "a b cmd ");
}

TEST_F(KeyboardMonitorTest, GivesRepeatsTheVerdictOfTheirPress) {
    ASSERT_TRUE(monitor->start());
    EXPECT_EQ(key(kA), pass);
    EXPECT_EQ(key(kB), swallow);
    monitor->suppress(std::nullopt);
    EXPECT_EQ(key(kA, true), pass);
    monitor->endSuppression();
    EXPECT_EQ(key(kB, true), swallow);
    monitor->suppress(std::nullopt);
    EXPECT_EQ(key(kA), swallow);
    monitor->endSuppression();
    EXPECT_EQ(key(kA, true), swallow);
    EXPECT_EQ(key(99, true), pass);
    EXPECT_EQ(offered, "a b a ");
}

TEST_F(KeyboardMonitorTest, SuppressesUntilTheTimeHasPassed) {
    ASSERT_TRUE(monitor->start());
    monitor->suppress(100ms);
    loop.advance(99ms);
    EXPECT_EQ(key(kA), swallow);
    EXPECT_EQ(flags(kCommandFlag), swallow);
    EXPECT_EQ(tap.receive({.type = Type::modifiersUsed, .time = loop.now()}), pass);
    EXPECT_EQ(tap.receive({.keyCode = kA, .time = loop.now() + 1ms}), pass) << "the event's time counts";
    monitor->suppress(std::nullopt);
    loop.advance(1h);
    EXPECT_EQ(key(kA), swallow);
    monitor->suppress(10ms);
    loop.advance(10ms);
    EXPECT_EQ(key(kA), pass);
    EXPECT_FALSE(loop.nextDeadline());
    monitor->suppress(10s);
    monitor->stop();
    ASSERT_TRUE(monitor->start());
    EXPECT_EQ(key(kA), pass);
}

TEST_F(KeyboardMonitorTest, ForgetsHeldModifiersWhenStopped) {
    monitor->stop();
    ASSERT_TRUE(monitor->start());
    flags(kCommandFlag);
    key(kB);
    monitor->stop();
    ASSERT_TRUE(monitor->start());
    flags(0);
    EXPECT_EQ(key(kB, true), pass);
    EXPECT_EQ(offered, "b ");
}

TEST_F(KeyboardMonitorTest, ReplacesASessionAndKeepsTheInterest) {
    const KeyInterest interest{KeyInterest::Mode::capture, nullptr};
    monitor->setInterest(interest);
    ASSERT_TRUE(monitor->start());
    EXPECT_EQ(tap.interest, interest);
    ASSERT_TRUE(monitor->start());
    EXPECT_EQ(tap.log, "enabled invalidated destroyed enabled ");
    tap.refuses = true;
    EXPECT_FALSE(monitor->start());
    EXPECT_EQ(key(kB), pass) << "a late event of a closed session";
}

TEST_F(KeyboardMonitorTest, MayBeStoppedOrDestroyedByItsHandler) {
    ASSERT_TRUE(monitor->start());
    answer = [this](const std::string&) {
        monitor->stop();
        EXPECT_EQ(tap.log, "enabled invalidated ") << "not destroyed below its own callback";
        monitor.reset();
        return true;
    };
    EXPECT_EQ(key(kA), swallow);
    loop.runPending();
    EXPECT_EQ(tap.log, "enabled invalidated destroyed ");
    EXPECT_EQ(key(kA), pass);
}

} // namespace
} // namespace varnel
