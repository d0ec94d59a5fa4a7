#include "runtime/simulator/Simulator.h"

#include "KeyboardTestSupport.h"
#include "base/Text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace varnel {
namespace {

using namespace test;
using simulation::Record;

/// What happened, event by event: the tokens with "!" when swallowed, the state in short, what ran. Modifier
/// changes that did nothing are left out.
std::string played(std::vector<ConfigItem> items, const std::string& script) {
    constexpr const char* kShort[] = {"idle", "capture", "pending", "choice", "feedback", "frozen"};
    std::string trace;
    const auto emit = [&](const Record& record) {
        if (record.event == Record::Event::flagsChanged && record.tokens.empty() && !record.swallowed)
            return;
        std::string line = record.event == Record::Event::timer ? "timer" : join(record.tokens, " ");
        line += record.swallowed ? "! " : " ";
        line += kShort[static_cast<int>(record.state)];
        if (record.runs)
            line += "=" + record.runs->name;
        trace += (trace.empty() ? "" : ", ") + line;
    };
    std::string lines = script;
    std::ranges::replace(lines, ';', '\n');
    const auto result = simulation::simulate(lines, share(std::move(items)), {}, emit);
    return result ? trace : describe(result.error());
}

struct Row {
    const char* name;
    std::vector<ConfigItem> items;
    const char* script;
    const char* trace;
};

void check(const std::vector<Row>& rows) {
    for (const Row& row : rows)
        EXPECT_EQ(played(row.items, row.script), row.trace) << row.name;
}

TEST(SequenceMachine, CapturesAndCompletesTriggers) {
    const ConfigItem terminal = action("T", {"ctrl+j", "s", "t"});
    check({
        {"chord", {action("K", {"ctrl+k"})}, "press ctrl+k; wait 1s", "ctrl+k! feedback=K, timer idle"},
        {"sequence",
         {terminal},
         "press ctrl+j; press s; press t",
         "ctrl+j! capture, ! capture, s! capture, t! feedback=T"},
        {"unbound", {terminal}, "press s; press ctrl+x", "s idle, ctrl+x idle"},
        {"a key during the feedback is handled at once",
         {action("A", {"a"}), action("B", {"b"})},
         "press a; press b; press x; wait 1s",
         "a! feedback=A, b! feedback=B, x idle"},
        {"feedback of an older match does not end the newer",
         {action("A", {"a"})},
         "press a; wait 200ms; press a; wait 100ms",
         "a! feedback=A, a! feedback=A"},
        {"an action hides longer triggers",
         {action("A", {"a"}), action("B", {"a", "b"})},
         "press a; press b",
         "a! feedback=A, b idle"},
        {"an action wins over a group",
         {group("G", {"a"}), action("A", {"a"}), action("B", {"a", "b"})},
         "press a",
         "a! feedback=A"},
        {"an empty group is nothing", {group("G", {"a"})}, "press a", "a idle"},
        {"modifier tap and letters",
         {action("G", {"cmd", "g", "g"})},
         "tap cmd; press g; press g",
         "cmd! capture, g! capture, g! feedback=G"},
        {"modifiers held into a step",
         {action("S", {"a", "shift+b"})},
         "press a; press shift+b",
         "a! capture, ! capture, shift+b! feedback=S"},
        {"repeats share the fate of their press",
         {action("A", {"a", "b"})},
         "key x; repeat x; key a; repeat a; repeat x; key b; repeat b",
         "x idle,  idle, a! capture, ! capture,  capture, b! feedback=A, ! feedback"},
        {"no action to run",
         {[] {
             auto item = action("N", {"a"});
             item.action.reset();
             return item;
         }()},
         "press a",
         "a! idle"},
        {"escape is an ordinary key while idle",
         {action("E", {"escape"})},
         "press escape",
         "escape! feedback=E"},
    });
}

TEST(SequenceMachine, EndsSequencesThatAreNotContinued) {
    const ConfigItem tap = action("G", {"cmd", "g"}), chord = action("S", {"ctrl+j", "s"});
    check({
        {"modifier tap, just in time", {tap}, "tap cmd; wait 999ms; press g", "cmd! capture, g! feedback=G"},
        {"modifier tap, too late",
         {tap},
         "tap cmd; wait 1000ms; press g",
         "cmd! capture, timer idle, g idle"},
        {"unlimited steps",
         {chord},
         "set endUnattendedSequences false; press ctrl+j; wait 100s; press s",
         "ctrl+j! capture, ! capture, s! feedback=S"},
        {"unlimited steps that nobody attends",
         {action("T", {"a", "s", "t"})},
         "press a; wait 29s; press s; wait 29s; press x; press a; press s; wait 30s; press t",
         "a! capture, s! capture, x! idle, a! capture, s! capture, timer idle, t idle"},
        {"limited steps",
         {action("T", {"a", "s", "t"})},
         "set sequenceStepTimeoutMilliseconds 300; press a; wait 280ms; press s; wait 300ms; press t",
         "a! capture, s! capture, timer idle, t idle"},
        {"only a lone tap has the modifier's time",
         {action("T", {"cmd", "s", "t"})},
         "tap cmd; press s; wait 29s; press t",
         "cmd! capture, s! capture, t! feedback=T"},
        {"invalid key",
         {chord},
         "press ctrl+j; press x; press y",
         "ctrl+j! capture, ! capture, x! idle, y idle"},
        {"invalid tap",
         {chord},
         "press ctrl+j; tap shift; key y",
         "ctrl+j! capture, ! capture, ! capture, shift! idle, y idle"},
        {"escape",
         {chord},
         "press ctrl+j; press escape; press s",
         "ctrl+j! capture, ! capture, escape! idle, s idle"},
        {"hints kept",
         {chord},
         "set keepHintsOpenAfterInvalidInput true; press ctrl+j; press x; press s; press ctrl+j; press "
         "escape; press y",
         "ctrl+j! capture, ! capture, x frozen, s frozen, ctrl+j frozen, escape! idle, y idle"},
        {"suspended",
         {chord},
         "press ctrl+j; suspend a; press s; press ctrl+j; resume a; press s",
         "ctrl+j! capture, ! capture, s idle, ctrl+j idle, s idle"},
    });
}

TEST(SequenceMachine, LetsFirstKeysOfSomeGroupsThrough) {
    const std::vector<ConfigItem> whole{group("G", {"a"}, true), action("B", {"a", "b"}),
                                        action("C", {"a", "c", "d"}), action("X", {"x"})};
    const std::vector<ConfigItem> deep{group("G", {"a", "c"}, true), action("B", {"a", "b"}),
                                       action("C", {"a", "c", "d"})};
    check({
        {"alone", whole, "press a; wait 1s; press b", "a pending, timer idle, b idle"},
        {"completed", whole, "press a; press b", "a pending, b! feedback=B"},
        {"captured", whole, "press a; press c; wait 29s; press d", "a pending, c! capture, d! feedback=C"},
        {"another trigger", whole, "press a; press x", "a pending, x! feedback=X"},
        {"again", whole, "press a; press a; press b", "a pending, a pending, b! feedback=B"},
        {"unbound", whole, "press a; press z; press b", "a pending, z idle, b idle"},
        {"escape", whole, "press a; press escape", "a pending, escape! idle"},
        {"only on the way to the group", deep, "press a; press b; press a; press c; press d",
         "a pending, b idle, a pending, c! capture, d! feedback=C"},
        {"not inside a capture",
         {group("G", {"a", "b"}, false), group("H", {"a", "b", "c"}, false), action("C", {"a", "b", "c"})},
         "press a; press b",
         "a! capture, b! capture"},
    });
}

TEST(SequenceMachine, LetsTheUserChoose) {
    const std::vector<ConfigItem> items{windowChooser("W", {"w"})};
    const std::string many =
        "choices \"1\" \"2\" \"3\" \"4\" \"5\" \"6\" \"7\" \"8\" \"9\" \"10\"; press w; ";
    const struct {
        const char* name;
        std::string script;
        const char* trace;
    } rows[] = {
        {"one letter", "choices \"1\" \"2\"; press w; press f", "w! choice, f! feedback=W"},
        {"two letters", many + "press j; press f", "w! choice, j! choice, f! feedback=W"},
        {"taken back", many + "press j; press delete; press delete; press f",
         "w! choice, j! choice, delete! choice, delete! choice, f! feedback=W"},
        {"invalid", many + "press j; press x; press j", "w! choice, j! choice, x! idle, j idle"},
        {"not a letter", many + "press 1", "w! choice, 1! idle"},
        {"hints kept", "set keepHintsOpenAfterInvalidInput true; " + many + "press x; press j; press escape",
         "w! choice, x frozen, j frozen, escape! idle"},
        {"escape", many + "press escape; press j", "w! choice, escape! idle, j idle"},
        {"one choice", "choices \"only\"; press w", "w! feedback=W"},
        {"none", "choices; press w", "w! idle"},
        {"late, typed ahead", "press w; press f; choices \"1\" \"2\"",
         "w! choice, f! choice, timer feedback=W"},
        {"late, too much ahead", "press w; press f; press x; choices \"1\" \"2\"",
         "w! choice, f! choice, x! choice, timer feedback=W"},
        {"late, wrong ahead", "press w; press x; choices \"1\" \"2\"; press x",
         "w! choice, x! choice, timer idle, x idle"},
        {"escape while loading", "press w; press escape; press x", "w! choice, escape! idle, x idle"},
        {"an answer that never comes", "press w; wait 60s; press x", "w! choice, timer idle, x idle"},
        {"step time-out", "set sequenceStepTimeoutMilliseconds 300; " + many + "wait 280ms; press j; wait 1s",
         "w! choice, j! choice, timer idle"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(played(items, row.script), row.trace) << row.name;
}

} // namespace
} // namespace varnel
