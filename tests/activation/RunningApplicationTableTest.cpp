#include "activation/RunningApplicationTable.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

constexpr ProcessIdentifier kTarget = 7;

TEST(RunningApplicationTable, NamesTheApplicationInFrontAndThenAsksPlainly) {
    const struct {
        std::optional<ProcessIdentifier> front;
        bool givesWay, obeys;
        std::string calls;
        bool activated;
    } rows[] = {
        {3, true, true, "from 3;", true},          {3, false, true, "from 3;plain;", true},
        {3, false, false, "from 3;plain;", false}, {std::nullopt, true, true, "plain;", true},
        {kTarget, true, true, "plain;", true}, // in front already, perhaps hidden
    };
    for (const auto& row : rows) {
        std::string calls;
        RunningApplicationTable table;
        table.frontmostProcess = [&] { return row.front; };
        table.activateFrom = [&](ProcessIdentifier giver, ProcessIdentifier process) {
            EXPECT_EQ(process, kTarget);
            calls += "from " + std::to_string(giver) + ";";
            return row.givesWay;
        };
        table.activate = [&](ProcessIdentifier process) {
            EXPECT_EQ(process, kTarget);
            calls += "plain;";
            return row.obeys;
        };
        int pauses = 0;
        table.pause = [&] { ++pauses; };
        EXPECT_EQ(activateRunningApplication(table, kTarget).activated, row.activated);
        EXPECT_EQ(calls, row.calls);
        EXPECT_EQ(pauses, row.activated && row.front != kTarget ? kActivationLooks : 0);
    }
}

TEST(RunningApplicationTable, WaitsUntilTheApplicationHasComeForward) {
    for (const int needed : {1, 5, kActivationLooks, kActivationLooks + 1}) {
        int pauses = 0;
        RunningApplicationTable table;
        table.frontmostProcess = [&] { return std::optional(pauses < needed ? 3 : kTarget); };
        table.activateFrom = [](ProcessIdentifier, ProcessIdentifier) { return true; };
        table.pause = [&] { ++pauses; };
        const auto result = activateRunningApplication(table, kTarget);
        EXPECT_EQ(result.frontmostProcess, needed <= kActivationLooks ? kTarget : 3);
        EXPECT_EQ(pauses, std::min(needed, kActivationLooks));
    }
}

struct HandleNumbers : WindowNumberProviding {
    std::optional<WindowNumber> windowNumber(const AccessibilityElement& window) override {
        return window.handle == 0 ? std::nullopt
                                  : std::optional(static_cast<WindowNumber>(window.handle * 10));
    }
};

TEST(RunningApplicationTable, FindsAWindowByItsNumber) {
    RunningApplicationTable table;
    table.applicationElement = [](ProcessIdentifier process) {
        return AccessibilityElement{.handle = static_cast<std::uintptr_t>(process)};
    };
    table.windows = [](const AccessibilityElement& application) {
        EXPECT_EQ(application.handle, 7U);
        return std::vector<AccessibilityElement>{{.handle = 0}, {.handle = 1}, {.handle = 2}};
    };
    HandleNumbers numbers;
    const auto found = findWindowElements(table, numbers, {.id = 20, .process = kTarget});
    ASSERT_TRUE(found);
    EXPECT_EQ(found->application.handle, 7U);
    EXPECT_EQ(found->window.handle, 2U);
    EXPECT_FALSE(findWindowElements(table, numbers, {.id = 30, .process = kTarget}));
}

} // namespace
} // namespace varnel
