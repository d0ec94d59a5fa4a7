#include "capabilities/shell/SimpleCommand.h"
#include "tests/capabilities/CapabilityRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace varnel {
namespace {

using namespace std::chrono_literals;
using capability::simpleCommandWords;

struct ShellTest : ::testing::Test {
    CapabilityRun shell{"core.shell", "core-shell"};
    CapabilityAnswer run(const std::string& command) { return shell.act("run", {{"command", command}}); }
};

TEST_F(ShellTest, ReportsHowTheCommandEnded) {
    const struct {
        const char* command;
        bool success;
        const char* message;
    } rows[] = {
        {"/bin/true", true, ""},
        {"true", true, ""},
        {"exit 3", false, "The command ended with status 3"},
        {"echo first >&2; printf '\\033[31mlast\\033[0m\\n' >&2; exit 4", false,
         "The command ended with status 4: last"},
        {"echo note >&2", true, "The command ended with status 0: note"},
        {"kill -9 $$", false, "The command was ended by signal 9"},
        {"/nowhere/at/all", false,
         "The command ended with status 127: /bin/sh: 1: /nowhere/at/all: not found"},
        {"  ", false, "The action has no command."},
    };
    for (const auto& row : rows) {
        const CapabilityAnswer answer = run(row.command);
        EXPECT_EQ(answer.success, row.success) << row.command;
        EXPECT_EQ(answer.message, row.message) << row.command;
    }
}

TEST_F(ShellTest, LetsALongCommandGoOnWithoutHoldingAnybodysPipes) {
    const std::string mark = shell.folder() + "/mark";
    const auto began = std::chrono::steady_clock::now();
    const CapabilityAnswer answer =
        run("i=0; while [ $i -lt 60 ]; do echo noise >&2; sleep 0.05; i=$((i+1)); done; echo done > " + mark);
    const auto took = std::chrono::steady_clock::now() - began;
    EXPECT_TRUE(answer.success);
    EXPECT_TRUE(answer.message.starts_with("Started: i=0; while")) << answer.message;
    EXPECT_GT(took, 1900ms);
    EXPECT_LT(took, 2700ms);
    for (int i = 0; i < 100 && !std::ifstream(mark); ++i)
        std::this_thread::sleep_for(50ms);
    EXPECT_TRUE(std::ifstream(mark)) << "the command must outlive its starter";
}

TEST_F(ShellTest, AnswersWhenTheCommandEndsThoughAGrandchildKeepsItsErrorStream) {
    const auto began = std::chrono::steady_clock::now();
    EXPECT_TRUE(run("sleep 5 & exit 0").success);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 1500ms);
}

TEST(SimpleCommand, LeavesEverythingAShellWouldInterpretToTheShell) {
    for (const char* command :
         {"a|b",    "a;b",    "a&",     "a>b",  "a<b", "a $b", "a `b`", "a 'b'", "a \"b\"",
          "a\\b",   "a*",     "a?",     "[a",   "~/a", "a ~",  "A=b c", "A=b",   "cd x",
          "exec a", "echo a", "test a", "if a", "! a", "{ a",  "a\nb",  "#a",    "a #b",
          "a{b,c}", "a(b)",   "%1",     "",     "  ",  ". a",  "a^b",   "tür"})
        EXPECT_FALSE(simpleCommandWords(command)) << command;
    EXPECT_EQ(simpleCommandWords(" /bin/a  -x=1\tb,c:d@e%f "),
              (std::vector<std::string>{"/bin/a", "-x=1", "b,c:d@e%f"}));
}

/// What a program that is started as a command can see: arguments, environment, folder, group, signals,
/// descriptors.
TEST_F(ShellTest, StartsSimpleCommandsExactlyAsTheShellWould) {
    const std::string look = shell.folder() + "/look", seen = shell.folder() + "/seen";
    std::ofstream(look)
        << "#!/bin/sh\n"
           "{ for a in \"$@\"; do echo \"[$a]\"; done; /usr/bin/env | sort | grep -v '^_='; pwd; umask;\n"
           "grep -E '^(SigIgn|SigBlk|SigCgt)' /proc/self/status; ls /proc/$$/fd; } > "
        << seen << "\n";
    ASSERT_EQ(::chmod(look.c_str(), 0755), 0);
    const std::string plain = look + " one -two=3 f:o,o";
    ASSERT_TRUE(simpleCommandWords(plain));
    const auto view = [&](const std::string& command) {
        EXPECT_TRUE(run(command).success) << command;
        std::ifstream in(seen);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    const std::string direct = view(plain);
    EXPECT_NE(direct.find("[-two=3]"), std::string::npos);
    EXPECT_EQ(direct, view("exec " + plain));
}

TEST_F(ShellTest, RunsAScriptWithoutAnInterpreterLineAsTheShellDoes) {
    const std::string script = shell.folder() + "/script";
    std::ofstream(script) << "exit 7\n";
    ASSERT_EQ(::chmod(script.c_str(), 0755), 0);
    EXPECT_EQ(run(script).message, "The command ended with status 7");
}

TEST_F(ShellTest, OpensTheNamedTerminalWithTheCommandAsOneArgument) {
    const std::string terminal = shell.folder() + "/kitty", seen = shell.folder() + "/arguments";
    std::ofstream(terminal) << "#!/bin/sh\nfor a in \"$@\"; do echo \"[$a]\"; done > " << seen << "\n";
    ASSERT_EQ(::chmod(terminal.c_str(), 0755), 0);
    const std::string command = "echo 'a b' \"$HOME\"";
    EXPECT_TRUE(
        shell.act("run", {{"command", command}, {"openInTerminal", true}, {"terminalApplication", terminal}})
            .success);
    std::ifstream in(seen);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    EXPECT_TRUE(text.starts_with("[/bin/sh]\n[-c]\n")) << text;
    EXPECT_TRUE(text.ends_with("[" + command + "]\n")) << text;
    EXPECT_EQ(
        shell.act("run", {{"command", "x"}, {"openInTerminal", true}, {"terminalApplication", "no-such-one"}})
            .message,
        "Could not start no-such-one: No such file or directory");
}

} // namespace
} // namespace varnel
