#include "keyboard/TimingPreferences.h"

#include "base/MemoryPreferenceStore.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

TEST(TimingPreferences, AreBroughtIntoRangeAtEachUse) {
    const struct {
        std::optional<JSONValue> stored;
        Duration tapThreshold, modifierTimeout;
        std::optional<Duration> stepTimeout;
    } rows[] = {
        {std::nullopt, 250ms, 1s, std::nullopt},
        {0, 250ms, 1s, std::nullopt},
        {-5, 100ms, 250ms, std::nullopt},
        {1, 100ms, 250ms, 250ms},
        {50, 100ms, 250ms, 250ms},
        {100, 100ms, 250ms, 250ms},
        {250, 250ms, 250ms, 250ms},
        {700, 700ms, 700ms, 700ms},
        {5000, 1s, 5s, 5s},
        {9000, 1s, 5s, 9s},
        {60000, 1s, 5s, 30s},
        {"300", 250ms, 1s, std::nullopt},
        {1e300, 250ms, 1s, std::nullopt},
    };
    MemoryPreferenceStore store;
    for (const auto& row : rows) {
        for (const auto& preference :
             {kModifierTapThreshold, kSequenceStepTimeout, kModifierSequenceStepTimeout})
            ASSERT_TRUE(store.setValue(preference.key, row.stored));
        EXPECT_EQ(modifierTapThreshold(store), row.tapThreshold);
        EXPECT_EQ(modifierSequenceTimeout(store), row.modifierTimeout);
        EXPECT_EQ(sequenceStepTimeout(store), row.stepTimeout);
    }
}

} // namespace
} // namespace varnel
