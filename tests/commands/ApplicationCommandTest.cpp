#include "commands/ApplicationCommand.h"

#include "base/PosixFileSystem.h"
#include "commands/ApplicationActivationCoordinator.h"
#include "tests/commands/CommandDoubles.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

/// A workspace whose answers a row gives, under the real coordinator.
struct Workspace {
    TemporaryFolder folder;
    PosixFileSystem files;
    RecordingLog log;
    std::vector<std::string> requests;
    std::vector<std::string> openable; ///< by plain opening
    std::map<std::string, std::string> installed;
    OpenCompletion completion;
    OpenConfiguration configuration;
    WorkspaceApplicationLauncher launcher{
        {.openURL =
             [this](const FileURL& url) {
                 requests.push_back("url " + url.path);
                 return std::ranges::find(openable, url.path) != openable.end();
             },
         .applicationURL = [this](const std::string& wanted) -> std::optional<FileURL> {
             const auto found = installed.find(wanted);
             return found == installed.end() ? std::nullopt : std::optional(FileURL::fromPath(found->second));
         },
         .openApplication =
             [this](const FileURL& url, const OpenConfiguration& how, OpenCompletion done) {
                 requests.push_back("application " + url.path);
                 configuration = how;
                 completion = std::move(done);
             },
         .bundleIdentifier = {},
         .frontmostProcessIdentifier = {}}};
    ApplicationActivationCoordinator coordinator{launcher, files, log};
    std::function<std::optional<std::string>(const FileURL&)> identifier = [](const FileURL& url) {
        return url.path.contains("Moved") ? std::optional<std::string>("org.example.moved") : std::nullopt;
    };

    std::optional<std::string> run(const std::string& path) {
        ApplicationCommand command({"My App", path}, {coordinator, identifier, log});
        return command.execute();
    }
};

TEST(ApplicationCommand, ReportsAnExistingPathAtOnceWhateverComesLater) {
    Workspace workspace;
    workspace.folder.write("Some App.app/x", "");
    const std::string application = workspace.folder.path("Some App.app");
    EXPECT_EQ(workspace.run(application + "/"), "Launched: Some App.app");
    EXPECT_EQ(workspace.requests, std::vector<std::string>{"application " + application});
    EXPECT_EQ(workspace.configuration,
              (OpenConfiguration{.activates = true, .allowsRunningApplicationSubstitution = true}));
    EXPECT_EQ(workspace.log.take(),
              logged("ApplicationActivation", "debug",
                     {"applicationCommand.start path=" + application + "/", "open.start path=" + application,
                      "open.workspace.result=true path=" + application,
                      "applicationCommand.open=true path=" + application + "/"}));
    struct Row {
        OpenOutcome outcome;
        std::string line;
    };
    for (const Row& row : {Row{{true, std::nullopt}, "true path=" + application + " error=nil"},
                           Row{{false, std::nullopt}, "false path=" + application + " error=nil"},
                           Row{{true, "slow"}, "false path=" + application + " error=slow"},
                           Row{{false, "gone"}, "false path=" + application + " error=gone"}}) {
        workspace.completion(row.outcome);
        EXPECT_EQ(workspace.log.take(),
                  logged("ApplicationActivation", "debug", {"open.workspace.completion result=" + row.line}));
    }
}

TEST(ApplicationCommand, FindsItsWayWithoutTheFile) {
    struct Row {
        std::string name, path;
        std::vector<std::string> openable;
        std::map<std::string, std::string> installed;
        std::optional<std::string> message;
        std::vector<std::string> requests, lines;
    };
    const std::string direct = "open.direct.result=";
    const Row rows[] = {
        {"empty path", "", {}, {}, std::nullopt, {}, {}},
        {"plain opening",
         "/nowhere/A.app",
         {"/nowhere/A.app"},
         {},
         "Launched: A.app",
         {"url /nowhere/A.app"},
         {"applicationCommand.start path=/nowhere/A.app", "open.start path=/nowhere/A.app",
          "open.workspace.result=false path=/nowhere/A.app", direct + "true path=/nowhere/A.app",
          "applicationCommand.open=true path=/nowhere/A.app"}},
        {"no bundle there",
         "/nowhere/A.app",
         {},
         {{"org.example.moved", "/elsewhere/B.app"}},
         "Failed to launch application: My App",
         {"url /nowhere/A.app"},
         {"applicationCommand.start path=/nowhere/A.app", "open.start path=/nowhere/A.app",
          "open.workspace.result=false path=/nowhere/A.app", direct + "false path=/nowhere/A.app",
          "applicationCommand.open=false path=/nowhere/A.app",
          "applicationCommand.finish=false path=/nowhere/A.app"}},
        {"identifier of nothing installed",
         "/nowhere/Moved.app",
         {},
         {},
         "Failed to launch application: My App",
         {"url /nowhere/Moved.app"},
         {"applicationCommand.start path=/nowhere/Moved.app", "open.start path=/nowhere/Moved.app",
          "open.workspace.result=false path=/nowhere/Moved.app", direct + "false path=/nowhere/Moved.app",
          "applicationCommand.open=false path=/nowhere/Moved.app",
          "applicationCommand.finish=false path=/nowhere/Moved.app"}},
        {"moved",
         "/nowhere/Moved.app",
         {"/elsewhere/New Name.app"},
         {{"org.example.moved", "/elsewhere/New Name.app"}},
         "Launched: New Name.app",
         {"url /nowhere/Moved.app", "url /elsewhere/New Name.app"},
         {"applicationCommand.start path=/nowhere/Moved.app", "open.start path=/nowhere/Moved.app",
          "open.workspace.result=false path=/nowhere/Moved.app", direct + "false path=/nowhere/Moved.app",
          "applicationCommand.open=false path=/nowhere/Moved.app", "open.start path=/elsewhere/New Name.app",
          "open.workspace.result=false path=/elsewhere/New Name.app",
          direct + "true path=/elsewhere/New Name.app",
          "applicationCommand.bundleFallback=true path=/elsewhere/New Name.app"}},
        {"moved, but refused",
         "/nowhere/Moved.app",
         {},
         {{"org.example.moved", "/elsewhere/B.app"}},
         "Failed to launch application: My App",
         {"url /nowhere/Moved.app", "url /elsewhere/B.app"},
         {"applicationCommand.start path=/nowhere/Moved.app", "open.start path=/nowhere/Moved.app",
          "open.workspace.result=false path=/nowhere/Moved.app", direct + "false path=/nowhere/Moved.app",
          "applicationCommand.open=false path=/nowhere/Moved.app", "open.start path=/elsewhere/B.app",
          "open.workspace.result=false path=/elsewhere/B.app", direct + "false path=/elsewhere/B.app",
          "applicationCommand.finish=false path=/nowhere/Moved.app"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Workspace workspace;
        workspace.openable = row.openable;
        workspace.installed = row.installed;
        EXPECT_EQ(workspace.run(row.path), row.message);
        EXPECT_EQ(workspace.requests, row.requests);
        EXPECT_EQ(workspace.log.take(), logged("ApplicationActivation", "debug", row.lines));
    }
}

TEST(ApplicationCommand, AsksForAWindowOnlyWhenToldSoExactly) {
    struct Row {
        std::string name, plugin, action;
        JSONValue::Object params;
        std::optional<std::string> path;
    };
    const JSONValue path = "/A.app";
    const Row rows[] = {
        {"asked",
         core::application,
         "open",
         {{"path", path}, {"windowSelectionMode", "chooseWhenMultiple"}},
         "/A.app"},
        {"frontmost", core::application, "open", {{"path", path}, {"windowSelectionMode", "frontmost"}}, {}},
        {"other case",
         core::application,
         "open",
         {{"path", path}, {"windowSelectionMode", "ChooseWhenMultiple"}},
         {}},
        {"no text", core::application, "open", {{"path", path}, {"windowSelectionMode", true}}, {}},
        {"not said", core::application, "open", {{"path", path}}, {}},
        {"no path", core::application, "open", {{"windowSelectionMode", "chooseWhenMultiple"}}, {}},
        {"other action",
         core::application,
         "close",
         {{"path", path}, {"windowSelectionMode", "chooseWhenMultiple"}},
         {}},
        {"other plugin",
         core::shell,
         "open",
         {{"path", path}, {"windowSelectionMode", "chooseWhenMultiple"}},
         {}},
    };
    for (const Row& row : rows) {
        ConfigItem item;
        item.action = ConfigAction{row.plugin, row.action, row.params};
        EXPECT_EQ(applicationPathForWindowSelection(item), row.path) << row.name;
        item.type = ItemType::group;
        EXPECT_EQ(applicationPathForWindowSelection(item), std::nullopt) << row.name;
    }
}

} // namespace
} // namespace varnel
