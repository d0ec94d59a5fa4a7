#include "plugins/PluginManager.h"

#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "plugins/PluginPackageHash.h"
#include "plugins/PluginTrust.h"
#include "tests/plugins/TestPackages.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace varnel {
namespace {

using testing::makePackage;
using testing::manifestText;
using testing::TemporaryFolder;
using testing::writeFile;
using StatusKind = PluginStatus::Kind;

/// Keeps tasks until they are run.
class StoredTasks : public SerialExecutor {
public:
    void submit(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    std::vector<std::function<void()>> tasks;
};

class PluginManagerTest : public ::testing::Test {
protected:
    PluginManagerTest() {
        std::filesystem::create_directory(bundled);
        manager.emplace(options(), preferences, &loop);
    }
    PluginManagerOptions options() {
        PluginManagerOptions options;
        options.bundledPluginsURL = bundled;
        options.homeFolder = folder / "home";
        options.verifiedCopiesFolder = folder / "copies";
        return options;
    }
    const PluginDescriptor& descriptor(const std::string& id) {
        for (const auto& found : manager->registry()->descriptors)
            if (found->manifest.id == id)
                return *found;
        static const PluginDescriptor none{.manifest = {.id = "NONE"}};
        return none;
    }
    /// "id status" of every package, in order.
    std::string statuses() {
        std::string text;
        for (const auto& found : manager->registry()->descriptors)
            text += found->manifest.id + " " + std::string(name(found->status.kind)) + "\n";
        return text;
    }

    TemporaryFolder folder;
    const std::string bundled = folder / "bundled";
    const std::string user = folder / "home/.config/varnel/plugins";
    MemoryPreferenceStore preferences;
    ManualEventLoop loop;
    std::optional<PluginManager> manager;
};

TEST_F(PluginManagerTest, FindsPackagesInTheOrderOfTheirNames) {
    makePackage(bundled, "b", "core.shell");
    makePackage(bundled, "a", "core.window");
    makePackage(user, "B", "one");
    makePackage(user, "a", "two");
    writeFile(user + "/tool.plugin.json", manifestText("single", "", "a/run"));
    writeFile(user + "/no-manifest/readme", "");
    writeFile(user + "/readme.txt", "");
    manager->reload();
    EXPECT_EQ(statuses(),
              "core.window active\ncore.shell active\none untrusted\ntwo untrusted\nsingle untrusted\n");
    const PluginDescriptor& shell = descriptor("core.shell");
    EXPECT_EQ(shell.pluginURL, bundled + "/b");
    EXPECT_EQ(shell.manifestURL, bundled + "/b/plugin.json");
    EXPECT_EQ(shell.executableURL, bundled + "/b/run");
    EXPECT_EQ(shell.bundleHash, *hashPluginPackage(bundled + "/b"));
    EXPECT_TRUE(shell.isTrusted);
    EXPECT_EQ(manager->registry()->activePlugin("core.shell"), &shell);
    EXPECT_EQ(manager->registry()->activePlugin("one"), nullptr);
    EXPECT_EQ(descriptor("one").status.message, std::nullopt);
    EXPECT_EQ(descriptor("single").status.message,
              "User plugins must be installed in a directory containing plugin.json.");
    EXPECT_EQ(descriptor("single").bundleHash, std::nullopt);
}

TEST_F(PluginManagerTest, KeepsABadPackageToItself) {
    makePackage(user, "00-good", "good");
    makePackage(user, "99-good", "good too");
    std::filesystem::create_directories(user + "/fifo");
    ::mkfifo((user + "/fifo/plugin.json").c_str(), 0600);
    ::mkfifo((user + "/x.plugin.json").c_str(), 0600);
    writeFile(user + "/broken/plugin.json", "{\n}");
    writeFile(user + "/folder/plugin.json/x", "");
    makePackage(user, "linked", "linked");
    std::filesystem::create_symlink("run", user + "/linked/other");
    makePackage(user, "link-target", "never seen");
    std::filesystem::rename(user + "/link-target", folder / "elsewhere");
    std::filesystem::create_directory_symlink(folder / "elsewhere", user + "/package-link");
    std::filesystem::create_directories(user + "/manifest-link");
    std::filesystem::create_symlink("../00-good/plugin.json", user + "/manifest-link/plugin.json");
    makePackage(user, "name\xff", "bad name");
    makePackage(user, "inner", "inner bad name");
    writeFile(user + "/inner/n\xfe", "");
    makePackage(user, "open", "open to all");
    ::chmod((user + "/open/run").c_str(), 0757);
    makePackage(user, "sparse", "sparse");
    std::filesystem::resize_file(user + "/sparse/run", std::uint64_t{1} << 40);
    writeFile(user + "/huge/plugin.json", "");
    std::filesystem::resize_file(user + "/huge/plugin.json", std::uint64_t{1} << 40);
    manager->reload();
    EXPECT_EQ(statuses(),
              "good untrusted\ngood too untrusted\nbroken invalid\nfifo invalid\nfolder invalid\n"
              "huge invalid\ninner bad name invalid\nlinked invalid\nmanifest-link invalid\n"
              "name\\xff invalid\nopen to all invalid\nnever seen invalid\nsparse invalid\nx invalid\n");
    const struct {
        const char* id;
        std::string message;
    } rows[] = {
        {"fifo", "Plugin package contains an unsupported item: " + user + "/fifo/plugin.json"},
        {"x", "Plugin package contains an unsupported item: " + user + "/x.plugin.json"},
        {"broken", "id: expected a string, found nothing (line 1, column 1)"},
        {"linked", "Plugin package contains a symbolic link: " + user + "/linked/other"},
        {"never seen", "Plugin package contains a symbolic link: " + user + "/package-link"},
        {"manifest-link", "Plugin package contains a symbolic link: " + user + "/manifest-link/plugin.json"},
        {"name\\xff", "Plugin package contains a file name that is not UTF-8: " + user + "/name\\xff"},
        {"inner bad name",
         "Plugin package contains a file name that is not UTF-8: " + user + "/inner/n\\xfe"},
        {"open to all", "Plugin package contains a file that everybody can write to: " + user + "/open/run"},
        {"sparse", "Plugin package is too large: " + user + "/sparse"},
        {"huge", "Plugin package is too large: " + user + "/huge/plugin.json"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(descriptor(row.id).status.message, row.message);
        EXPECT_EQ(manager->trust(descriptor(row.id).pluginURL).error().kind, PluginTrustError::Kind::invalid);
    }
}

TEST_F(PluginManagerTest, JoinsEveryMessageOfAnInvalidPackage) {
    writeFile(user + "/p/plugin.json", manifestText(" ", "", "../x"));
    std::filesystem::create_symlink("/etc", user + "/p/link");
    manager->reload();
    EXPECT_EQ(descriptor(" ").status,
              (PluginStatus{StatusKind::invalid, "The manifest must include a non-empty ID.\n"
                                                 "The executable does not exist.\n"
                                                 "The executable must be inside the capability package.\n"
                                                 "Plugin package contains a symbolic link: " +
                                                     user + "/p/link"}));
}

TEST_F(PluginManagerTest, TakesOverTheEarlierFolderOnce) {
    makePackage(folder / "home/.config/corvid/plugins", "p", "moved");
    manager->reload();
    EXPECT_EQ(descriptor("moved").pluginURL, user + "/p");
    EXPECT_FALSE(std::filesystem::exists(folder / "home/.config/corvid/plugins"));
    makePackage(folder / "home/.config/corvid/plugins", "q", "left alone");
    manager->reload();
    EXPECT_EQ(statuses(), "moved untrusted\n");
}

TEST_F(PluginManagerTest, MakesTheUserFolder) {
    manager->reload();
    EXPECT_TRUE(std::filesystem::is_directory(user));
    PluginManagerOptions hopeless = options();
    hopeless.userPluginsURL = "/proc/none/plugins";
    PluginManager other(hopeless, preferences, nullptr);
    other.reload();
    EXPECT_TRUE(other.registry()->descriptors.empty());
}

TEST_F(PluginManagerTest, TrustsExactlyTheContentThatWasTrusted) {
    const std::string package = makePackage(user, "p", "mine");
    manager->reload();
    ASSERT_TRUE(manager->trust(package));
    EXPECT_EQ(descriptor("mine").status.kind, StatusKind::active);
    EXPECT_TRUE(descriptor("mine").isTrusted);
    const JSONValue record = preferences.value("pluginTrustRecords")->array()->at(0);
    EXPECT_EQ(record, JSONValue(JSONValue::Object{{"pluginID", "mine"},
                                                  {"path", package},
                                                  {"version", "1.0"},
                                                  {"bundleHash", *hashPluginPackage(package)}}));
    const std::string changed = "The package has changed since it was trusted. ";
    const struct {
        const char* name;
        std::function<void()> change;
        StatusKind status;
        std::optional<std::string> message;
    } rows[] = {
        {"an empty folder",
         [&] { std::filesystem::create_directory(package + "/d"); },
         StatusKind::active,
         {}},
        {"a hidden file", [&] { writeFile(package + "/.desk", ""); }, StatusKind::untrusted,
         changed + "Added: .desk."},
        {"put back", [&] { std::filesystem::remove(package + "/.desk"); }, StatusKind::active, {}},
        {"renamed",
         [&] { std::filesystem::rename(package + "/plugin.json", package + "/x.json"); },
         {},
         "skipped"},
        {"renamed back",
         [&] { std::filesystem::rename(package + "/x.json", package + "/plugin.json"); },
         StatusKind::active,
         {}},
        {"version", [&] { writeFile(package + "/plugin.json", manifestText("mine", R"(,"version":"2")")); },
         StatusKind::untrusted, changed + "Changed: plugin.json."},
        {"executable too", [&] { writeFile(package + "/run", "#!/bin/false\n", 0755); },
         StatusKind::untrusted, changed + "Changed: plugin.json, run."},
        {"moved", [&] { std::filesystem::rename(package, user + "/q"); }, StatusKind::untrusted, {}},
    };
    for (const auto& row : rows) {
        row.change();
        manager->reload();
        if (row.message == "skipped") {
            EXPECT_EQ(statuses(), "") << "a folder without plugin.json is no package";
            continue;
        }
        EXPECT_EQ(descriptor("mine").status, (PluginStatus{row.status, row.message})) << row.name;
        EXPECT_EQ(descriptor("mine").isTrusted, row.status == StatusKind::active) << row.name;
    }
}

TEST_F(PluginManagerTest, ChecksEveryMemberOfTheTrustRecord) {
    const std::string package = makePackage(user, "p", "mine");
    const std::string hash = *hashPluginPackage(package);
    using Object = JSONValue::Object;
    const Object good{{"pluginID", "mine"}, {"path", package}, {"version", "1.0"}, {"bundleHash", hash}};
    auto with = [&](const char* key, JSONValue value) {
        Object changed = good;
        changed[key] = std::move(value);
        return JSONValue(JSONValue::Array{changed});
    };
    const struct {
        const char* name;
        std::optional<JSONValue> records;
        bool isTrusted;
    } rows[] = {
        {"good", JSONValue(JSONValue::Array{1, Object{}, good}), true},
        {"as text", JSONValue(writeCompactJSON(JSONValue::Array{good})), true},
        {"none", std::nullopt, false},
        {"unreadable", JSONValue("nonsense"), false},
        {"other ID", with("pluginID", "other"), false},
        {"other path", with("path", package + "/"), false},
        {"other version", with("version", "1"), false},
        {"other hash", with("bundleHash", std::string(64, '0')), false},
        {"no hash", with("bundleHash", nullptr), false},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(preferences.setValue(kPluginTrustRecordsKey, row.records));
        manager->reload();
        EXPECT_EQ(descriptor("mine").isTrusted, row.isTrusted) << row.name;
    }
}

TEST_F(PluginManagerTest, RefusesToTrustWhatMustNotBe) {
    using Kind = PluginTrustError::Kind;
    makePackage(bundled, "b", "bundled");
    const std::string builtIn = makePackage(user, "shell", "core.shell");
    const std::string changing = makePackage(user, "changing", "changing");
    writeFile(user + "/s.plugin.json", manifestText("single", "", "shell/run"));
    manager->reload();
    EXPECT_EQ(manager->trust("/nowhere").error().kind, Kind::unknownPackage);
    EXPECT_EQ(manager->trust(bundled + "/b").error().kind, Kind::bundled);
    EXPECT_EQ(manager->untrust(bundled + "/b").error().kind, Kind::bundled);
    EXPECT_EQ(manager->trust(user + "/s.plugin.json").error().kind, Kind::singleFile);
    EXPECT_EQ(manager->trust(builtIn).error().kind, Kind::takesBuiltInID);
    EXPECT_TRUE(manager->trust(builtIn, BuiltInIDs::mayBeTaken));
    EXPECT_EQ(descriptor("core.shell").status.kind, StatusKind::active);
    writeFile(changing + "/run", "another", 0755);
    EXPECT_FALSE(manager->trust(changing)) << "not what the user has seen";
    EXPECT_TRUE(manager->trust(changing)) << "published since";
}

TEST_F(PluginManagerTest, LetsOneOfSeveralWithTheSameIDRun) {
    const std::string mine = makePackage(user, "mine", "same");
    makePackage(user, "broken", "same", "", R"(,"name":"")");
    const std::string theirs = makePackage(bundled, "theirs", "same");
    auto statusOf = [&](const std::string& package) {
        for (const auto& found : manager->registry()->descriptors)
            if (found->pluginURL == package)
                return found->status;
        return PluginStatus{StatusKind::shadowed, "not found"};
    };
    manager->reload();
    EXPECT_EQ(manager->registry()->activePlugin("same")->pluginURL, theirs);
    EXPECT_EQ(statusOf(mine).kind, StatusKind::untrusted);
    ASSERT_TRUE(manager->trust(mine));
    const PluginStatus conflict{StatusKind::conflict, "More than one trusted capability shares the same ID."};
    EXPECT_EQ(statusOf(mine), conflict);
    EXPECT_EQ(statusOf(theirs), conflict);
    EXPECT_EQ(statusOf(user + "/broken").kind, StatusKind::invalid);
    EXPECT_EQ(manager->registry()->activePlugin("same"), nullptr);
    ASSERT_TRUE(manager->setEnabled(theirs, false));
    EXPECT_EQ(manager->registry()->activePlugin("same")->pluginURL, mine);
    EXPECT_EQ(statusOf(theirs), (PluginStatus{StatusKind::disabled, std::nullopt}));
    EXPECT_EQ(*preferences.value("pluginDisabledKeys"), JSONValue(JSONValue::Array{"same::" + theirs}));
    ASSERT_TRUE(manager->setEnabled(theirs, true));
    ASSERT_TRUE(manager->untrust(mine));
    EXPECT_EQ(manager->registry()->activePlugin("same")->pluginURL, theirs);
    EXPECT_EQ(*preferences.value("pluginTrustRecords"), JSONValue(JSONValue::Array{}));
}

TEST_F(PluginManagerTest, PublishesToItsObservers) {
    std::vector<std::size_t> seen;
    Subscription second;
    Subscription first = manager->observe([&](const PluginRegistry& registry) {
        seen.push_back(registry.descriptors.size());
        second.reset();
    });
    second = manager->observe([&](const PluginRegistry&) { FAIL() << "ended by the first"; });
    makePackage(user, "p", "p");
    manager->reload();
    first.reset();
    manager->reload();
    EXPECT_EQ(seen, std::vector<std::size_t>{1});
}

TEST_F(PluginManagerTest, ScansInTheBackgroundAndDropsOvertakenScans) {
    StoredTasks worker;
    int published = 0;
    Subscription subscription = manager->observe([&](const PluginRegistry&) { ++published; });
    manager->reloadInBackground(worker);
    worker.tasks[0]();
    EXPECT_EQ(published, 0) << "published by the loop only";
    loop.runPending();
    EXPECT_EQ(published, 1);
    manager->reloadInBackground(worker);
    worker.tasks[1]();
    makePackage(user, "p", "p");
    manager->reload();
    loop.runPending();
    EXPECT_EQ(published, 2);
    EXPECT_EQ(statuses(), "p untrusted\n");
    manager->reloadInBackground(worker);
    manager.reset();
    worker.tasks[2]();
    loop.runPending();
    EXPECT_EQ(published, 2) << "nobody is left to publish";
}

TEST_F(PluginManagerTest, TrustsInTheBackgroundWhatWasSeen) {
    StoredTasks worker;
    std::string told;
    const auto done = [&](const std::expected<void, PluginTrustError>& result) {
        told += (result ? "done" : "refused") + std::string(", ") + statuses();
    };
    /// Lets worker and loop do all that is left.
    const auto settle = [&] {
        loop.runPending();
        while (!worker.tasks.empty()) {
            const auto task = std::move(worker.tasks.front());
            worker.tasks.erase(worker.tasks.begin());
            task();
            loop.runPending();
        }
        return std::exchange(told, {});
    };
    const std::string package = makePackage(user, "p", "p");
    manager->reload();
    manager->trustInBackground(worker, package, BuiltInIDs::refuse, done);
    EXPECT_EQ(statuses(), "p untrusted\n") << "nothing is read here";
    EXPECT_EQ(settle(), "done, p active\n");
    manager->setEnabledInBackground(worker, package, false, done);
    EXPECT_EQ(settle(), "done, p disabled\n");
    manager->untrustInBackground(worker, package, done);
    EXPECT_EQ(settle(), "done, p untrusted\n");
    manager->trustInBackground(worker, package, BuiltInIDs::refuse, done);
    writeFile(package + "/run", "another", 0755);
    EXPECT_EQ(settle(), "refused, p untrusted\n");
    manager->trustInBackground(worker, "/nowhere", BuiltInIDs::refuse, done);
    EXPECT_EQ(told, "");
    EXPECT_EQ(settle(), "refused, p untrusted\n");
    manager->trustInBackground(worker, package, BuiltInIDs::refuse, done);
    manager.reset();
    EXPECT_EQ(settle(), "");
}

} // namespace
} // namespace varnel
