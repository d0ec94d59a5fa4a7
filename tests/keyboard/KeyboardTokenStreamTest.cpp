#include "keyboard/KeyboardTokenStream.h"

#include "AllocationCounter.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using Type = KeyboardEvent::Type;

/// Feeds a stream on a clock of its own and joins what it says.
class Typist {
public:
    Typist& at(Duration time) {
        now_ = TimePoint(time);
        return *this;
    }
    Typist& down(Modifier modifier) {
        return change(modifierKeyCode(modifier), held_ | modifierFlag(modifier));
    }
    Typist& up(Modifier modifier) {
        return change(modifierKeyCode(modifier), held_ & ~modifierFlag(modifier));
    }
    Typist& change(KeyCode code, KeyFlags flags) {
        held_ = flags;
        return feed({.type = Type::flagsChanged, .keyCode = code, .flags = flags, .time = now_});
    }
    Typist& key(KeyCode code, bool isRepeat = false) {
        return feed(
            {.type = Type::keyDown, .keyCode = code, .flags = held_, .isRepeat = isRepeat, .time = now_});
    }
    Typist& click() { return feed({.type = Type::modifiersUsed, .time = now_}); }
    Typist& reset() {
        stream_.reset();
        return *this;
    }
    std::string said;

private:
    Typist& feed(const KeyboardEvent& event) {
        if (const StreamToken* token = stream_.feed(event))
            said += token->text + (token->isRepeat ? "* " : " ");
        return *this;
    }
    TimePoint now_{};
    KeyFlags held_ = 0;
    KeyboardTokenStream stream_{[this] { return now_; }, [] { return 250ms; }};
};

constexpr auto cmd = Modifier::cmd;
constexpr auto shift = Modifier::shift;
constexpr KeyCode kK = 40, kRightCommand = 54, kCapsLock = 57;

TEST(KeyboardTokenStream, TellsTapsFromHoldsAndChords) {
    const struct {
        const char* name;
        std::function<void(Typist&)> type;
        const char* said;
    } rows[] = {
        {"tap", [](Typist& t) { t.down(cmd).at(249ms).up(cmd); }, "cmd "},
        {"equality is a tap", [](Typist& t) { t.down(cmd).at(250ms).up(cmd); }, "cmd "},
        {"hold", [](Typist& t) { t.down(cmd).at(251ms).up(cmd); }, ""},
        {"chord", [](Typist& t) { t.down(cmd).key(kK).up(cmd); }, "cmd+k "},
        {"repeats use a modifier too", [](Typist& t) { t.key(kK).down(shift).key(kK, true).up(shift); },
         "k shift+k* "},
        {"clicks use it", [](Typist& t) { t.down(cmd).click().up(cmd); }, ""},
        {"clock goes back", [](Typist& t) { t.at(5s).down(cmd).at(1s).up(cmd); }, "cmd "},
        {"release without press", [](Typist& t) { t.up(cmd); }, ""},
        {"reset forgets", [](Typist& t) { t.down(cmd).reset().up(cmd); }, ""},
        {"two bare modifiers, in the order of release",
         [](Typist& t) { t.down(cmd).down(shift).up(cmd).up(shift); }, "cmd shift "},
        {"right key", [](Typist& t) { t.change(kRightCommand, kCommandFlag).change(kRightCommand, 0); },
         "cmd "},
        {"caps lock is no modifier", [](Typist& t) { t.change(kCapsLock, 0x10000).change(kCapsLock, 0); },
         ""},
        {"a used modifier is fresh again at its next press",
         [](Typist& t) { t.down(cmd).key(kK).up(cmd).down(cmd).up(cmd); }, "cmd+k cmd "},
        {"key without a name", [](Typist& t) { t.key(300); }, "keycode300 "},
    };
    for (const auto& row : rows) {
        Typist typist;
        row.type(typist);
        EXPECT_EQ(typist.said, row.said) << row.name;
    }
}

TEST(KeyboardTokenStream, AllocatesNothing) {
    KeyboardTokenStream stream([] { return TimePoint(); }, [] { return 250ms; });
    const std::size_t before = test::allocationCount();
    for (KeyCode code = 0; code < 400; ++code)
        stream.feed({.keyCode = code, .flags = kModifierFlags});
    EXPECT_EQ(test::allocationCount(), before);
}

} // namespace
} // namespace varnel
