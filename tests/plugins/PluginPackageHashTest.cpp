#include "plugins/PluginPackageHash.h"

#include "base/Sha256.h"
#include "tests/plugins/TestPackages.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace varnel {
namespace {

using testing::TemporaryFolder;
using testing::writeFile;
using Kind = PluginPackageHashError::Kind;

std::string sha256(const std::string& bytes) {
    Sha256 hash;
    hash.update(bytes);
    return hash.finishHex();
}

TEST(PluginPackageHash, CoversPathsAndContentsInTheOrderOfPaths) {
    TemporaryFolder folder;
    // "bin-x" sorts before "bin/run", which a walk by folders would visit first.
    writeFile(folder / "plugin.json", std::string(120, 'm'));
    writeFile(folder / "bin/run", std::string(2048, 'r'), 0755);
    writeFile(folder / "bin-x", "");
    writeFile(folder / ".hidden/ü", "u");
    const std::string expected =
        sha256("path:10:.hidden/ü"
               "data:1:u"
               "path:5:bin-x"
               "data:0:"
               "path:7:bin/rundata:2048:" +
               std::string(2048, 'r') + "path:11:plugin.jsondata:120:" + std::string(120, 'm'));
    EXPECT_EQ(hashPluginPackage(folder.path()), expected);
    EXPECT_EQ(hashPluginPackage(folder / "bin/../"), expected) << "the path is standardized first";
    std::filesystem::create_directory(folder / "empty");
    EXPECT_EQ(hashPluginPackage(folder.path()), expected) << "empty folders do not count";
    std::filesystem::rename(folder / "bin-x", folder / "bin-y");
    EXPECT_NE(hashPluginPackage(folder.path()), expected) << "names count";
}

TEST(PluginPackageHash, StreamsFilesLargerThanItsBuffer) {
    TemporaryFolder folder;
    std::string content(3 * 1024 * 1024 + 17, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 / 7);
    writeFile(folder / "f", content);
    EXPECT_EQ(hashPluginPackage(folder.path()),
              sha256("path:1:fdata:" + std::to_string(content.size()) + ":" + content));
    EXPECT_EQ(hashPluginPackage(folder.path(), 1000).error().kind, Kind::tooLarge);
}

TEST(PluginPackageHash, RefusesWhatIsNotAPlainTree) {
    TemporaryFolder folder;
    auto makeSocket = [](const std::string& path) {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(socket);
    };
    const struct {
        const char* entry;
        std::function<void(const std::string&)> make;
        Kind kind;
        std::string message;
    } rows[] = {
        {"a/link", [](const std::string& p) { std::filesystem::create_symlink("plain", p); },
         Kind::symbolicLink, "Plugin package contains a symbolic link: "},
        {"a/dangling", [](const std::string& p) { std::filesystem::create_symlink("/no/where", p); },
         Kind::symbolicLink, "Plugin package contains a symbolic link: "},
        {"a/linked folder",
         [](const std::string& p) { std::filesystem::create_directory_symlink("/etc", p); },
         Kind::symbolicLink, "Plugin package contains a symbolic link: "},
        {"pipe", [](const std::string& p) { ::mkfifo(p.c_str(), 0600); }, Kind::unsupportedEntry,
         "Plugin package contains an unsupported item: "},
        {"socket", makeSocket, Kind::unsupportedEntry, "Plugin package contains an unsupported item: "},
        {"bad\xff", [](const std::string& p) { writeFile(p, ""); }, Kind::invalidName,
         "Plugin package contains a file name that is not UTF-8: "},
    };
    writeFile(folder / "a/plain", "x");
    for (const auto& row : rows) {
        const std::string path = folder / row.entry;
        row.make(path);
        auto hash = hashPluginPackage(folder.path());
        ASSERT_FALSE(hash) << row.entry;
        EXPECT_EQ(hash.error(), (PluginPackageHashError{row.kind, path, 0}));
        EXPECT_EQ(describe(hash.error()), row.message + readablePath(path));
        std::filesystem::remove(path);
    }
    std::filesystem::create_directory_symlink(folder / "a", folder / "b");
    EXPECT_EQ(hashPluginPackage(folder / "b").error(),
              (PluginPackageHashError{Kind::symbolicLink, folder / "b", 0}));
    EXPECT_EQ(hashPluginPackage(folder / "none").error().code, ENOENT);
    EXPECT_EQ(hashPluginPackage(folder / "a/plain").error().code, ENOTDIR);
    EXPECT_EQ(describe(PluginPackageHashError{Kind::escapingPath, "/x", 0}),
              "Plugin package contains an invalid path: /x");
}

TEST(PluginPackageHash, NamesUnsafePermissions) {
    const struct {
        const char* entry;
        mode_t mode;
        const char* what;
    } rows[] = {{"run", 04755, "set-user-ID file"},
                {"run", 02755, "set-group-ID file"},
                {"run", 0757, "file that everybody can write to"},
                {"data", 0777, "folder that everybody can write to"},
                {"", 01777, "folder that everybody can write to"},
                {"run", 0775, nullptr},
                {"data", 02775, nullptr}};
    for (const auto& row : rows) {
        TemporaryFolder folder;
        writeFile(folder / "run", "x");
        writeFile(folder / "data/file", "x");
        const std::string path = *row.entry ? folder / row.entry : folder.path();
        ::chmod(path.c_str(), row.mode);
        auto message = unsafePermissions(*listPluginPackage(folder.path()), folder.path());
        if (row.what)
            EXPECT_EQ(message, "Plugin package contains a " + std::string(row.what) + ": " + path);
        else
            EXPECT_EQ(message, std::nullopt) << row.entry;
    }
}

TEST(PluginPackageHash, CopiesWhatItHashes) {
    TemporaryFolder folder;
    writeFile(folder / "p/plugin.json", "{}", 0664);
    writeFile(folder / "p/bin/run", std::string(300000, 'r'), 0775);
    std::filesystem::create_directories(folder / "p/empty/inner");
    std::filesystem::create_directory(folder / "copy");
    auto hash = copyPluginPackage(folder / "p", *listPluginPackage(folder / "p"), folder / "copy");
    ASSERT_TRUE(hash);
    EXPECT_EQ(hash, hashPluginPackage(folder / "p"));
    EXPECT_EQ(hash, hashPluginPackage(folder / "copy"));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "copy/empty/inner"));
    auto mode = [&](const char* name) { return std::filesystem::status(folder / name).permissions(); };
    EXPECT_EQ(static_cast<int>(mode("copy/bin/run")), 0500);
    EXPECT_EQ(static_cast<int>(mode("copy/plugin.json")), 0400);
}

TEST(PluginPackageHash, TellsWhatChanged) {
    TemporaryFolder folder;
    writeFile(folder / "same", "1");
    writeFile(folder / "gone", "1");
    writeFile(folder / "other", "1");
    auto before = digestPluginFiles(folder.path(), *listPluginPackage(folder.path()));
    std::filesystem::remove(folder / "gone");
    writeFile(folder / "other", "2");
    writeFile(folder / "new", "1");
    auto after = digestPluginFiles(folder.path(), *listPluginPackage(folder.path()));
    auto changes = comparePluginFiles(*before, *after);
    EXPECT_EQ(changes, (PluginPackageChanges{{"new"}, {"other"}, {"gone"}}));
    EXPECT_EQ(describe(changes), "Added: new. Changed: other. Removed: gone.");
    EXPECT_EQ(describe(PluginPackageChanges{{"a", "b", "c"}, {}, {}}, 1), "Added: a and 2 more.");
    EXPECT_EQ(describe(comparePluginFiles(*after, *after)), "");
}

} // namespace
} // namespace varnel
