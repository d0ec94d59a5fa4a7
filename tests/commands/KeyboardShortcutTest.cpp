#include "base/Text.h"
#include "commands/CoreGraphicsPosting.h"
#include "commands/HidPosting.h"
#include "commands/KeyboardShortcutCommand.h"
#include "tests/commands/CommandDoubles.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using Type = KeyboardShortcutEvent::EventType;
using Strings = std::vector<std::string>;

constexpr KeyFlags kCS = kCommandFlag | kShiftFlag;

/// What the log keeps of these texts, one on each line of `text`.
Strings lines(const std::string& text) {
    Strings texts;
    for (const std::string_view line : split(text, '\n'))
        if (!line.empty())
            texts.emplace_back(line);
    return logged("KeyboardShortcut", "error", texts);
}

std::vector<KeyboardShortcutEvent> commandShiftK() {
    return makeShortcutEvents("cmd+shift+k", 40);
}

TEST(ShortcutEvents, PressInOrderAndReleaseInReverse) {
    struct Row {
        std::string token;
        KeyCode key;
        std::vector<KeyboardShortcutEvent> events;
    };
    const Row rows[] = {
        {"k", 40, {{Type::keyDown, 40, 0, true}, {Type::keyUp, 40, 0, false}}},
        {"cmd+shift+k",
         40,
         {{Type::flagsChanged, 55, kCommandFlag, true},
          {Type::flagsChanged, 56, kCS, true},
          {Type::keyDown, 40, kCS, true},
          {Type::keyUp, 40, kCS, false},
          {Type::flagsChanged, 56, kCommandFlag, false},
          {Type::flagsChanged, 55, 0, false}}},
        {"shift+shift+a",
         0,
         {{Type::flagsChanged, 56, kShiftFlag, true},
          {Type::flagsChanged, 56, kShiftFlag, true},
          {Type::keyDown, 0, kShiftFlag, true},
          {Type::keyUp, 0, kShiftFlag, false},
          {Type::flagsChanged, 56, 0, false},
          {Type::flagsChanged, 56, 0, false}}},
        {"ctrl+alt+f13",
         105,
         {{Type::flagsChanged, 59, kControlFlag, true},
          {Type::flagsChanged, 58, kControlFlag | kAlternateFlag, true},
          {Type::keyDown, 105, kControlFlag | kAlternateFlag, true},
          {Type::keyUp, 105, kControlFlag | kAlternateFlag, false},
          {Type::flagsChanged, 58, kControlFlag, false},
          {Type::flagsChanged, 59, 0, false}}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(makeShortcutEvents(row.token, row.key), row.events) << row.token;
}

TEST(KeyboardShortcutCommand, SaysWhatBecameOfTheShortcut) {
    struct Row {
        std::string token;
        std::optional<JSONValue> mode;
        std::optional<std::int32_t> front;
        bool posts;
        std::string message, route, line;
    };
    const std::string badMode = "Invalid shortcut delivery mode", badModeLine = "invalid delivery mode";
    const std::string bad = "Invalid keyboard shortcut: ", badLine = "invalid shortcut displayName=Copy raw=";
    const Row rows[] = {
        {" Shift+CMD+K\n", {}, 7, true, "Sent shortcut: cmd+shift+k", "global", ""},
        {"k", "global", {}, true, "Sent shortcut: k", "global", ""},
        {"k", "local", 7, true, "Sent shortcut: k", "local 7", ""},
        // clang-format off
        {"k", "local", {}, true, "No frontmost application to receive shortcut: k", "none", "frontmost process unavailable"},
        {"ctrl+k", {}, 7, false, "Failed to send shortcut: ctrl+k", "global", "post failed normalized=ctrl+k"},
        // clang-format on
        {"k", "Local", 7, true, badMode, "none", badModeLine},
        {"k", " local", 7, true, badMode, "none", badModeLine},
        {"k", 1, 7, true, badMode, "none", badModeLine},
        {"k", nullptr, 7, true, badMode, "none", badModeLine},
        {"  ", 1, 7, true, bad + "Copy", "none", badLine + "  "},
        {" cmd+nokey ", {}, 7, true, bad + "cmd+nokey", "none", badLine + " cmd+nokey "},
        {"cmd", {}, 7, true, bad + "cmd", "none", badLine + "cmd"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.token + " " + row.message);
        RecordingLog log;
        std::string route = "none";
        const KeyboardShortcutPoster poster = [&](const auto&, const KeyboardShortcutDeliveryRoute& to) {
            const auto* local = std::get_if<LocalRoute>(&to);
            route = local ? "local " + std::to_string(local->process) : "global";
            return row.posts;
        };
        const FrontmostProcessProvider front = [&] { return row.front; };
        KeyboardShortcutCommand command({"Copy", row.token, row.mode}, {poster, front, log});
        EXPECT_EQ(command.execute(), row.message);
        EXPECT_EQ(route, row.route);
        EXPECT_EQ(log.take(), lines(row.line));
    }
}

/// Notes every call; fails where a row says so.
struct RecordingHid {
    std::uint32_t access = 0, service = 9, connection = 5;
    bool grants = true;
    std::int32_t openResult = 0, closeResult = 0;
    std::map<int, std::int32_t> failures; ///< number of the post, from 0, to its result
    Strings calls;
    std::vector<HidKeyRecord> posts;

    HidPostingTable table() {
        return {
            .checkPostAccess = [this] { return access; },
            .requestPostAccess =
                [this] {
                    calls.push_back("request");
                    return grants;
                },
            .findService = [this] { return service; },
            .open =
                [this](std::uint32_t opened, std::uint32_t type, std::uint32_t& result) {
                    calls.push_back("open " + std::to_string(opened) + " " + std::to_string(type));
                    result = connection;
                    return openResult;
                },
            .release =
                [this](std::uint32_t released) { calls.push_back("release " + std::to_string(released)); },
            .post =
                [this](std::uint32_t over, const HidKeyRecord& record) {
                    EXPECT_EQ(over, connection);
                    posts.push_back(record);
                    const auto failure = failures.find(static_cast<int>(posts.size()) - 1);
                    return failure == failures.end() ? 0 : failure->second;
                },
            .close =
                [this](std::uint32_t closed) {
                    calls.push_back("close " + std::to_string(closed));
                    return closeResult;
                },
            .keyboardType = [] { return 40U; }};
    }
};

HidKeyRecord record(std::uint32_t type, KeyCode key, KeyFlags flags) {
    return {.type = type,
            .keyCode = key,
            .keyboardType = 40,
            .dataVersion = 2,
            .flags = static_cast<std::uint32_t>(flags),
            .options = 9};
}

TEST(HidPosting, PostsEachEventAsTheSystemTakesIt) {
    RecordingHid hid;
    RecordingLog log;
    auto events = commandShiftK();
    events[2].flags |= 0x10000 | 0x100; // caps lock and a bit of the event system are not ours to set
    EXPECT_TRUE(postThroughHid(hid.table(), events, log));
    EXPECT_EQ(hid.posts, (std::vector{record(12, 55, kCommandFlag), record(12, 56, kCS), record(10, 40, kCS),
                                      record(11, 40, kCS), record(12, 56, kCommandFlag), record(12, 55, 0)}));
    EXPECT_EQ(hid.calls, (Strings{"open 9 1", "release 9", "close 5"}));
    EXPECT_EQ(log.take(), Strings{});
}

TEST(HidPosting, LeavesNothingPressedWhereverItFails) {
    const std::vector<std::vector<HidKeyRecord>> cleanUps = {
        {},
        {record(12, 55, 0)},
        {record(12, 56, kCommandFlag), record(12, 55, 0)},
        {record(11, 40, kCS), record(12, 56, kCommandFlag), record(12, 55, 0)},
        {record(12, 56, kCommandFlag), record(12, 55, 0)},
        {record(12, 55, 0)},
    };
    const char* details[] = {"type=12 keyCode=55", "type=12 keyCode=56", "type=10 keyCode=40",
                             "type=11 keyCode=40", "type=12 keyCode=56", "type=12 keyCode=55"};
    for (int failing = 0; failing < 6; ++failing) {
        SCOPED_TRACE(failing);
        RecordingHid hid;
        RecordingLog log;
        hid.failures[failing] = -536870174;
        EXPECT_FALSE(postThroughHid(hid.table(), commandShiftK(), log));
        const auto at = static_cast<std::size_t>(failing);
        EXPECT_EQ(std::vector(hid.posts.begin() + failing + 1, hid.posts.end()), cleanUps[at]);
        EXPECT_EQ(hid.calls.back(), "close 5");
        EXPECT_EQ(log.take(),
                  logged("KeyboardShortcut", "error",
                         {std::string("hid post event failed result=-536870174 ") + details[at]}));
    }
}

TEST(HidPosting, GoesOnCleaningUpWhenThatFailsToo) {
    RecordingHid hid;
    RecordingLog log;
    hid.failures = {{3, -1}, {4, -2}, {5, -3}};
    EXPECT_FALSE(postThroughHid(hid.table(), commandShiftK(), log));
    EXPECT_EQ(hid.posts.size(), 7U);
    EXPECT_EQ(log.take(), lines("hid post event failed result=-1 type=11 keyCode=40\n"
                                "hid cleanup failed result=-2 type=11 keyCode=40\n"
                                "hid cleanup failed result=-3 type=12 keyCode=56"));
}

TEST(HidPosting, SaysWhatIsMissing) {
    struct Row {
        std::function<void(RecordingHid&)> arrange;
        bool succeeds;
        std::string calls, lines;
    };
    const std::string opened = "open 9 1, release 9", noConnection = "hid post connection unavailable";
    // clang-format off
    const Row rows[] = {
        {[](auto& h) { h.access = 1, h.grants = false; }, false, "request", "hid post access denied access=1"},
        {[](auto& h) { h.access = 2; }, true, "request, " + opened + ", close 5", ""},
        {[](auto& h) { h.service = 0; }, false, "", "iohid system service missing\n" + noConnection},
        {[](auto& h) { h.openResult = -5; }, false, opened, "iohid system open failed result=-5\n" + noConnection},
        {[](auto& h) { h.connection = 0; }, false, opened, noConnection},
        {[](auto& h) { h.closeResult = -7; }, true, opened + ", close 5", "hid connection close failed result=-7"},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.calls + row.lines);
        RecordingHid hid;
        RecordingLog log;
        row.arrange(hid);
        EXPECT_EQ(postThroughHid(hid.table(), commandShiftK(), log), row.succeeds);
        EXPECT_EQ(join(hid.calls, ", "), row.calls);
        EXPECT_EQ(log.take(), lines(row.lines));
    }
}

/// Events are texts; posting notes them with the process.
struct RecordingGraphics {
    bool trusted = true, mayPost = true, hasSource = true;
    int failing = -1; ///< number of the creation that yields nothing
    int created = 0, questions = 0;
    Strings posts;

    CoreGraphicsPostingTable::Object make(const std::string& text) {
        return created++ == failing ? nullptr : std::make_shared<std::string>(text);
    }
    static std::string& text(const CoreGraphicsPostingTable::Object& event) {
        return *static_cast<std::string*>(event.get());
    }
    CoreGraphicsPostingTable table() {
        using Object = CoreGraphicsPostingTable::Object;
        return {
            .isTrustedForAccessibility =
                [this] {
                    ++questions;
                    return trusted;
                },
            .mayPostEvents =
                [this] {
                    ++questions;
                    return mayPost;
                },
            .createSource = [this] { return hasSource ? std::make_shared<std::string>("source") : nullptr; },
            .createKeyboardEvent =
                [this](const Object&, KeyCode key, bool isDown) {
                    return make((isDown ? "down " : "up ") + std::to_string(key));
                },
            .createEvent = [this](const Object&) { return make("plain"); },
            .setType = [](const Object& event,
                          std::uint32_t type) { text(event) += " type " + std::to_string(type); },
            .setKeyCode = [](const Object& event,
                             KeyCode key) { text(event) += " key " + std::to_string(key); },
            .setFlags = [](const Object& event,
                           KeyFlags flags) { text(event) += " flags " + std::to_string(flags >> 16); },
            .postToProcess =
                [this](std::int32_t process, const Object& event) {
                    posts.push_back(std::to_string(process) + ": " + text(event));
                }};
    }
};

TEST(CoreGraphicsPosting, PostsAllEventsOrNone) {
    struct Row {
        std::function<void(RecordingGraphics&)> arrange;
        std::string line;
    };
    // clang-format off
    const Row rows[] = {
        {[](auto&) {}, ""},
        {[](auto& g) { g.trusted = g.mayPost = false; }, "accessibility permission denied"},
        {[](auto& g) { g.mayPost = false; }, "event synthesis permission denied"},
        {[](auto& g) { g.hasSource = false; }, "event source unavailable"},
        {[](auto& g) { g.failing = 0; }, "event creation failed type=flagsChanged keyCode=55"},
        {[](auto& g) { g.failing = 2; }, "event creation failed type=keyDown keyCode=40"},
        {[](auto& g) { g.failing = 3; }, "event creation failed type=keyUp keyCode=40"},
    };
    // clang-format on
    const Strings all{"7: plain type 12 key 55 flags 16",
                      "7: plain type 12 key 56 flags 18",
                      "7: down 40 flags 18",
                      "7: up 40 flags 18",
                      "7: plain type 12 key 56 flags 16",
                      "7: plain type 12 key 55 flags 0"};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        RecordingGraphics graphics;
        RecordingHid hid;
        RecordingLog log;
        row.arrange(graphics);
        const auto post = makeSystemShortcutPoster(hid.table(), graphics.table(), log);
        EXPECT_EQ(post(commandShiftK(), LocalRoute{7}), row.line.empty());
        EXPECT_EQ(graphics.posts, row.line.empty() ? all : Strings{});
        EXPECT_EQ(graphics.questions, 2);
        EXPECT_EQ(hid.posts.size(), 0U);
        EXPECT_EQ(log.take(), lines(row.line));
    }
}

TEST(CoreGraphicsPosting, LeavesGlobalRoutesToTheHidSystem) {
    RecordingGraphics graphics;
    RecordingHid hid;
    RecordingLog log;
    EXPECT_TRUE(makeSystemShortcutPoster(hid.table(), graphics.table(), log)(commandShiftK(), GlobalRoute{}));
    EXPECT_EQ(hid.posts.size(), 6U);
    EXPECT_EQ(graphics.questions, 0);
    EXPECT_FALSE(
        postThroughCoreGraphics(graphics.table(), {true, true}, commandShiftK(), GlobalRoute{}, log));
    EXPECT_EQ(log.take(), lines("core graphics shortcut delivery only supports local routes"));
}

} // namespace
} // namespace varnel
