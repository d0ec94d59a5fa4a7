#include "commands/WindowManagerOperations.h"
#include "tests/capabilities/CapabilityRun.h"

#include <gtest/gtest.h>

#include <set>
#include <sys/stat.h>

namespace varnel {
namespace {

TEST(WindowManagerOperations, DescribeEachFamilyByItsPattern) {
    const struct {
        const char *id, *description, *example;
    } rows[] = {
        {"focus-left", "Moves focus to the window on the left.", "aerospace focus left"},
        {"focus-up", "Moves focus to the window above.", "aerospace focus up"},
        {"focus-dfs-prev", "Moves to the previous window in DFS order.", "aerospace focus dfs-prev"},
        {"focus-monitor-right", "Moves focus to the monitor on the right.", "aerospace focus-monitor right"},
        {"move-down", "Moves the active window to the container below.", "aerospace move down"},
        {"move-workspace-to-monitor-up", "Moves the workspace to the monitor above.",
         "aerospace move-workspace-to-monitor up"},
        {"swap-right", "Swaps the active window with the neighbor on the right.", "aerospace swap right"},
        {"layout-toggle-orientation", "Toggles the layout orientation.",
         "aerospace layout horizontal vertical"},
    };
    for (const auto& row : rows) {
        const WindowManagerOperation* found = findWindowManagerOperation(row.id);
        ASSERT_TRUE(found) << row.id;
        EXPECT_EQ(found->description, row.description);
        EXPECT_EQ(found->example, row.example);
    }
    EXPECT_FALSE(findWindowManagerOperation("Focus-left"));
    std::set<std::string_view> ids;
    for (const auto& operation : windowManagerOperations())
        ids.insert(operation.id);
    EXPECT_EQ(ids.size(), 68u);
}

TEST(WindowManagerOperations, AreAllOfferedByThePackagesManifest) {
    std::ifstream in(std::string(VARNEL_SOURCE_DIR) + "/capabilities/aerospace/plugin.json");
    const auto manifest = readJSON(std::string(std::istreambuf_iterator<char>(in), {}));
    ASSERT_TRUE(manifest);
    const JSONValue& action = (*manifest->find("actions")->array())[0];
    const JSONValue& field = (*action.find("parametersSchema")->array())[0];
    std::vector<std::string> offered, known;
    for (const JSONValue& option : *field.find("options")->array())
        offered.push_back(*option.find("value")->string() + ": " + *option.find("label")->string());
    for (const auto& operation : windowManagerOperations())
        known.push_back(std::string(operation.id) + ": " + std::string(operation.description));
    EXPECT_EQ(offered, known);
}

/// A stand-in for the tool, first in PATH: writes down its arguments and ends as told.
struct AerospaceTest : ::testing::Test {
    CapabilityRun package{"core.aerospace", "core-aerospace"};
    std::string seen = package.folder() + "/seen";

    void SetUp() override {
        std::ofstream(package.folder() + "/aerospace")
            << "#!/bin/sh\nfor a in \"$@\"; do echo \"[$a]\"; done > " << seen
            << "\n[ \"$2\" = bad ] && { echo 'no such workspace' >&2; exit 2; }\n[ \"$1\" = close ] && exit "
               "5\nexit 0\n";
        ASSERT_EQ(::chmod((package.folder() + "/aerospace").c_str(), 0755), 0);
        path_ = std::getenv("PATH");
        ::setenv("PATH", (package.folder() + ":" + path_).c_str(), 1);
    }
    void TearDown() override { ::setenv("PATH", path_.c_str(), 1); }
    std::string arguments() const {
        std::ifstream in(seen);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::string path_;
};

TEST_F(AerospaceTest, PassesParametersAsSingleArguments) {
    const struct {
        JSONValue::Object params;
        const char* arguments;
    } rows[] = {
        {{}, "[focus]\n[left]\n"},
        {{{"operation", "workspace-name"}, {"workspace", "a b; touch x $(y)"}},
         "[workspace]\n[a b; touch x $(y)]\n"},
        {{{"operation", "resize"}, {"arguments", "height -10"}}, "[resize]\n[height]\n[-10]\n"},
        {{{"operation", "resize"}}, "[resize]\n[width]\n[+20]\n"},
        {{{"operation", "focus-monitor-pattern"}, {"monitorPattern", "^built.*"}},
         "[focus-monitor]\n[^built.*]\n"},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(package.act("run", row.params).success);
        EXPECT_EQ(arguments(), row.arguments);
    }
}

TEST_F(AerospaceTest, SaysReadablyWhatWentWrong) {
    const struct {
        JSONValue::Object params;
        const char* message;
    } rows[] = {
        {{{"operation", "workspace-name"}, {"workspace", "bad"}},
         "aerospace ended with status 2: no such workspace"},
        {{{"operation", "close"}}, "aerospace ended with status 5"},
        {{{"operation", "workspace-name"}},
         "The operation 'workspace-name' needs the parameter 'workspace'."},
        {{{"operation", "workspace-name"}, {"workspace", "--fail"}},
         "The parameter 'workspace' may not begin with '-'."},
        {{{"operation", "Focus-left"}}, "There is no window-manager operation 'Focus-left'."},
    };
    for (const auto& row : rows) {
        const CapabilityAnswer answer = package.act("run", row.params);
        EXPECT_FALSE(answer.success);
        EXPECT_EQ(answer.message, row.message);
    }
    std::filesystem::remove(package.folder() + "/aerospace");
    EXPECT_TRUE(package.act("run", {}).message.starts_with("The tool 'aerospace' was not found."));
}

} // namespace
} // namespace varnel
