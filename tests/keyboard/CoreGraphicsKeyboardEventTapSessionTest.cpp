#include "keyboard/CoreGraphicsKeyboardEventTapSession.h"
#include "base/ManualEventLoop.h"
#include "keyboard/KeyboardMonitor.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

/// A table that records each call; taps are 1 and 2, sources 11 and 12.
class RecordingTable {
public:
    EventTapFunctions functions() {
        EventTapFunctions f;
        f.createTap = [this](const EventTapRequest& request, EventTapCallback callback) -> SystemObject {
            log += "tap" + std::to_string(static_cast<unsigned>(request.level)) + " ";
            EXPECT_EQ(request.eventMask, 0x1400u);
            EXPECT_EQ(request.placement + request.options, 0u);
            if (refusedTaps-- > 0)
                return nullptr;
            receive = std::move(callback);
            return object(++taps);
        };
        f.createRunLoopSource = [this](SystemObject port) -> SystemObject {
            log += "source ";
            return refusedSources-- > 0 ? nullptr : object(number(port) + 10);
        };
        f.addToMainRunLoop = [this](SystemObject source) { note("add", source); };
        f.removeFromMainRunLoop = [this](SystemObject source) { note("remove", source); };
        f.enableTap = [this](SystemObject port, bool on) { note(on ? "on" : "off", port); };
        f.invalidatePort = [this](SystemObject port) { note("invalidate", port); };
        f.releaseSource = [this](SystemObject source) { note("release", source); };
        f.releasePort = [this](SystemObject port) {
            note("release", port);
            receive = nullptr; // as the system's own: gone with the port
        };
        f.applicationEvent = [this](SystemObject) { return event; };
        f.sourceProcess = [this](SystemObject) { return poster; };
        f.ownProcess = 42;
        f.isDownOnHardware = [](KeyCode code) { return code == 59 || code == 53; };
        return f;
    }
    std::string log;
    int refusedTaps = 0, refusedSources = 0;
    std::int64_t poster = 0;
    std::optional<KeyboardEvent> event = KeyboardEvent{.keyCode = 7};
    EventTapCallback receive;

private:
    static SystemObject object(std::uintptr_t number) { return reinterpret_cast<SystemObject>(number); }
    static std::uintptr_t number(SystemObject object) { return reinterpret_cast<std::uintptr_t>(object); }
    void note(const char* what, SystemObject object) { log += what + std::to_string(number(object)) + " "; }
    std::uintptr_t taps = 0;
};

TEST(CoreGraphicsTapFactory, TriesTheHardwareLevelThenTheSession) {
    const struct {
        int refusedTaps, refusedSources;
        const char* log;
    } rows[] = {
        {0, 0, "tap0 source add11 "},
        {1, 0, "tap0 tap1 source add11 "},
        {0, 1, "tap0 source invalidate1 release1 tap1 source add12 "},
        {2, 0, "tap0 tap1 "},
        {0, 2, "tap0 source invalidate1 release1 tap1 source invalidate2 release2 "},
    };
    for (const auto& row : rows) {
        RecordingTable table;
        table.refusedTaps = row.refusedTaps;
        table.refusedSources = row.refusedSources;
        CoreGraphicsKeyboardEventTapSessionFactory factory(table.functions());
        const auto session = factory.createSession([](const KeyboardEvent&) { return TapVerdict::pass; });
        EXPECT_EQ(table.log, row.log);
        EXPECT_EQ(session != nullptr, factory.grantedLevel().has_value());
        EXPECT_EQ(session != nullptr,
                  std::string(row.log).ends_with("add11 ") || std::string(row.log).ends_with("add12 "));
    }
}

TEST(CoreGraphicsTapSession, ClosesOnceAndInOrder) {
    RecordingTable table;
    CoreGraphicsKeyboardEventTapSessionFactory factory(table.functions());
    auto session = factory.createSession([](const KeyboardEvent&) { return TapVerdict::pass; });
    table.log.clear();
    session->enable();
    session->invalidate();
    session->enable();
    session.reset();
    EXPECT_EQ(table.log, "on1 off1 remove11 invalidate1 release11 release1 ");
}

TEST(CoreGraphicsTapSession, OffersKeysAndRearmsWhenDisabled) {
    RecordingTable table;
    CoreGraphicsKeyboardEventTapSessionFactory factory(table.functions());
    int offered = 0;
    std::string told;
    auto session = factory.createSession([&](const KeyboardEvent& event) {
        offered += event.type != KeyboardEvent::Type::postedByUs ? event.keyCode : 0;
        told += event.type == KeyboardEvent::Type::postedByUs ? "own "
                : event.isSynthetic                           ? "posted "
                                                              : "typed ";
        return TapVerdict::swallow;
    });
    const auto send = [held = table.receive](std::uint32_t type) { return held(type, nullptr); };
    EXPECT_EQ(send(10), TapVerdict::swallow);
    EXPECT_EQ(send(12), TapVerdict::swallow);
    EXPECT_EQ(offered, 14);

    EXPECT_EQ(send(11), TapVerdict::pass);
    table.poster = 42;
    EXPECT_EQ(send(10), TapVerdict::pass) << "our own key";
    EXPECT_EQ(offered, 14);
    table.poster = 43;
    EXPECT_EQ(send(10), TapVerdict::swallow) << "another program's key";
    EXPECT_EQ(told, "typed typed own posted ");
    table.poster = 0;
    table.event.reset();
    EXPECT_EQ(send(10), TapVerdict::pass) << "not convertible";
    EXPECT_EQ(offered, 21);

    EXPECT_EQ(session->panicKeysHeldByHand(),
              (PanicKeySet{.leftControl = true, .space = false, .escape = true}));

    table.log.clear();
    EXPECT_EQ(send(0xFFFFFFFE), TapVerdict::pass);
    EXPECT_EQ(send(0xFFFFFFFF), TapVerdict::pass);
    EXPECT_EQ(table.log, "on1 on1 ");
    session->invalidate();
    table.log.clear();
    send(0xFFFFFFFE);
    session.reset();
    send(0xFFFFFFFF);
    EXPECT_EQ(table.log, "");
}

TEST(CoreGraphicsTapSession, MayBeClosedOrReplacedFromInsideItsOwnCallback) {
    const struct {
        std::function<void(std::unique_ptr<KeyboardMonitor>&)> act;
        const char* log;
    } rows[] = {
        {[](auto& monitor) { monitor->stop(); }, "off1 remove11 invalidate1 release11 release1 "},
        {[](auto& monitor) { monitor.reset(); }, "off1 remove11 invalidate1 release11 release1 "},
        {[](auto& monitor) { monitor->start(); },
         "off1 remove11 invalidate1 release11 release1 tap0 source add12 on2 "},
    };
    for (const auto& row : rows) {
        RecordingTable table;
        table.event = KeyboardEvent{.keyCode = 38};
        ManualEventLoop loop;
        CoreGraphicsKeyboardEventTapSessionFactory factory(table.functions());
        std::unique_ptr<KeyboardMonitor> monitor;
        monitor = std::make_unique<KeyboardMonitor>(
            loop, factory, [] { return 250ms; },
            [&](const std::string&, TimePoint) {
                row.act(monitor);
                return true;
            });
        ASSERT_TRUE(monitor->start());
        table.log.clear();
        const EventTapCallback held = table.receive; // what the adapter keeps for the length of a call
        EXPECT_EQ(held(10, nullptr), TapVerdict::swallow) << "the key that ended it was taken";
        EXPECT_EQ(table.log, row.log);
        EXPECT_EQ(held(10, nullptr), TapVerdict::pass) << "a late event finds nobody";
    }
}

} // namespace
} // namespace varnel
