#include "plugins/PluginProcessRunner.h"

#include "base/UniqueFd.h"
#include "plugins/ProcessSystem.h"
#include "tests/plugins/OpenDescriptors.h"
#include "tests/plugins/TestPackages.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <thread>

namespace varnel {
namespace {

using testing::openDescriptors;
using testing::TemporaryFolder;
using Kind = PluginProcessError::Kind;
using Result = std::expected<PluginProcessResult, PluginProcessError>;

const std::string kChild = VARNEL_BINARY_DIR "/plugin_test_child";

struct Timed {
    Result result;
    Duration elapsed;
};

Timed run(const std::string& word, const std::string& input = "", Duration timeout = 5s,
          const std::string& executable = kChild) {
    const auto start = std::chrono::steady_clock::now();
    Result result =
        runPluginProcess(executable, word, input, {.timeout = timeout, .terminationGrace = 150ms});
    return {std::move(result), std::chrono::steady_clock::now() - start};
}

std::string describe(const Result& result) {
    return result ? "exit " + std::to_string(result->exitStatus) : varnel::describe(result.error());
}

bool haveChildren() {
    siginfo_t info;
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

/// True once the process whose number stands in the file is gone (or a zombie of somebody else).
bool endsSoon(const std::string& pidFile) {
    const std::string stat = "/proc/" + testing::readFile(pidFile) + "/stat";
    for (int i = 0; i < 200; ++i) {
        const std::string text = testing::readFile(stat);
        if (text.empty() || text.find(") Z") != std::string::npos)
            return true;
        std::this_thread::sleep_for(5ms);
    }
    return false;
}

void killNamed(const std::string& pidFile) {
    ::kill(std::stoi(testing::readFile(pidFile)), SIGKILL);
}

TEST(PluginProcessRunner, ReportsHowProcessesEnd) {
    const std::string mebibyte(1048576, 'i');
    const struct {
        std::string word, input, outcome, output, error;
    } rows[] = {
        {"echo", "hello", "exit 0", "hello", ""},
        {"echo", "", "exit 0", "", ""},
        {"echo", mebibyte, "exit 0", mebibyte, ""},
        {"count", mebibyte, "exit 0", "1048576", ""},
        {"close-output", mebibyte, "exit 42", "", ""},
        {"exit-0", mebibyte, "exit 0", "", "  something went wrong \n"},
        {"exit-3", "", "exit 3", "", "  something went wrong \n"},
        {"signal-9", "", "exit 137", "", ""},
        {"signal-11", "x", "exit 139", "", ""},
        {"write-1048576", "", "exit 0", std::string(1048576, 'x'), ""},
        {"write-1048577", "", "Plugin output exceeded 1048576 byte limit", "", ""},
        {"split-1048576", "", "exit 0", std::string(524288, 'x'), std::string(524288, 'y')},
        {"split-1048577", "", "Plugin output exceeded 1048576 byte limit", "", ""},
        {"inherit", "x", "exit 0", "blocked=0 pipe=default descriptors=3 leader=yes", ""},
    };
    // What must not reach the child: a blocked signal, an ignored one, a descriptor.
    sigset_t blocked, before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    auto handler = ::signal(SIGPIPE, SIG_IGN);
    for (const auto& row : rows) {
        auto [result, elapsed] = run(row.word, row.input);
        EXPECT_EQ(describe(result), row.outcome) << row.word;
        if (result) {
            EXPECT_TRUE(result->standardOutput == row.output)
                << row.word << ": " << result->standardOutput.substr(0, 99);
            EXPECT_TRUE(result->standardError == row.error) << row.word;
        }
        EXPECT_LT(elapsed, 4s) << row.word;
    }
    ::signal(SIGPIPE, handler);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(PluginProcessRunner, LeavesClosedInputWithoutSIGPIPEToTheProgram) {
    // The default action would end this test.
    auto handler = ::signal(SIGPIPE, SIG_DFL);
    EXPECT_EQ(describe(run("exit-0", std::string(1048576, 'i')).result), "exit 0");
    ::signal(SIGPIPE, handler);
    sigset_t pending;
    ::sigpending(&pending);
    EXPECT_FALSE(::sigismember(&pending, SIGPIPE));
}

TEST(PluginProcessRunner, EndsProcessesAtTheTimeOut) {
    TemporaryFolder folder;
    const std::string mebibyte(1048576, 'i');
    const struct {
        std::string word, input;
        bool isKilled; ///< only SIGKILL ends it, after the grace
    } rows[] = {
        {"ignore-term", "", true},
        {"stop", "", true},
        {"exit-on-term", folder / "term", false},
        {"flood", "", false},
        {"never-read", mebibyte, false},
        {"fork-in-group", folder / "fork", false},
    };
    for (const auto& row : rows) {
        auto [result, elapsed] = run(row.word, row.input, 200ms);
        EXPECT_EQ(describe(result), "Plugin command '" + row.word + "' timed out");
        EXPECT_GE(elapsed, row.isKilled ? 350ms : 200ms) << row.word;
        EXPECT_LT(elapsed, row.isKilled ? 1500ms : 1200ms) << row.word;
    }
    EXPECT_NE(testing::readFile(folder / "term"), "") << "who exits on SIGTERM is not killed";
    EXPECT_TRUE(endsSoon(folder / "fork")) << "the whole group ends";
    EXPECT_FALSE(haveChildren());
}

TEST(PluginProcessRunner, DoesNotWaitLongerForAGrandchildThatHoldsThePipes) {
    TemporaryFolder folder;
    const int before = openDescriptors();
    auto [result, elapsed] = run("leave-group", folder / "pid", 200ms);
    EXPECT_EQ(describe(result), "Plugin command 'leave-group' timed out");
    EXPECT_GE(elapsed, 200ms);
    EXPECT_LT(elapsed, 1500ms) << "the time-out and twice the grace";
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(endsSoon(folder / "pid")) << "another group is not ours to end";
    killNamed(folder / "pid");
}

TEST(PluginProcessRunner, LetsABackgroundProcessOfAnotherGroupLive) {
    TemporaryFolder folder;
    auto [result, elapsed] = run("background", folder / "pid");
    EXPECT_EQ(describe(result), "exit 0");
    EXPECT_LT(elapsed, 3s);
    EXPECT_FALSE(endsSoon(folder / "pid"));
    killNamed(folder / "pid");
}

TEST(PluginProcessRunner, SaysWhyAnExecutableDoesNotStart) {
    TemporaryFolder folder;
    testing::writeFile(folder / "plain", "#!/bin/sh\n", 0644);
    testing::writeFile(folder / "orphan", "#!/no/such/interpreter\n", 0755);
    testing::writeFile(folder / "garbage",
                       "\x7f"
                       "garbage",
                       0755);
    std::filesystem::copy(kChild, folder / "busy");
    UniqueFd writer(::open((folder / "busy").c_str(), O_WRONLY | O_CLOEXEC));
    const struct {
        std::string path, outcome;
        Kind kind;
    } rows[] = {
        {folder / "none", "Plugin executable not found at " + (folder / "none"), Kind::missingExecutable},
        {folder / "plain/none", "Plugin executable not found at " + (folder / "plain/none"),
         Kind::missingExecutable},
        {folder.path(), "Could not launch plugin: Permission denied", Kind::launchFailed},
        {folder / "plain", "Could not launch plugin: Permission denied", Kind::launchFailed},
        {folder / "orphan", "Could not launch plugin: No such file or directory", Kind::launchFailed},
        {folder / "garbage", "Could not launch plugin: Exec format error", Kind::launchFailed},
        {folder / "busy", "Could not launch plugin: Text file busy", Kind::launchFailed},
    };
    const int before = openDescriptors();
    for (const auto& row : rows) {
        Result result = run("action", "x", 5s, row.path).result;
        EXPECT_EQ(describe(result), row.outcome);
        EXPECT_TRUE(!result && result.error().kind == row.kind) << row.path;
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(haveChildren());
}

TEST(PluginProcessRunner, WorksWithoutStandardDescriptors) {
    // In a process of its own: with 0, 1 and 2 closed, fresh pipes would take exactly those numbers.
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::close(0), ::close(1), ::close(2);
        auto result = runPluginProcess(kChild, "echo", "through", {});
        ::_exit(result && result->standardOutput == "through" ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(PluginProcessRunner, LeavesNothingBehindAfterAThousandRuns) {
    const int before = openDescriptors();
    int failures = 0;
    for (int i = 0; i < 1000; ++i) {
        const char* words[] = {"echo", "exit-3", "signal-9", "write-70000"};
        failures += !runPluginProcess(kChild, words[i % 4], "request", {});
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(haveChildren());
}

TEST(PluginProcessRunner, KeepsRunsOfSeveralThreadsApart) {
    // A run that inherited another's pipe would keep that one waiting until its time-out.
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&wrong, t] {
            for (int i = 0; i < 40; ++i) {
                const std::string text = std::to_string(t) + ":" + std::to_string(i);
                auto result = runPluginProcess(kChild, "echo", text, {.timeout = 20s});
                wrong += !result || result->standardOutput != text;
                if (i % 20 == 0)
                    wrong += run("never-read", "", 50ms).result.has_value();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(ChildExit, TellsTheEndInBothWays) {
    for (auto watch : {watchChildExit, watchChildExitByThread}) {
        pid_t child = ::fork();
        if (child == 0) {
            ::usleep(100000);
            ::_exit(5);
        }
        auto exit = watch(child);
        EXPECT_FALSE(exit->waitUntil(std::chrono::steady_clock::now())) << "only asks";
        EXPECT_TRUE(exit->waitUntil(std::chrono::steady_clock::now() + 5s));
        auto status = exit->collect();
        EXPECT_TRUE(status && WEXITSTATUS(*status) == 5);
    }
    EXPECT_FALSE(haveChildren());
}

TEST(ChildExit, ReapsAChildThatOutlivesTheWatch) {
    pid_t child = ::fork();
    if (child == 0) {
        ::usleep(50000);
        ::_exit(0);
    }
    watchChildExit(child).reset();
    for (int i = 0; i < 400 && haveChildren(); ++i)
        std::this_thread::sleep_for(5ms);
    EXPECT_FALSE(haveChildren());
}

} // namespace
} // namespace varnel
