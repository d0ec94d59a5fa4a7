#include "config/ConfigManager.h"

#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "config/LocalConfigStorageProvider.h"
#include "tests/config/ConfigTestSupport.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using namespace test;
namespace fs = std::filesystem;

class ConfigManagerTest : public testing::Test {
protected:
    void start(bool isTestHost = false) {
        manager.reset();
        auto provider =
            LocalConfigStorageProvider::locate({files, preferences, home.path(), temporary.path()});
        manager = std::make_unique<ConfigManager>(
            ConfigManager::Environment{
                .fileManager = files,
                .loop = loop,
                .fileEvents = &events,
                .defaultConfigURL = standard,
                .isTestHost = isTestHost,
                .printLine = [this](std::string_view line) { lines.emplace_back(line); },
                .configDidReload =
                    [this](const std::string& path, const PluginSettings& settings) {
                        hooks.push_back(path + " " + std::to_string(settings.size()));
                    },
                .startProgram = [this](const std::vector<std::string>& argv) { started = argv; }},
            std::move(*provider));
        observation = manager->observe([this](const ConfigChange& change) {
            if (change.loadError)
                return void(changes += 'e');
            changes += change.rootItems ? 'i' : '-';
            changes += change.pluginSettings ? 's' : '-';
            changes += change.currentConfigPath ? 'p' : '-';
        });
    }
    void startWith(const std::string& text) {
        fs::create_directories(folder);
        writeText(standard, text);
        start();
        lines.clear();
        hooks.clear();
    }
    void raise(const std::string& path, FileEvent event = FileEvent::write) {
        events.raise(path, event);
        loop.runPending();
    }
    [[nodiscard]] std::string firstName() const {
        return manager->rootItems().empty() ? "-" : manager->rootItems()[0].name;
    }
    static std::vector<ConfigItem> itemsNamed(const std::string& name) {
        return decodeDocument(documentNamed(name))->items;
    }

    TemporaryFolder home, temporary;
    const std::string folder = home / ".config/varnel";
    const std::string standard = folder + "/config.json";
    FaultyFileSystem files;
    MemoryPreferenceStore preferences;
    ManualEventLoop loop;
    ScriptedFileEvents events;
    std::vector<std::string> lines, hooks, started;
    std::string changes;
    std::unique_ptr<ConfigManager> manager;
    Subscription observation;
};

TEST_F(ConfigManagerTest, WritesTheDefaultOnAFirstStart) {
    start();
    EXPECT_EQ(lines, std::vector<std::string>{"Config file not found at " + standard + ", creating default"});
    EXPECT_EQ(manager->rootItems().size(), 6u);
    EXPECT_EQ(manager->currentConfigPath(), standard);
    EXPECT_EQ(readText(standard), readText(standard + ".bak"));
    EXPECT_EQ(decodeDocument(readText(standard))->items, manager->rootItems());
    EXPECT_EQ(events.watched(), (std::vector<std::string>{folder, standard}));
    loop.advance(2s);
    EXPECT_EQ(hooks, std::vector<std::string>{standard + " 0"});
}

TEST_F(ConfigManagerTest, LoadsAtStartAndTellsTheHook) {
    fs::create_directories(folder);
    writeText(standard, "[]");
    start();
    EXPECT_EQ(lines, std::vector<std::string>{"Loaded 0 root items from config"});
    EXPECT_EQ(hooks, std::vector<std::string>{standard + " 0"});
}

TEST_F(ConfigManagerTest, NeitherWatchesNorRunsHooksUnderTheTestHarness) {
    start(true);
    EXPECT_FALSE(manager->fileMonitoringEnabled());
    EXPECT_FALSE(manager->save(itemsNamed("A"), {}));
    manager->reloadNow();
    loop.advance(5s);
    EXPECT_TRUE(events.watched().empty());
    EXPECT_TRUE(hooks.empty());
    const char* const host[] = {"A=B", "XCTestConfigurationFilePath=", nullptr};
    EXPECT_TRUE(runsUnderTestHarness(host));
    EXPECT_FALSE(runsUnderTestHarness(host + 2));
}

TEST_F(ConfigManagerTest, ReloadsOnceWhenTheFileHasComeToRest) {
    startWith(documentNamed("A"));
    for (const char* name : {"B", "C", "D"}) {
        writeText(standard, documentNamed(name));
        raise(standard);
        raise(folder);
        loop.advance(499ms);
    }
    EXPECT_EQ(firstName(), "A");
    loop.advance(1ms);
    EXPECT_EQ(firstName(), "D");
    loop.advance(5s);
    EXPECT_EQ(lines, std::vector<std::string>{"Loaded 1 root items from config"});
    EXPECT_EQ(hooks.size(), 1u);
    EXPECT_EQ(changes, "i--");
}

TEST_F(ConfigManagerTest, SaysNothingAboutBytesThatWereAnnounced) {
    startWith(documentNamed("A"));
    writeText(folder + "/neighbour", "x");
    raise(folder);
    loop.advance(1s);
    manager->reloadNow();
    manager->load(false);
    EXPECT_TRUE(lines.empty() && hooks.empty() && changes.empty());
    writeText(standard, documentNamed("A") + "\n");
    manager->reloadNow();
    EXPECT_EQ(hooks.size(), 1u);
    EXPECT_EQ(changes, ""); // the same items: nobody's open sequence is disturbed
}

TEST_F(ConfigManagerTest, TellsTheHookOnceAfterASave) {
    startWith(documentNamed("A"));
    for (const char* name : {"B", "B"}) { // the second one writes the same bytes again
        hooks.clear();
        EXPECT_FALSE(manager->save(itemsNamed(name), {{"p", {{"k", 1}}}}));
        EXPECT_EQ(firstName(), "B");
        EXPECT_TRUE(hooks.empty());
        raise(standard);
        loop.advance(5s);
        EXPECT_EQ(hooks, std::vector<std::string>{standard + " 1"});
    }
    EXPECT_EQ(changes, "is-");
}

TEST_F(ConfigManagerTest, KeepsTheItemsWhileTheFileIsBrokenOrGone) {
    startWith(documentNamed("A"));
    writeText(standard, "{\"items\":3}");
    manager->reloadNow();
    EXPECT_EQ(lines.back(),
              "Error loading config: items: expected an array of items, found a number (line 1, "
              "column 10); nor is it a bare list of items: expected an array of items, found an "
              "object (line 1, column 1)");
    EXPECT_TRUE(manager->loadError());
    fs::remove(standard);
    raise(standard, FileEvent::remove);
    loop.advance(1s);
    manager->load(false);
    EXPECT_EQ(std::ranges::count(lines, "Config file not found at " + standard + ", waiting for replacement"),
              1);
    EXPECT_EQ(firstName(), "A");
    EXPECT_EQ(describe(*manager->loadError()), "Config file not found at " + standard);
    EXPECT_EQ(events.watched(), std::vector<std::string>{folder});
    writeText(standard, documentNamed("A"));
    raise(folder);
    loop.advance(1s);
    EXPECT_FALSE(manager->loadError());
    EXPECT_EQ(changes, "eee");  // observers hear of each error, and that there is none any more
    EXPECT_TRUE(hooks.empty()); // the bytes that were announced before
    EXPECT_EQ(events.watched(), (std::vector<std::string>{folder, standard}));
}

TEST_F(ConfigManagerTest, WaitsForAVanishedFolderThroughItsNearestParent) {
    startWith(documentNamed("A"));
    fs::remove_all(home / ".config");
    raise(folder, FileEvent::remove);
    loop.advance(1s);
    EXPECT_EQ(events.watched(), std::vector<std::string>{home.path()});
    lines.clear();
    writeText(home / "unrelated", "");
    raise(home.path());
    EXPECT_FALSE(loop.nextDeadline());
    fs::create_directories(home / ".config");
    raise(home.path());
    loop.advance(1s);
    EXPECT_EQ(events.watched(), std::vector<std::string>{home / ".config"});
    fs::create_directories(folder);
    writeText(standard, documentNamed("B"));
    raise(home / ".config");
    loop.advance(1s);
    EXPECT_EQ(firstName(), "B");
    EXPECT_EQ(events.watched(), (std::vector<std::string>{folder, standard}));
}

TEST_F(ConfigManagerTest, WatchesTheFoldersOfAllLinksOnTheWay) {
    fs::create_directories(home / "dot/varnel");
    fs::create_directories(home / ".config");
    fs::create_symlink("../dot/varnel", folder);
    writeText(home / "real.json", "[]");
    fs::create_symlink("../../real.json", standard);
    start();
    EXPECT_EQ(events.watched(),
              (std::vector<std::string>{home / ".config", folder, folder + "/../..", standard}));
}

TEST_F(ConfigManagerTest, ChangesNothingWhenASaveFails) {
    startWith(documentNamed("A"));
    manager->documentEncoder = [](const auto&, const auto&) {
        return std::unexpected(ConfigEncodingError{"no"});
    };
    const auto refused = manager->save({}, {});
    ASSERT_TRUE(refused);
    EXPECT_EQ(lines, std::vector<std::string>{"Error saving config: no"});
    manager->documentEncoder = nullptr;
    fs::remove(standard);
    fs::create_directory(standard);
    EXPECT_TRUE(manager->updatePluginSettings("p", {}));
    EXPECT_EQ(firstName(), "A");
    EXPECT_TRUE(manager->pluginSettings().empty());
    EXPECT_TRUE(changes.empty());
}

TEST_F(ConfigManagerTest, ReplacesTheSettingsOfOnePlugin) {
    startWith(R"({"items":[],"pluginSettings":{"a":{"x":1},"b":{}}})");
    EXPECT_FALSE(manager->updatePluginSettings("a", {{"y", 2}}));
    EXPECT_EQ(decodeDocument(readText(standard))->pluginSettings,
              (PluginSettings{{"a", {{"y", 2}}}, {"b", {}}}));
    EXPECT_EQ(changes, "-s-");
}

TEST_F(ConfigManagerTest, NeverReplacesAFileThatWasNotReadWithoutTheUsersWord) {
    startWith("precious but malformed");
    const auto refused = manager->save(itemsNamed("A"), {});
    ASSERT_TRUE(refused);
    EXPECT_TRUE(std::holds_alternative<UnreadConfigError>(*refused));
    EXPECT_EQ(readText(standard), "precious but malformed");
    EXPECT_FALSE(manager->save(itemsNamed("A"), {}, UnreadFile::replace));
    EXPECT_EQ(readText(standard + ".bak"), "precious but malformed");
    EXPECT_FALSE(manager->save(itemsNamed("B"), {}));

    startWith("malformed");
    writeText(standard, "[]"); // repaired
    manager->reloadNow();
    EXPECT_FALSE(manager->save(itemsNamed("A"), {}));
}

TEST_F(ConfigManagerTest, OpensAnotherFileAndRemembersIt) {
    startWith(documentNamed("A"));
    const std::string other = home / "other.json";
    writeText(other, documentNamed("B"));
    manager->scheduleReload();
    EXPECT_FALSE(manager->openConfig(other));
    EXPECT_EQ(firstName(), "B");
    EXPECT_EQ(manager->currentConfigPath(), other);
    EXPECT_EQ(stringPreference(preferences, kCustomConfigPath), other);
    EXPECT_EQ(events.watched(), (std::vector<std::string>{home.path(), other}));
    EXPECT_EQ(hooks, std::vector<std::string>{other + " 0"});
    EXPECT_EQ(changes, "i-p");
    EXPECT_FALSE(loop.nextDeadline());
    manager->openInEditor();
    EXPECT_EQ(started, (std::vector<std::string>{"xdg-open", other}));
}

TEST_F(ConfigManagerTest, StaysWithTheActiveFileWhenAnotherCannotBeOpened) {
    startWith(documentNamed("A"));
    const std::string bad = home / "bad.json";
    const auto missing = manager->openConfig(bad);
    ASSERT_TRUE(missing);
    EXPECT_EQ(*missing,
              ConfigError(ConfigStorageProviderError{ConfigStorageProviderError::Kind::fileNotFound, bad}));
    EXPECT_EQ(lines.back(), "Failed to open config: Config file not found at " + bad);
    writeText(bad, "{");
    const auto invalid = manager->openConfig(bad);
    ASSERT_TRUE(invalid);
    EXPECT_EQ(describe(*invalid), "The selected file is not a valid Varnel! configuration: " + bad);
    EXPECT_NE(failureReason(std::get<ConfigFileSelectionError>(*invalid)).find("line 1"), std::string::npos);
    EXPECT_TRUE(manager->openConfig(home.path()));
    EXPECT_TRUE(manager->createConfig(bad));
    EXPECT_EQ(lines.back(), "Failed to create config: A file already exists at " + bad +
                                ". Open it instead of creating it.");
    EXPECT_EQ(manager->currentConfigPath(), standard);
    EXPECT_EQ(firstName(), "A");
    EXPECT_EQ(events.watched(), (std::vector<std::string>{folder, standard}));
    EXPECT_TRUE(hooks.empty() && changes.empty());
}

TEST_F(ConfigManagerTest, CreatesAnEmptyDefaultAfterItWasDeleted) {
    startWith(documentNamed("A"));
    EXPECT_FALSE(manager->createConfig(home / "new/fresh.json"));
    EXPECT_TRUE(manager->rootItems().empty());
    EXPECT_EQ(manager->currentConfigPath(), home / "new/fresh.json");
    EXPECT_FALSE(manager->useDefaultConfig());
    EXPECT_EQ(firstName(), "A");
    fs::remove_all(folder);
    EXPECT_FALSE(manager->useDefaultConfig());
    EXPECT_EQ(readText(standard), *encodeDocument({}, {}));
    EXPECT_EQ(manager->currentConfigPath(), standard);
}

TEST_F(ConfigManagerTest, LetsObserversLeaveAndSaveWhileTheyAreCalled) {
    startWith(documentNamed("A"));
    int first = 0, second = 0;
    Subscription leaving, never;
    leaving = manager->observe([&](const ConfigChange&) {
        leaving.reset();
        never.reset();
        ++first;
        (void)manager->save(itemsNamed("C"), {});
    });
    never = manager->observe([&](const ConfigChange&) { ++second; });
    (void)manager->save(itemsNamed("B"), {});
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
    EXPECT_EQ(firstName(), "C");
}

TEST_F(ConfigManagerTest, ClearsAwayWhatAKilledSaveHasLeft) {
    fs::create_directories(folder);
    const std::string uuid = "6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C";
    for (const std::string& stray : {".config.json." + uuid + ".tmp", ".config.json.bak." + uuid + ".tmp"})
        writeText(folder + "/" + stray, "x");
    writeText(folder + "/.config.json.notes.tmp", "mine");
    startWith("[]");
    EXPECT_EQ(namesIn(folder), (std::vector<std::string>{".config.json.notes.tmp", "config.json"}));
}

} // namespace
} // namespace varnel
