#include "commands/linux/DetachedProgram.h"

#include "tests/commands/CommandDoubles.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

namespace varnel {
namespace {

using Strings = std::vector<std::string>;

/// The lines of a file once its last one is "end".
Strings linesOnceWritten(const std::string& path) {
    for (int i = 0; i < 500; ++i) {
        Strings lines;
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        if (!lines.empty() && lines.back() == "end") {
            lines.pop_back();
            return lines;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return {};
}

ProgramStart script(const TemporaryFolder& folder, const std::string& text,
                    const std::string& head = "#!/bin/sh\n") {
    const std::string path = folder.write("script", head + text + "\necho end\n", true);
    return {.program = path,
            .arguments = {path, "a b", "c"},
            .environment = std::make_shared<const std::vector<std::string>>(
                std::initializer_list<std::string>{"OUT=" + folder.path("out"), "PATH=/usr/bin:/bin"}),
            .folder = folder.path()};
}

enum class Way { directly, byLauncher };

class DetachedProgram : public testing::TestWithParam<Way> {
protected:
    DetachedProgram() {
        if (GetParam() == Way::byLauncher)
            launcher_.prepare(VARNEL_BINARY_DIR "/varnel-launcher");
    }
    auto start(const ProgramStart& wanted) {
        return GetParam() == Way::directly ? startDetached(wanted) : launcher_.start(wanted);
    }
    /// Nothing that was started is ours to wait for; the launcher itself is.
    static void expectNoChild() {
        const pid_t child = ::waitpid(-1, nullptr, WNOHANG);
        EXPECT_EQ(child, GetParam() == Way::directly ? -1 : 0);
    }
    ProgramLauncher launcher_;
};
INSTANTIATE_TEST_SUITE_P(Started, DetachedProgram, testing::Values(Way::directly, Way::byLauncher),
                         [](const auto& way) {
                             return way.param == Way::directly ? "Directly" : "ByTheLauncher";
                         });

bool isGoneSoon(const std::string& process) {
    for (int i = 0; i < 500; ++i) {
        if (::access(("/proc/" + process).c_str(), F_OK) != 0)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

TEST_P(DetachedProgram, HasNothingToDoWithUs) {
    TemporaryFolder folder;
    const int inherited = ::open("/dev/null", O_RDONLY); // not close-on-exec
    ASSERT_GE(inherited, 3);
    ::signal(SIGUSR1, SIG_IGN);
    sigset_t blocked, before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto started = start(script(folder, R"sh(
exec >"$OUT"
echo "$1|$2|$PWD"
for d in 0 1 2 3 4 5 6 7 8 9 20 30; do
  [ -e /proc/$$/fd/$d ] && echo "$d $(readlink /proc/$$/fd/$d)"
done
read -r pid comm state parent group session rest </proc/$$/stat
[ "$session" = "$$" ] && echo leader
grep -E '^Sig(Blk|Ign)' /proc/$$/status | tr -d '\t'
echo "parent $parent"
echo "$pid")sh"));
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::signal(SIGUSR1, SIG_DFL);
    ::close(inherited);
    ASSERT_TRUE(started) << describe(started.error());
    expectNoChild();
    Strings lines = linesOnceWritten(folder.path("out"));
    ASSERT_GE(lines.size(), 2U);
    EXPECT_TRUE(isGoneSoon(lines.back())) << "a zombie stays behind";
    lines.pop_back();
    EXPECT_NE(lines.back(), "parent " + std::to_string(::getpid()));
    lines.pop_back();
    // Descriptor 10 and above are the shell's own.
    EXPECT_EQ(lines,
              (Strings{"a b|c|" + folder.path(), "0 /dev/null", "1 " + folder.path("out"), "2 /dev/null",
                       "leader", "SigBlk:0000000000000000", "SigIgn:0000000000000000"}));
}

TEST_P(DetachedProgram, RunsATextFileInTheShell) {
    TemporaryFolder folder;
    ASSERT_TRUE(start(script(folder, "exec >\"$OUT\"\necho \"$1|$2\"", "")));
    EXPECT_EQ(linesOnceWritten(folder.path("out")), Strings{"a b|c"});
}

TEST_P(DetachedProgram, SaysWhyItDidNotStart) {
    TemporaryFolder folder;
    const std::string plain = folder.write("plain", "#!/bin/sh\n");
    const std::string orphan = folder.write("orphan", "#!/no/such/interpreter\n", true);
    const std::string cut = folder.write("cut",
                                         "\x7f"
                                         "ELF\2\1\1" +
                                             std::string(20, '\0'),
                                         true);
    struct Row {
        ProgramStart start;
        ProgramStartError error;
    };
    const Row rows[] = {
        {{plain, {plain}, {}, ""}, {"execute", plain, EACCES}},
        {{orphan, {orphan}, {}, ""}, {"execute", orphan, ENOENT}},
        {{cut, {cut}, {}, ""}, {"execute", cut, ENOEXEC}},
        {{folder.path(), {"x"}, {}, ""}, {"execute", folder.path(), EACCES}},
        {{"/no/such", {"x"}, {}, ""}, {"execute", "/no/such", ENOENT}},
        {{"/bin/true", {"true"}, {}, "/no/such"}, {"enter folder", "/no/such", ENOENT}},
        {{"/bin/true", {"true", std::string(3 << 20, 'x')}, {}, ""}, {"execute", "/bin/true", E2BIG}},
    };
    for (const Row& row : rows) {
        const auto started = start(row.start);
        ASSERT_FALSE(started);
        EXPECT_EQ(started.error(), row.error);
        expectNoChild(); // no zombie either
    }
    EXPECT_EQ(describe(ProgramStartError{"execute", "/no/such", ENOENT}),
              "Could not execute /no/such: No such file or directory");
}

TEST(ProgramLauncher, StartsDirectlyWithoutItsProcess) {
    TemporaryFolder folder;
    ProgramLauncher launcher;
    const ProgramStart wanted = script(folder, "exec >>\"$OUT\"\necho ran");
    launcher.prepare("/no/such/launcher");
    ASSERT_TRUE(launcher.start(wanted));
    EXPECT_EQ(linesOnceWritten(folder.path("out")), Strings{"ran"});
    launcher.prepare("/bin/true"); // ends at once
    folder.write("out", "");
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(launcher.start(wanted));
    for (int i = 0; i < 500 && linesOnceWritten(folder.path("out")).size() < 5; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(linesOnceWritten(folder.path("out")), (Strings{"ran", "end", "ran", "end", "ran"}));
}

} // namespace
} // namespace varnel
