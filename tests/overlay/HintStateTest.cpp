#include "keyboard/HintStateBuilder.h"

#include "base/MemoryPreferenceStore.h"
#include "tests/keyboard/KeyboardTestSupport.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;

class HintStateTest : public testing::Test {
protected:
    HintStateTest() { machine.setIndex(indexOf(items())); }
    static std::vector<ConfigItem> items() {
        ConfigItem gone = action("Gone", {"g", "z"});
        gone.action->pluginID = "gone";
        return {action("Deep", {"g", "m", "x"}),
                action("First", {"g", "b"}),
                gone,
                action("Chord of modifiers", {"g", "cmd+shift"}),
                action("Tap", {"g", "cmd"}),
                action("Deeper", {"g", "m", "y", "z"}),
                group("Middle", {"g", "m"}),
                group("Group", {"g"})};
    }
    SequenceStep type(const char* token, Duration at = {}) { return machine.handle(token, TimePoint{} + at); }
    /// Each row as "token place entries availability".
    std::string rows() {
        const HintSources sources{{}, [](const ConfigItem& item) {
                                      return item.action->pluginID == "gone" ? HintAvailability::missing
                                                                             : HintAvailability::available;
                                  }};
        std::string text;
        for (const HintRow& row : buildHintState(machine, sources).rows)
            text += row.token + " " + std::to_string(row.fileOrder) + " " + std::to_string(row.entryCount) +
                    " " + std::to_string(static_cast<int>(row.availability)) + "\n";
        return text;
    }

    MemoryPreferenceStore preferences;
    SequenceMachine machine{sequenceTimings(preferences)};
};

TEST_F(HintStateTest, TellsPlaceEntriesAndWhatIsInTheWay) {
    type("g");
    EXPECT_EQ(rows(), "b 1 0 0\n"
                      "cmd 4 0 0\n"
                      "cmd+shift 3 0 4\n"
                      "m 0 2 0\n"
                      "z 2 0 3\n");
}

TEST_F(HintStateTest, TellsTheDeadlineOfTheStep) {
    type("g");
    EXPECT_EQ(buildHintState(machine, {}).deadline, std::nullopt);
    ASSERT_TRUE(preferences.setValue(kSequenceStepTimeout.key, JSONValue(500.0)));
    type("m");
    EXPECT_EQ(buildHintState(machine, {}).deadline, TimePoint{} + 500ms);
    machine.keepOpen(TimePoint{} + 200ms);
    EXPECT_EQ(buildHintState(machine, {}).deadline, TimePoint{} + 700ms);
    const SequenceStep step = type("q", 300ms);
    ASSERT_TRUE(step.refusedAt);
    EXPECT_EQ(machine.index().tokens(*step.refusedAt), (Keys{"g", "m"}));
    EXPECT_FALSE(machine.keepOpen(TimePoint{} + 300ms).changed) << "nothing is open";
}

} // namespace
} // namespace varnel
