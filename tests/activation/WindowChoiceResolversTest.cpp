#include "runtime/WindowChoiceResolvers.h"

#include "base/ManualEventLoop.h"
#include "keyboard/notation/ChoiceLabels.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

class FixedWindows : public WindowServices {
public:
    std::vector<RunningWindow> list;
    std::optional<WindowNumber> front;
    std::expected<std::vector<RunningWindow>, WindowError> windows() override { return list; }
    std::expected<void, WindowError> activate(const RunningWindow&) override { return {}; }
    std::optional<WindowNumber> frontWindowOf(const std::string&) override { return front; }
};

/// Runs what it gets when the test says so.
class HeldExecutor : public SerialExecutor {
public:
    void submit(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    void runAll() {
        for (auto& task : std::exchange(tasks, {}))
            task();
    }
    std::vector<std::function<void()>> tasks;
};

RunningWindow window(WindowNumber id, const char* application, const char* title) {
    RunningWindow result;
    result.id = id;
    result.process = 10;
    result.applicationName = result.applicationID = application;
    result.title = title;
    return result;
}

ConfigItem item(const char* plugin, const char* action, JSONValue::Object params) {
    ConfigItem result;
    result.name = "Pick";
    result.action = ConfigAction{plugin, action, std::move(params)};
    return result;
}

const ConfigItem kWindows =
    item("core.application", "open",
         {{"path", "/apps/mail.desktop"}, {"windowSelectionMode", "chooseWhenMultiple"}});
const ConfigItem kApplications = item("core.running-apps", "activate", {});

class WindowChoiceResolversTest : public ::testing::Test {
protected:
    using Result = std::expected<DynamicChoiceList, std::string>;
    WindowChoiceResolversTest() {
        addWindowChoiceResolvers(registry, {loop, executor, [this] { return services; }, 99});
    }
    std::optional<Result> resolve(const ConfigItem& asked) {
        std::optional<Result> answer;
        const auto resolver = registry.resolverFor(asked);
        if (!resolver)
            return std::nullopt;
        const Subscription request =
            resolver->resolve(asked, [&](Result result) { answer = std::move(result); });
        executor.runAll();
        EXPECT_FALSE(answer) << "answers come through the loop";
        loop.advance(0ms);
        return answer;
    }
    ManualEventLoop loop;
    HeldExecutor executor;
    FixedWindows windows;
    WindowServices* services = &windows;
    DynamicChoiceRegistry registry;
};

TEST_F(WindowChoiceResolversTest, OffersTheWindowsOfTheApplication) {
    windows.list = {window(1, "Mail", "Inbox"), window(2, "Web", "Page"), window(3, "Mail", "Draft")};
    windows.list[2].isMinimized = true;
    windows.front = 1;
    const auto answer = resolve(kWindows);
    ASSERT_TRUE(answer && *answer);
    const auto& choices = (*answer)->choices;
    ASSERT_EQ(choices.size(), 2u);
    EXPECT_EQ(choices[0].title, "Inbox");
    EXPECT_EQ(choices[1].detail, "minimised");
    EXPECT_EQ(choices[0].label, "j");
    EXPECT_EQ(choices[1].action,
              (ConfigAction{"core.running-apps", "activate", JSONValue::Object{{"choice", "window 3"}}}));
    windows.list.erase(windows.list.begin());
    windows.front = 3;
    EXPECT_EQ(resolve(kWindows)->value().choices.at(0).label, "f") << "the letter stays with its window";
}

TEST_F(WindowChoiceResolversTest, OpensAnApplicationThatIsNotRunning) {
    const auto answer = resolve(kWindows);
    ASSERT_TRUE(answer && *answer);
    ASSERT_EQ((*answer)->choices.size(), 1u);
    EXPECT_EQ((*answer)->choices[0].action,
              (ConfigAction{"core.application", "open", JSONValue::Object{{"path", "/apps/mail.desktop"}}}));
}

TEST_F(WindowChoiceResolversTest, OffersTheRunningApplications) {
    EXPECT_EQ(resolve(kApplications)->error(), "No application has a window.");
    windows.list = {window(1, "Mail", "Inbox"), window(2, "Web", "Page"), window(3, "Mail", "Draft")};
    const auto answer = resolve(kApplications);
    ASSERT_TRUE(answer && *answer);
    ASSERT_EQ((*answer)->choices.size(), 2u);
    EXPECT_EQ((*answer)->choices[0].detail, "2 windows");
    const ConfigItem chosen = itemForChoice(kApplications, (*answer)->choices[1]);
    EXPECT_EQ(chosen.action->params.at("choice"), JSONValue("Web"));
    EXPECT_EQ(registry.resolverFor(chosen), nullptr) << "a choice that was made is not asked for again";
    EXPECT_EQ(registry.resolverFor(item("core.running-apps", "activate", {{"application", "Mail"}})),
              nullptr);
    EXPECT_EQ(registry.resolverFor(item("core.running-apps", "list", {})), nullptr);
}

TEST_F(WindowChoiceResolversTest, SaysWhenThereIsNoWindowServerAndStaysSilentOnceDropped) {
    bool isAnswered = false;
    {
        const Subscription request =
            registry.resolverFor(kApplications)->resolve(kApplications, [&](Result) { isAnswered = true; });
        executor.runAll();
    }
    loop.advance(0ms);
    EXPECT_FALSE(isAnswered);
    services = nullptr;
    EXPECT_EQ(resolve(kApplications)->error(), "The windows of this system cannot be listed.");
}

} // namespace
} // namespace varnel
