#include "config/LocalConfigStorageProvider.h"

#include "base/MemoryPreferenceStore.h"
#include "tests/config/ConfigTestSupport.h"

#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

namespace varnel {
namespace {

using namespace test;
namespace fs = std::filesystem;

class LocalConfigStorageProviderTest : public testing::Test {
protected:
    std::unique_ptr<LocalConfigStorageProvider>
    locate(std::optional<std::string> explicitURL = std::nullopt) {
        auto provider = LocalConfigStorageProvider::locate(
            {files, preferences, home.path(), temporary.path()}, std::move(explicitURL));
        EXPECT_TRUE(provider);
        return provider ? std::move(*provider) : nullptr;
    }
    [[nodiscard]] std::string chosen() const {
        return stringPreference(preferences, kCustomConfigPath).value_or("-");
    }

    TemporaryFolder home, temporary;
    FaultyFileSystem files;
    MemoryPreferenceStore preferences;
    const std::string standard = home / ".config/varnel/config.json";
    const std::string earlier = home / ".config/corvid/config.json";
};

TEST_F(LocalConfigStorageProviderTest, MakesTheFolderOfTheDefaultLocation) {
    EXPECT_EQ(locate()->configURL(), standard);
    EXPECT_TRUE(fs::is_directory(home / ".config/varnel"));
    EXPECT_EQ(chosen(), "-");
}

TEST_F(LocalConfigStorageProviderTest, PrefersTheGivenFileThenTheChosenOneThatExists) {
    const std::string custom = home / "custom.json";
    (void)preferences.setValue(kCustomConfigPath, JSONValue(custom));
    EXPECT_EQ(locate()->configURL(), standard);
    writeText(custom, "x");
    EXPECT_EQ(locate()->configURL(), custom);
    EXPECT_EQ(locateConfigFile(files, preferences, home.path()), custom);
    EXPECT_EQ(locate(home / "new/a.json")->configURL(), home / "new/a.json");
    EXPECT_TRUE(fs::is_directory(home / "new"));
}

TEST_F(LocalConfigStorageProviderTest, MovesTheFileOfEarlierVersionsOnce) {
    fs::create_directories(home / ".config/corvid");
    writeText(earlier, "old");
    EXPECT_EQ(locateConfigFile(files, preferences, home.path()), earlier);
    EXPECT_TRUE(fs::exists(earlier));
    EXPECT_EQ(locate()->configURL(), standard);
    EXPECT_EQ(readText(standard), "old");
    EXPECT_FALSE(fs::exists(earlier));
    EXPECT_EQ(chosen(), standard);
    writeText(earlier, "another");
    locate();
    EXPECT_EQ(readText(standard), "old");
}

TEST_F(LocalConfigStorageProviderTest, UsesTheDefaultLocationWhenTheMoveFails) {
    fs::create_directories(home / ".config/corvid");
    writeText(earlier, "old");
    files.failing = {{"rename", earlier}};
    EXPECT_EQ(locate()->configURL(), standard);
    EXPECT_EQ(readText(earlier), "old");
    EXPECT_EQ(chosen(), "-");
}

TEST_F(LocalConfigStorageProviderTest, FailsWhenTheFolderCannotBeMade) {
    writeText(home / "file", "");
    const auto provider = LocalConfigStorageProvider::locate(
        {files, preferences, home.path(), temporary.path()}, home / "file/config.json");
    ASSERT_FALSE(provider);
    EXPECT_EQ(std::get<FileError>(provider.error()).code, ENOTDIR);
}

TEST_F(LocalConfigStorageProviderTest, KeepsTheReplacedContentAsBackup) {
    auto provider = locate();
    ASSERT_TRUE(provider->write("1"));
    EXPECT_EQ(readText(standard + ".bak"), "1");
    ASSERT_TRUE(provider->write("2"));
    EXPECT_EQ(readText(standard + ".bak"), "1");
    ASSERT_TRUE(provider->write("3"));
    EXPECT_EQ(readText(standard), "3");
    EXPECT_EQ(readText(standard + ".bak"), "2");
    EXPECT_EQ(namesIn(home / ".config/varnel"), (std::vector<std::string>{"config.json", "config.json.bak"}));
    EXPECT_TRUE(namesIn(temporary.path()).empty());
}

TEST_F(LocalConfigStorageProviderTest, SavesThroughLinks) {
    const struct {
        const char* name;
        std::string target; ///< of the link at the active path
        const char* file;   ///< where the content must be
        bool exists;
    } rows[] = {{"relative", "../../dot/a.json", "dot/a.json", true},
                {"absolute", home / "dot/b.json", "dot/b.json", true},
                {"chain", "../../dot/link", "dot/c.json", true},
                {"dangling", "../../dot/d.json", "dot/d.json", false}};
    fs::create_directories(home / "dot");
    fs::create_symlink("c.json", home / "dot/link");
    auto provider = locate();
    for (const auto& row : rows) {
        fs::remove(standard);
        fs::create_symlink(row.target, standard);
        if (row.exists)
            writeText(home / row.file, "old");
        ASSERT_TRUE(provider->write("new")) << row.name;
        EXPECT_EQ(fs::read_symlink(standard), row.target) << row.name;
        EXPECT_EQ(readText(home / row.file), "new") << row.name;
        EXPECT_EQ(readText(standard + ".bak"), row.exists ? "old" : "new") << row.name;
    }
    EXPECT_EQ(namesIn(home / "dot"),
              (std::vector<std::string>{"a.json", "b.json", "c.json", "d.json", "link"}));
}

TEST_F(LocalConfigStorageProviderTest, NeverLosesNewContentToItsOwnBackup) {
    auto provider = locate();
    writeText(standard + ".bak", "old");
    fs::create_symlink("config.json.bak", standard);
    ASSERT_TRUE(provider->write("new"));
    EXPECT_EQ(readText(standard), "new");
    fs::remove(standard);
    fs::create_hard_link(standard + ".bak", standard);
    ASSERT_TRUE(provider->write("newer"));
    EXPECT_EQ(readText(standard), "newer");
    EXPECT_EQ(readText(standard + ".bak"), "new");
}

TEST_F(LocalConfigStorageProviderTest, RefusesToReplaceWhatIsNoFile) {
    auto provider = locate();
    fs::create_directory(standard);
    EXPECT_FALSE(provider->write("new"));
    fs::remove(standard);
    ASSERT_EQ(mkfifo(standard.c_str(), 0600), 0);
    EXPECT_FALSE(provider->write("new"));
    EXPECT_TRUE(fs::is_fifo(standard));
    fs::remove(standard);
    fs::create_symlink("config.json", standard);
    const auto looped = provider->write("new");
    ASSERT_FALSE(looped);
    EXPECT_EQ(std::get<FileError>(looped.error()).code, ELOOP);
}

TEST_F(LocalConfigStorageProviderTest, KeepsPermissionsOwnerAndAttributes) {
    auto provider = locate();
    ASSERT_TRUE(provider->write("1"));
    struct stat status {};
    ASSERT_EQ(stat(standard.c_str(), &status), 0);
    const mode_t mask = umask(022);
    umask(mask);
    EXPECT_EQ(status.st_mode & 07777, 0644u & ~mask);
    ASSERT_EQ(chmod(standard.c_str(), 0666), 0);
    const bool owned = chown(standard.c_str(), 1234, 2345) == 0;
    const bool attributed = setxattr(standard.c_str(), "user.note", "n", 1, 0) == 0;
    ASSERT_TRUE(provider->write("2"));
    for (const std::string& path : {standard, standard + ".bak"}) {
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0666u) << path;
        EXPECT_EQ(status.st_uid, owned ? 1234 : getuid()) << path;
        char value = 0;
        EXPECT_TRUE(!attributed || getxattr(path.c_str(), "user.note", &value, 1) == 1) << path;
    }
}

TEST_F(LocalConfigStorageProviderTest, SavesWhereOwnersAttributesAndFolderSyncAreUnknown) {
    auto provider = locate();
    ASSERT_TRUE(provider->write("1"));
    files.calls = 0;
    ASSERT_TRUE(provider->write("2"));
    const int calls = files.calls;
    files.fault = FaultyFileSystem::Fault::fail;
    files.code = ENOTSUP;
    int tolerated = 0;
    for (files.at = 1; files.at <= calls; ++files.at) {
        files.calls = 0;
        const bool written = provider->write("2").has_value();
        for (const char* optional : {"set the owner of", "copy the extended attributes to", "sync"})
            if (files.failed == optional) {
                EXPECT_TRUE(written) << files.failed;
                ++tolerated;
            }
    }
    EXPECT_EQ(tolerated, 6); // of the file and of the backup
}

TEST_F(LocalConfigStorageProviderTest, CreatesOnlyWhereNothingIs) {
    auto provider = locate();
    ASSERT_TRUE(provider->create(home / "deep/er/new.json", "{}"));
    EXPECT_EQ(readText(home / "deep/er/new.json"), "{}");
    const auto again = provider->create(home / "deep/er/new.json", "x");
    ASSERT_FALSE(again);
    EXPECT_EQ(describe(again.error()), "A file already exists at " + (home / "deep/er/new.json") +
                                           ". Open it instead of creating it.");
    EXPECT_EQ(namesIn(home / "deep/er"), std::vector<std::string>{"new.json"});
}

// MARK: Crashes and failures

struct SaveSetting {
    const char* name;
    std::string target; ///< what the active path links to, below the home folder; empty for a plain file
    bool exists = true; ///< before the save
    bool otherFileSystem = false; ///< the temporary folder is on another one
};
void PrintTo(const SaveSetting& setting, std::ostream* out) {
    *out << setting.name;
}

class SavingTest : public testing::TestWithParam<SaveSetting> {
protected:
    static constexpr const char* kOldest = "oldest";
    const std::string before = documentNamed("before");
    const std::string after = documentNamed("after, which is a little longer");

    /// Saves `after` over `before` in a fresh folder; the fault strikes at call `at`, 0 for none. Returns the
    /// number of calls, or 0 when the process was killed.
    int save(FaultyFileSystem::Fault fault, int at) {
        // In memory where there is such a file system: hundreds of saves would wait for the disk.
        const char* const memory = fs::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
        home = std::make_unique<TemporaryFolder>(memory);
        temporary = std::make_unique<TemporaryFolder>(GetParam().otherFileSystem ? "/tmp" : memory);
        fs::create_directories(*home / "dot");
        fs::create_directories(*home / ".config/varnel");
        active = *home / ".config/varnel/config.json";
        if (!GetParam().target.empty())
            fs::create_symlink("../../" + GetParam().target, active);
        if (GetParam().exists) {
            writeText(active, before);
            writeText(active + ".bak", kOldest);
        }
        if (fault == FaultyFileSystem::Fault::none || fault == FaultyFileSystem::Fault::fail)
            return write(fault, at);
        const pid_t child = fork();
        if (child == 0) {
            write(fault, at);
            _exit(1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        return WEXITSTATUS(status);
    }

    int write(FaultyFileSystem::Fault fault, int at) {
        FaultyFileSystem files;
        MemoryPreferenceStore preferences;
        auto provider =
            LocalConfigStorageProvider::locate({files, preferences, home->path(), temporary->path()}, active);
        files.calls = 0;
        files.fault = fault;
        files.at = at;
        succeeded = (*provider)->write(after).has_value();
        failedOperation = files.failed;
        return files.calls;
    }

    void removeStrays() {
        FaultyFileSystem files;
        MemoryPreferenceStore preferences;
        (*LocalConfigStorageProvider::locate({files, preferences, home->path(), temporary->path()}, active))
            ->removeStrayFiles();
    }

    void expectWholeFiles(const std::string& where) {
        const std::string content = readText(active), backup = readText(active + ".bak");
        const std::string absent = "(none)";
        if (GetParam().exists) {
            EXPECT_TRUE(content == before || content == after) << where << content;
            EXPECT_TRUE(backup == kOldest || (backup == before && content == after)) << where << backup;
        } else {
            EXPECT_TRUE(content == absent || content == after) << where << content;
            EXPECT_TRUE(backup == absent || backup == after) << where << backup;
        }
        EXPECT_EQ(fs::is_symlink(active), !GetParam().target.empty()) << where;
        for (const std::string& folder : {*home / ".config/varnel", *home / "dot"})
            for (const std::string& name : namesIn(folder))
                EXPECT_FALSE(name.starts_with(".")) << where << name;
    }

    std::unique_ptr<TemporaryFolder> home, temporary;
    std::string active;
    bool succeeded = false;
    std::string failedOperation;
};

TEST_P(SavingTest, LeavesWholeFilesAndNoStraysWhicheverCallFails) {
    const int calls = save(FaultyFileSystem::Fault::none, 0);
    EXPECT_GT(calls, 5);
    EXPECT_EQ(readText(active), after);
    EXPECT_EQ(readText(active + ".bak"), GetParam().exists ? before : after);
    for (int at = 1; at <= calls; ++at) {
        save(FaultyFileSystem::Fault::fail, at);
        const std::string where = "call " + std::to_string(at) + ": ";
        expectWholeFiles(where);
        EXPECT_TRUE(namesIn(temporary->path()).empty() || failedOperation == "remove") << where;
        if (succeeded) {
            EXPECT_EQ(readText(active), after) << where;
        }
    }
}

TEST_P(SavingTest, LeavesWholeFilesWhereverItIsKilled) {
    const int calls = save(FaultyFileSystem::Fault::none, 0);
    for (const auto fault : {FaultyFileSystem::Fault::killBefore, FaultyFileSystem::Fault::killAfter})
        for (int at = 1; at <= calls; ++at) {
            ASSERT_EQ(save(fault, at), 0);
            removeStrays();
            expectWholeFiles("call " + std::to_string(at) + ": ");
        }
}

INSTANTIATE_TEST_SUITE_P(Settings, SavingTest,
                         testing::Values(SaveSetting{"plain", ""}, SaveSetting{"linked", "dot/real.json"},
                                         SaveSetting{"first", "", false},
                                         SaveSetting{"linkedFirst", "dot/real.json", false},
                                         SaveSetting{"otherFileSystem", "", true, true}),
                         [](const auto& setting) { return std::string(setting.param.name); });

TEST_F(LocalConfigStorageProviderTest, SavesWithoutATemporaryFolder) {
    writeText(home / "c.json", "1");
    auto provider = LocalConfigStorageProvider::locate({files, preferences, home.path(), "/nonexistent"},
                                                       home / "c.json");
    ASSERT_TRUE((*provider)->write("2"));
    EXPECT_EQ(readText(home / "c.json.bak"), "1");
    EXPECT_EQ(namesIn(home.path()), (std::vector<std::string>{"c.json", "c.json.bak"}));
}

TEST_F(LocalConfigStorageProviderTest, KeepsTheOldContentOnAFullDisk) {
    const std::string disk = home / "disk";
    fs::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=64k") != 0)
        GTEST_SKIP() << "no file system may be mounted here: " << strerror(errno);
    const std::string old(20'000, 'o');
    writeText(disk + "/config.json", old);
    writeText(disk + "/config.json.bak", "oldest");
    auto provider = locate(disk + "/config.json");
    const auto written = provider->write(std::string(60'000, 'n'));
    EXPECT_FALSE(written);
    EXPECT_TRUE(written || std::get<FileError>(written.error()).code == ENOSPC);
    EXPECT_EQ(readText(disk + "/config.json"), old);
    EXPECT_EQ(readText(disk + "/config.json.bak"), "oldest");
    EXPECT_EQ(namesIn(disk), (std::vector<std::string>{"config.json", "config.json.bak"}));
    EXPECT_TRUE(namesIn(temporary.path()).empty());
    EXPECT_TRUE(provider->write("small"));
    umount(disk.c_str());
}

} // namespace
} // namespace varnel
