#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "plugins/PluginCommand.h"
#include "plugins/PluginHooks.h"
#include "plugins/PluginManager.h"
#include "plugins/PluginTrust.h"
#include "tests/plugins/TestPackages.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

namespace varnel {
namespace {

using testing::makePackage;
using testing::manifestText;
using testing::readFile;
using testing::TemporaryFolder;
using testing::writeFile;

const std::string kChild = VARNEL_BINARY_DIR "/plugin_test_child";

class ImmediateTasks : public SerialExecutor {
public:
    void submit(std::function<void()> task) override { task(); }
};

class RecordingLog : public LogSink {
public:
    void write(LogLevel level, std::string_view category, std::string_view text) override {
        lines += (level == LogLevel::error ? "error " : "debug ") + std::string(category) + ": " +
                 std::string(text) + "\n";
    }
    std::string lines;
};

class PluginRunTest : public ::testing::Test {
protected:
    PluginRunTest() {
        PluginManagerOptions options;
        options.bundledPluginsURL = folder / "bundled";
        options.homeFolder = folder / "home";
        options.verifiedCopiesFolder = folder / "private/copies";
        options.limits.timeout = 10s;
        options.frontmostApplication = [] { return std::optional<std::string>("front"); };
        options.wallClock = [] {
            return std::chrono::system_clock::time_point(std::chrono::seconds(1735732800));
        };
        manager.emplace(std::move(options), preferences, &loop);
    }
    /// A package whose executable is the test child.
    std::string childPackage(const std::string& parent, const std::string& id,
                             const std::string& extra = "") {
        return makePackage(parent, id, id, readFile(kChild), extra);
    }
    std::string trusted(const std::string& package) {
        manager->reload();
        auto result = manager->trust(package);
        EXPECT_TRUE(result) << (result ? "" : describe(result.error()));
        return package;
    }
    std::optional<std::string> execute(const std::string& id, const std::string& action,
                                       JSONValue::Object params = {}) {
        return manager
            ->makePluginCommand("Item", {id, action, std::move(params)}, "/c.json", {{id, {{"k", 1}}}})
            ->execute();
    }

    TemporaryFolder folder;
    const std::string bundled = folder / "bundled";
    const std::string user = folder / "home/.config/varnel/plugins";
    MemoryPreferenceStore preferences;
    ManualEventLoop loop;
    std::optional<PluginManager> manager;
};

TEST_F(PluginRunTest, HandsTheRequestToThePluginAndItsAnswerBack) {
    childPackage(bundled, "b");
    trusted(childPackage(user, "u"));
    for (const char* id : {"b", "u"}) {
        PluginExecutionRequest request{
            id, "go", {{"note", "Inbox"}}, {{"vault", true}}, {"/c.json", "front", ""}};
        auto response = manager->runAction(request)();
        ASSERT_TRUE(response) << response.error();
        EXPECT_EQ(response->message, "done");
        request.context.timestamp = "2025-01-01T12:00:00Z";
        EXPECT_EQ(writeCompactJSON(*response->updatedDefaults), *encodeRequest(request));
    }
}

TEST_F(PluginRunTest, TurnsEveryOutcomeIntoOneLine) {
    childPackage(bundled, "b");
    makePackage(user, "untrusted", "untrusted");
    manager->reload();
    const std::string failed = "Failed to execute action: ";
    const struct {
        const char *name, *id, *action;
        std::string mode;
        std::optional<std::string> line;
    } rows[] = {
        {"message", "b", "go", "", "done"},
        {"nothing to say", "b", "go", "text:{'success':true}", {}},
        {"blank message", "b", "go", "text:{'success':true,'message':' '}", {}},
        {"failure", "b", "go", "text:{'success':false,'message':'No vault'}", "No vault"},
        {"failure without words", "b", "go", "text:{'success':false}", failed + "Item"},
        {"warnings", "b", "go", "text:{'success':true,'message':'Done','warnings':['a','b']}", "Done (a; b)"},
        {"warnings alone", "b", "go", "text:{'success':true,'warnings':['a']}", "Item: a"},
        {"several lines and escapes", "b", "go", "text:{'success':true,'message':'a\\u001b[31m\\nb\\u0007'}",
         "a b"},
        {"long", "b", "go", "text:{'success':true,'message':'" + std::string(300, 'x') + "'}",
         std::string(199, 'x') + "…"},
        {"status with words", "b", "go", "exit-1", "something went wrong"},
        {"status without words", "b", "go", "signal-9", "The plugin exited with an error."},
        {"no response", "b", "go", "exit-0", failed + "expected a value"},
        {"response without success", "b", "go", "text:{}",
         failed + "success: expected a boolean, found nothing (line 1, column 1)"},
        {"unknown action", "b", "stop", "", failed + "The capability 'b' has no action 'stop'."},
        {"unknown plugin", "z", "go", "", failed + "No capability has the ID 'z'."},
        {"inactive plugin", "untrusted", "go", "",
         failed + "The capability 'untrusted' cannot run: it is untrusted."},
    };
    for (const auto& row : rows) {
        JSONValue::Object params;
        std::string mode = row.mode;
        for (char& c : mode)
            c = c == '\'' ? '"' : c;
        if (mode.starts_with("text:")) // the child writes what stands in its executable's place
            writeFile(bundled + "/b/run", "#!/bin/sh\ncat <<'END'\n" + mode.substr(5) + "\nEND\n", 0755);
        else {
            std::filesystem::remove(bundled + "/b/run");
            writeFile(bundled + "/b/run", readFile(kChild), 0755);
            if (!mode.empty())
                params["mode"] = mode;
        }
        auto line = execute(row.id, row.action, params);
        if (row.line && row.line->ends_with("expected a value"))
            EXPECT_TRUE(line && line->starts_with(*row.line)) << line.value_or("");
        else
            EXPECT_EQ(line, row.line) << row.name;
    }
    auto late = manager->makePluginCommand("Item", {"b", "go", {}}, "/c.json", {});
    manager.reset();
    EXPECT_EQ(late->execute(), "done") << "a command needs no manager";
}

TEST_F(PluginRunTest, AsksForChoices) {
    childPackage(bundled, "b");
    manager->reload();
    PluginExecutionRequest request{"b", "go", {}, {}, {"/c", std::nullopt, ""}};
    EXPECT_EQ(
        manager->runChoices(request)(),
        (std::vector<PluginChoice>{{"1", "One", "first", "j"}, {"2", "Two", std::nullopt, std::nullopt}}));
    request.params["mode"] = "exit-2";
    EXPECT_EQ(manager->runChoices(request)(), std::unexpected(std::string("something went wrong")));
    request.actionID = "none";
    EXPECT_EQ(manager->runChoices(request)(),
              std::unexpected(std::string("The capability 'b' has no action 'none'.")));
}

TEST_F(PluginRunTest, TellsHooksToThosePluginsThatWantThemInOrder) {
    const std::string both = R"(,"hooks":["appDidLaunch","configDidReload"])";
    childPackage(bundled, "b", R"(,"hooks":["configDidReload"])");
    makePackage(bundled, "a-failing", "a", "#!/bin/sh\necho ' broken\nvery' >&2; exit 1\n", both);
    trusted(childPackage(user, "c", both));
    childPackage(user, "d-untrusted", both);
    childPackage(bundled, "e", "");
    manager->reload();
    ::setenv("VARNEL_TEST_HOOKS", (folder / "hooks").c_str(), 1);
    ImmediateTasks queue;
    RecordingLog log;
    PluginHooks(*manager, queue, log, true).fire(PluginHook::configDidReload, "/c", {});
    EXPECT_EQ(readFile(folder / "hooks"), "") << "none inside a test host";
    PluginHooks hooks(*manager, queue, log);
    hooks.fire(PluginHook::configDidReload, "/c", {{"b", {{"x", 1}}}});
    hooks.fire(PluginHook::appDidLaunch, "/c", {});
    ::unsetenv("VARNEL_TEST_HOOKS");
    const std::string context = R"({"context":{"configPath":"/c","frontmostAppBundleID":"front",)"
                                R"("timestamp":"2025-01-01T12:00:00Z"},"hook":)";
    EXPECT_EQ(readFile(folder / "hooks"),
              context + R"("configDidReload","pluginID":"b","settings":{"x":1}})" + "\n" + context +
                  R"("configDidReload","pluginID":"c","settings":{}})" + "\n" + context +
                  R"("appDidLaunch","pluginID":"c","settings":{}})" + "\n");
    EXPECT_EQ(log.lines, "error Plugins: hook configDidReload of a failed: broken very\n"
                         "error Plugins: hook appDidLaunch of a failed: broken very\n");
}

TEST_F(PluginRunTest, RunsUserPackagesFromAPrivateCopy) {
    const std::string package =
        trusted(makePackage(user, "p", "p",
                            "#!/bin/sh\nprintf '{\"success\":true,\"message\":\"%s %s\"}' \"$0\" \"$(cat "
                            "\"$(dirname \"$0\")/data/text\")\"\n"));
    writeFile(package + "/data/text", "beside");
    trusted(package);
    const std::string hash = *manager->registry()->activePlugin("p")->bundleHash;
    const std::string copies = folder / "private/copies";
    EXPECT_EQ(execute("p", "go"), copies + "/" + hash + "/run beside");
    struct stat info {};
    ASSERT_EQ(::stat(copies.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700u);
    writeFile(copies + "/" + hash + "/added", "x");
    EXPECT_EQ(execute("p", "go"), copies + "/" + hash + "/run beside") << "a damaged copy is made anew";
    EXPECT_FALSE(std::filesystem::exists(copies + "/" + hash + "/added"));
    ASSERT_TRUE(manager->untrust(package));
    EXPECT_FALSE(std::filesystem::exists(copies + "/" + hash));
}

TEST_F(PluginRunTest, ClearsAwayCopiesThatACrashLeftUnfinished) {
    const std::string copies = folder / "private/copies";
    for (const char* name : {".staging-old", ".staging-new"})
        writeFile(copies + "/" + name + "/half", "x");
    using namespace std::chrono_literals;
    std::filesystem::last_write_time(copies + "/.staging-old",
                                     std::filesystem::file_time_type::clock::now() - 2h);
    trusted(childPackage(user, "p"));
    EXPECT_TRUE(execute("p", "go"));
    EXPECT_FALSE(std::filesystem::exists(copies + "/.staging-old"));
    EXPECT_TRUE(std::filesystem::exists(copies + "/.staging-new")) << "another process may be at it";
}

TEST_F(PluginRunTest, WithdrawsTrustWhenARunFindsAnotherContent) {
    const std::string changedFile = trusted(childPackage(user, "changed"));
    const std::string untrustedElsewhere = trusted(childPackage(user, "elsewhere"));
    const std::string twin = trusted(makePackage(user, "twin", "changed"));
    trusted(changedFile);
    EXPECT_EQ(manager->registry()->activePlugin("changed"), nullptr) << "in conflict with its twin";
    ASSERT_TRUE(manager->untrust(twin));
    EXPECT_EQ(execute("changed", "go"), "done");
    writeFile(changedFile + "/run", "#!/bin/sh\ntouch " + (folder / "canary") + "\n", 0755);
    EXPECT_EQ(execute("changed", "go"),
              "Failed to execute action: The package has changed since it was trusted. Changed: run.");
    EXPECT_EQ(manager->registry()->activePlugin("changed"), nullptr);
    int published = 0;
    Subscription subscription = manager->observe([&](const PluginRegistry&) { ++published; });
    loop.runPending();
    EXPECT_EQ(published, 1);
    ASSERT_TRUE(preferences.setValue(kPluginTrustRecordsKey, std::nullopt));
    EXPECT_EQ(execute("elsewhere", "go"), "Failed to execute action: The capability is not trusted.");
    EXPECT_FALSE(std::filesystem::exists(folder / "canary"));
}

TEST_F(PluginRunTest, NoticesAChangeAfterThePackageHasSettled) {
    const std::string script = "#!/bin/sh\necho '{\"success\":true}' #1\n";
    const std::string package = trusted(makePackage(user, "p", "p", script));
    EXPECT_EQ(execute("p", "go"), std::nullopt);
    // From now on files whose times stand still are not read again.
    std::this_thread::sleep_for(std::chrono::milliseconds(2700));
    EXPECT_EQ(execute("p", "go"), std::nullopt);
    EXPECT_EQ(execute("p", "go"), std::nullopt);
    const std::string copy =
        folder / "private/copies/" + *manager->registry()->activePlugin("p")->bundleHash + "/run";
    ::chmod(copy.c_str(), 0700);
    writeFile(copy, "#!/bin/sh\n: >" + (folder / "canary"), 0755);
    EXPECT_EQ(execute("p", "go"), std::nullopt) << "a changed copy is made anew";
    writeFile(package + "/run", "#!/bin/sh\necho '{\"success\":true}' #2\n", 0755);
    EXPECT_EQ(execute("p", "go"),
              "Failed to execute action: The package has changed since it was trusted. Changed: run.");
    EXPECT_FALSE(std::filesystem::exists(folder / "canary"));
}

TEST_F(PluginRunTest, RefusesAPrivateFolderThatIsNotPrivate) {
    trusted(childPackage(user, "p"));
    std::filesystem::create_directories(folder / "private");
    std::filesystem::create_directory_symlink(folder / "home", folder / "private/copies");
    EXPECT_EQ(execute("p", "go"),
              "Failed to execute action: Could not prepare the private copy of the capability: "
              "Not a directory");
    std::filesystem::remove(folder / "private/copies");
    std::filesystem::create_directory(folder / "private/copies");
    ::chmod((folder / "private/copies").c_str(), 0777);
    EXPECT_EQ(execute("p", "go"), "done");
    struct stat info {};
    ::stat((folder / "private/copies").c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
}

TEST_F(PluginRunTest, NeverRunsBytesThatWereSwappedIn) {
    // The good executable answers; the bad one leaves a canary. A second thread swaps them all the time: by
    // renaming over, by writing in place, and by exchanging the whole package.
    const std::string good = "#!/bin/sh\necho '{\"success\":true}' #" + std::string(3000, 'g') + "\n";
    const std::string canary = folder / "canary";
    const std::string bad = "#!/bin/sh\n: >" + canary + "; echo '{\"success\":true}'\n";
    const std::string package = trusted(makePackage(user, "p", "p", good));
    std::atomic<bool> isDone = false;
    std::thread racer([&] {
        for (int i = 0; !isDone; ++i) {
            const std::string& content = i % 2 == 0 ? bad : good;
            if (i % 6 < 4) {
                writeFile(folder / "next", content, 0755);
                std::filesystem::rename(folder / "next", package + "/run");
            } else {
                writeFile(package + "/run", content, 0755);
            }
            // Leaves the good one standing for a moment, so that runs do get through.
            std::this_thread::sleep_for(i % 2 == 0 ? std::chrono::microseconds(100)
                                                   : std::chrono::microseconds(4000));
        }
    });
    int ran = 0, refused = 0;
    for (int i = 0; i < 2000; ++i) {
        if (!manager->registry()->activePlugin("p"))
            manager->reload();
        (execute("p", "go") ? refused : ran)++;
    }
    isDone = true;
    racer.join();
    EXPECT_FALSE(std::filesystem::exists(canary));
    EXPECT_GT(ran, 20);
    EXPECT_GT(refused, 20);
    RecordProperty("ran", ran);
    RecordProperty("refused", refused);
    std::filesystem::remove(package + "/run");
    writeFile(package + "/run", good, 0755);
    manager->reload();
    EXPECT_EQ(execute("p", "go"), std::nullopt);
}

TEST_F(PluginRunTest, NeverStartsAnExecutableThatASwappedManifestNames) {
    // The manifest is read before the package is hashed: another one in between must not choose what runs.
    const std::string package = user + "/p";
    writeFile(package + "/other", "#!/bin/sh\n: >" + (folder / "canary") + "\n", 0755);
    trusted(makePackage(user, "p", "p", readFile(kChild)));
    const std::string good = readFile(package + "/plugin.json");
    const std::string bad = manifestText("p", "", "other");
    ASSERT_NE(good, bad);
    std::atomic<bool> isDone = false;
    std::thread racer([&] {
        for (int i = 0; !isDone; ++i) {
            writeFile(folder / "next", i % 2 == 0 ? bad : good);
            std::filesystem::rename(folder / "next", package + "/plugin.json");
        }
    });
    for (int i = 0; i < 300; ++i) {
        manager->reload();
        execute("p", "go");
    }
    isDone = true;
    racer.join();
    EXPECT_FALSE(std::filesystem::exists(folder / "canary"));
}

} // namespace
} // namespace varnel
