#include "commands/CommandExecutor.h"

#include "base/ManualEventLoop.h"
#include "commands/ApplicationCommand.h"
#include "tests/commands/CommandDoubles.h"

#include <gtest/gtest.h>

#include <atomic>

namespace varnel {
namespace {

struct NoApplications : ApplicationActivating {
    bool open(const FileURL&) override { return false; }
    std::optional<FileURL> applicationURL(const std::string&) override { return std::nullopt; }
};

struct FunctionCommand : Command {
    explicit FunctionCommand(std::function<std::optional<std::string>()> function)
        : run(std::move(function)) {}
    std::optional<std::string> execute() override { return run(); }
    std::function<std::optional<std::string>()> run;
};

/// Every action that is not built in runs `run` with the item's name.
struct ScriptedPlugins : PluginCommandMaking {
    std::unique_ptr<Command> makePluginCommand(const std::string& displayName, const ConfigAction& action,
                                               const std::string& configurationPath,
                                               const PluginSettings& pluginSettings) override {
        asked.push_back(action.pluginID + "/" + action.actionID + " " + configurationPath + " " +
                        std::to_string(pluginSettings.size()));
        return std::make_unique<FunctionCommand>([this, displayName] { return run(displayName); });
    }
    std::vector<std::string> asked;
    std::function<std::optional<std::string>(const std::string&)> run = [](const std::string&) {
        return std::nullopt;
    };
};

struct Bench {
    NoApplications applications;
    RecordingLog log;
    ScriptedPlugins plugins;
    CommandFactory factory{plugins,
                           {.applicationActivator = applications,
                            .bundleIdentifier = [](const FileURL&) { return std::nullopt; },
                            .eventPoster = [](const auto&, const auto&) { return true; },
                            .frontmostProcessIdentifier = [] { return std::nullopt; },
                            .log = log}};
};

ConfigItem itemFor(std::string plugin, std::string action, JSONValue::Object params = {}) {
    ConfigItem item;
    item.name = "Thing";
    item.action = ConfigAction{std::move(plugin), std::move(action), std::move(params)};
    return item;
}

TEST(CommandFactory, MakesTheBuiltInCommandsAndLeavesTheRestToPlugins) {
    struct Row {
        std::string name;
        ConfigItem item;
        std::string made;
    };
    ConfigItem group = itemFor(core::shortcut, "press");
    group.type = ItemType::group;
    ConfigItem empty;
    empty.name = "Empty";
    const Row rows[] = {
        {"group", group, "nothing"},
        {"no action", empty, "nothing"},
        {"shortcut", itemFor(core::shortcut, "press", {{"shortcut", "cmd+k"}, {"deliveryMode", 1}}),
         "shortcut cmd+k 1"},
        {"shortcut of the wrong kind", itemFor(core::shortcut, "press", {{"shortcut", 5}}), "shortcut  -"},
        {"null mode counts as given", itemFor(core::shortcut, "press", {{"deliveryMode", nullptr}}),
         "shortcut  null"},
        {"application", itemFor(core::application, "open", {{"path", "/A.app"}}), "application /A.app"},
        {"application without a path", itemFor(core::application, "open"), "application "},
        {"other action of a built-in", itemFor(core::application, "close"), "plugin core.application/close"},
        {"other case", itemFor(core::shortcut, "Press"), "plugin core.shortcut/Press"},
        {"shell", itemFor(core::shell, "run"), "plugin core.shell/run"},
        {"foreign", itemFor("org.example", "open"), "plugin org.example/open"},
    };
    for (const Row& row : rows) {
        Bench bench;
        const auto command = bench.factory.makeCommand(row.item, "/c.json", {{"a", {}}, {"b", {}}});
        std::string made = "nothing";
        if (auto* shortcut = dynamic_cast<KeyboardShortcutCommand*>(command.get())) {
            const auto& mode = shortcut->parameters().deliveryMode;
            made = "shortcut " + shortcut->parameters().shortcutToken + " " +
                   (!mode            ? "-"
                    : mode->isNull() ? "null"
                                     : std::to_string(static_cast<int>(*mode->number())));
        } else if (auto* application = dynamic_cast<ApplicationCommand*>(command.get())) {
            made = "application " + application->parameters().applicationPath;
        } else if (command) {
            made = "plugin " + bench.plugins.asked.at(0);
            ASSERT_TRUE(made.ends_with(" /c.json 2"));
            made.resize(made.size() - 10);
        }
        EXPECT_EQ(made, row.made) << row.name;
    }
}

/// Runs at once, inside `submit`.
struct ImmediateQueue : SerialExecutor {
    void submit(std::function<void()> task) override { task(); }
};

TEST(CommandExecutor, ReportsInALaterTurn) {
    struct Row {
        std::optional<std::string> message;
        std::string status;
    };
    for (const Row& row : {Row{"Done: 3", "Done: 3"}, Row{std::nullopt, "Executed: Thing"}, Row{"", ""}}) {
        Bench bench;
        ImmediateQueue queue;
        ManualEventLoop loop;
        CommandExecutor executor(bench.factory, queue, loop);
        bench.plugins.run = [&](const std::string&) { return row.message; };
        std::vector<std::string> reports;
        executor.execute(itemFor("org.example", "run"), "", {},
                         [&](const std::string& s) { reports.push_back(s); });
        EXPECT_EQ(reports, std::vector<std::string>{});
        loop.runPending();
        EXPECT_EQ(reports, std::vector<std::string>{row.status});
        ConfigItem empty;
        empty.name = "Empty";
        executor.execute(empty, "", {}, [&](const std::string& s) { reports.push_back(s); });
        EXPECT_EQ(reports.back(), "No handler found for action: Empty");
    }
}

TEST(CommandExecutor, RunsOneCommandAfterAnotherInTheOrderOfTriggering) {
    Bench bench;
    ManualEventLoop loop;
    std::atomic<int> running = 0, most = 0;
    bench.plugins.run = [&](const std::string& name) {
        most = std::max(most.load(), ++running);
        std::this_thread::yield();
        --running;
        return name;
    };
    std::vector<std::string> reports, expected;
    {
        SerialQueue queue(kCommandQueueLabel);
        CommandExecutor executor(bench.factory, queue, loop);
        for (int i = 0; i < 200; ++i) {
            ConfigItem item = itemFor("org.example", "run");
            item.name = std::to_string(i);
            expected.push_back(item.name);
            executor.execute(item, "", {}, [&](const std::string& s) { reports.push_back(s); });
        }
        for (int i = 0; i < 5000 && reports.size() < expected.size(); ++i) {
            loop.runPending();
            std::this_thread::sleep_for(1ms);
        }
    }
    EXPECT_EQ(reports, expected);
    EXPECT_EQ(most, 1);
}

} // namespace
} // namespace varnel
