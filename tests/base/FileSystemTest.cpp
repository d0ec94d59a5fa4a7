#include "base/PosixFileSystem.h"
#include "tests/base/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

namespace varnel {
namespace {

TEST(Paths, AreTakenApartAndPutTogether) {
    const struct {
        const char *path, *parent, *last, *standard;
    } rows[] = {
        {"/a/b/c", "/a/b", "c", "/a/b/c"},
        {"/a/b/", "/a", "b", "/a/b"},
        {"/a", "/", "a", "/a"},
        {"/", "/", "", "/"},
        {"a", "", "a", "a"},
        {"", "", "", ""},
        {"//a//b", "//a", "b", "/a/b"},
        {"/a/./b/../c", "/a/./b/..", "c", "/a/c"},
        {"/../../a", "/../..", "a", "/a"},
        {"../a/../..", "../a/..", "..", "../.."},
        {"a/..", "a", "..", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(parentPath(row.path), row.parent) << row.path;
        EXPECT_EQ(lastPathComponent(row.path), row.last) << row.path;
        EXPECT_EQ(standardizedPath(row.path), row.standard) << row.path;
    }
    EXPECT_EQ(appendPath("/a", "b"), "/a/b");
    EXPECT_EQ(appendPath("/a/", "/b"), "/a/b");
    EXPECT_EQ(appendPath("/", "b"), "/b");
    EXPECT_EQ(appendPath("", "b"), "b");
}

class PosixFileSystemTest : public testing::Test {
protected:
    TemporaryFolder folder;
    PosixFileSystem files;
};

TEST_F(PosixFileSystemTest, WritesNewFilesOnly) {
    const std::string path = folder / "new", content(300'000, 'x');
    ASSERT_TRUE(files.writeNewFile(path, content, 0640));
    EXPECT_EQ(files.readFile(path).value(), content);
    EXPECT_EQ(files.info(path)->mode, 0640U);
    EXPECT_EQ(files.info(path)->size, content.size());
    const auto again = files.writeNewFile(path, "y", 0640);
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().code, EEXIST);
    EXPECT_EQ(files.readFile(path)->size(), content.size());
    EXPECT_EQ(describe(again.error()), "Could not create " + path + ": File exists");
}

TEST_F(PosixFileSystemTest, LeavesNoFileWhenTheDiskIsFull) {
    // A limit on the size of files stands for the full disk.
    struct rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const auto before = std::exchange(limit.rlim_cur, rlim_t{1000});
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    const auto written = files.writeNewFile(folder / "new", std::string(5000, 'x'), 0644);
    limit.rlim_cur = before;
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, handler);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, EFBIG);
    EXPECT_TRUE(files.list(folder.path())->empty());
}

TEST_F(PosixFileSystemTest, ReadsWhateverAPathNames) {
    folder.write("empty", "");
    EXPECT_EQ(files.readFile(folder / "empty").value(), "");
    EXPECT_EQ(files.readFile(folder.path()).error().code, EISDIR);
    EXPECT_EQ(files.readFile(folder / "missing").error().code, ENOENT);
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(files.readFile(folder / "pipe").value(), "") << "nobody writes: it must not wait";
    EXPECT_NE(files.readFile("/proc/self/stat").value(), "") << "a file that claims to be empty";
}

TEST_F(PosixFileSystemTest, TellsLinksFromWhatTheyName) {
    folder.write("file", "x");
    ASSERT_EQ(symlink("file", (folder / "link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (folder / "dangling").c_str()), 0);
    using Kind = FileSystem::Info::Kind;
    EXPECT_EQ(files.info(folder / "link")->kind, Kind::file);
    EXPECT_EQ(files.info(folder / "link", false)->kind, Kind::link);
    EXPECT_EQ(files.readLink(folder / "link").value(), "file");
    EXPECT_EQ(files.readLink(folder / "file").error().code, EINVAL);
    EXPECT_FALSE(files.exists(folder / "dangling"));
    EXPECT_EQ(files.info(folder.path())->kind, Kind::folder);
    EXPECT_EQ(files.list(folder.path()).value(), (std::vector<std::string>{"dangling", "file", "link"}));
    EXPECT_TRUE(files.remove(folder / "link"));
    EXPECT_TRUE(files.exists(folder / "file"));
}

TEST_F(PosixFileSystemTest, MakesFoldersOnTheWay) {
    EXPECT_TRUE(files.makeFolders(folder / "a/b/c"));
    EXPECT_TRUE(files.makeFolders(folder / "a/b/c/")) << "again";
    folder.write("file", "");
    EXPECT_EQ(files.makeFolders(folder / "file").error().code, ENOTDIR);
    EXPECT_FALSE(files.makeFolders(folder / "file/below"));
    EXPECT_EQ(files.remove(folder / "a").error().code, ENOTEMPTY);
    EXPECT_TRUE(files.remove(folder / "a/b/c"));
    EXPECT_TRUE(files.syncFolder(folder.path()));
}

TEST_F(PosixFileSystemTest, ReplacesFilesAndKeepsAttributes) {
    folder.write("old", "old");
    folder.write("new", "new");
    if (setxattr((folder / "old").c_str(), "user.note", "abc", 3, 0) == 0) {
        EXPECT_TRUE(files.copyAttributes(folder / "old", folder / "new"));
        char value[8];
        EXPECT_EQ(getxattr((folder / "new").c_str(), "user.note", value, sizeof value), 3);
    }
    EXPECT_TRUE(files.setMode(folder / "new", 0600));
    EXPECT_TRUE(files.setOwner(folder / "new", getuid(), getgid()));
    EXPECT_TRUE(files.rename(folder / "new", folder / "old"));
    EXPECT_EQ(files.readFile(folder / "old").value(), "new");
    EXPECT_EQ(files.info(folder / "old")->mode, 0600U);
    EXPECT_FALSE(files.copyAttributes(folder / "missing", folder / "old"));
    EXPECT_FALSE(files.rename(folder / "missing", folder / "old"));
}

} // namespace
} // namespace varnel
