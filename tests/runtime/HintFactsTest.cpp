#include "runtime/HintFacts.h"

#include "base/ManualEventLoop.h"

#include <gtest/gtest.h>

#include <deque>
#include <set>

namespace varnel {
namespace {

struct FakeWindows : WindowServices {
    std::expected<std::vector<RunningWindow>, WindowError> windows() override { return {}; }
    std::expected<void, WindowError> activate(const RunningWindow&) override { return {}; }
    std::optional<WindowNumber> frontWindowOf(const std::string& path) override {
        ++questions;
        return running.contains(path) ? std::optional<WindowNumber>(1) : std::nullopt;
    }
    std::set<std::string> running;
    int questions = 0;
};

struct LaterExecutor : SerialExecutor {
    void submit(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    std::deque<std::function<void()>> tasks;
};

class HintFactsTest : public testing::Test {
protected:
    /// Lets the worker do what was asked of it, and its answers arrive.
    void settle() {
        loop.runPending();
        for (; !executor.tasks.empty(); executor.tasks.pop_front())
            executor.tasks.front()();
        loop.runPending();
    }
    ManualEventLoop loop;
    LaterExecutor executor;
    FakeWindows windows;
    int changes = 0;
    std::shared_ptr<PluginRegistry> registry = std::make_shared<PluginRegistry>();
    std::unique_ptr<HintFacts> facts = std::make_unique<HintFacts>(HintFacts::Surroundings{
        loop, executor, [this] { return &windows; }, [this] { return registry; }, [this] { ++changes; }});
};

TEST_F(HintFactsTest, LooksOnceForAllRowsAndTellsWhatItFound) {
    windows.running = {"/b"};
    EXPECT_FALSE(facts->isRunning("/a"));
    EXPECT_FALSE(facts->isRunning("/b"));
    settle();
    EXPECT_EQ(windows.questions, 2);
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(facts->isRunning("/b"));
    EXPECT_FALSE(facts->isRunning("/a"));
    settle();
    EXPECT_EQ(windows.questions, 2) << "still fresh";
    loop.advance(HintFacts::kFreshFor);
    windows.running = {};
    EXPECT_TRUE(facts->isRunning("/b")) << "answered at once, with what was known";
    settle();
    EXPECT_FALSE(facts->isRunning("/b"));
    EXPECT_EQ(changes, 2);
}

TEST_F(HintFactsTest, LooksForApplicationsThatAreNewAtOnce) {
    facts->isRunning("/a");
    settle();
    windows.running = {"/c"};
    facts->isRunning("/c");
    settle();
    EXPECT_TRUE(facts->isRunning("/c"));
}

TEST_F(HintFactsTest, IgnoresAnAnswerThatComesTooLate) {
    windows.running = {"/a"};
    facts->isRunning("/a");
    loop.runPending();
    facts.reset();
    settle();
    EXPECT_EQ(changes, 0);
}

TEST_F(HintFactsTest, TellsWhatAnActionLacks) {
    using Kind = PluginStatus::Kind;
    const auto add = [&](const char* id, Kind kind) {
        auto package = std::make_shared<PluginDescriptor>();
        package->manifest.id = id;
        package->status.kind = kind;
        registry->descriptors.push_back(package);
        if (kind == Kind::active)
            registry->activePluginsByID[id] = package;
    };
    const auto of = [&](const char* id) { return actionAvailability(*registry, {id, "run", {}}); };
    EXPECT_EQ(of("anything"), HintAvailability::available) << "before the first scan";
    add("good", Kind::active);
    add("good", Kind::disabled);
    add("off", Kind::disabled);
    add("new", Kind::untrusted);
    add("broken", Kind::invalid);
    const std::pair<const char*, HintAvailability> cases[] = {
        {"good", HintAvailability::available},         {"off", HintAvailability::disabled},
        {"new", HintAvailability::untrusted},          {"broken", HintAvailability::missing},
        {"nowhere", HintAvailability::missing},        {core::application, HintAvailability::available},
        {core::shortcut, HintAvailability::available},
    };
    for (const auto& [id, availability] : cases)
        EXPECT_EQ(of(id), availability) << id;
}

} // namespace
} // namespace varnel
