#include "base/JSONReader.h"
#include "tests/plugins/TestPackages.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>

namespace varnel {
namespace {

using testing::makePackage;
using testing::manifestText;
using testing::readFile;
using testing::TemporaryFolder;
using testing::writeFile;

/// The program itself, in a home of its own.
class PluginsVerb : public ::testing::Test {
protected:
    struct Answer {
        int status;
        std::string out, err;
    };
    Answer varnel(const std::string& words) const {
        const std::string command =
            "env HOME=" + (folder / "home") + " XDG_STATE_HOME=" + (folder / "state") +
            " XDG_RUNTIME_DIR= " VARNEL_BINARY_DIR "/varnel plugins --bundled-plugins " +
            (folder / "bundled") + " " + words + " >" + (folder / "out") + " 2>" + (folder / "err");
        int status = std::system(command.c_str());
        return {WEXITSTATUS(status), readFile(folder / "out"), readFile(folder / "err")};
    }

    TemporaryFolder folder;
    const std::string user = folder / "home/.config/varnel/plugins";
    const std::string answering =
        "#!/bin/sh\nread -r line\necho \"{\\\"success\\\":true,\\\"updatedDefaults\\\":$line}\"\n";
};

TEST_F(PluginsVerb, ListsWhatAScriptNeeds) {
    makePackage(folder / "bundled", "b", "core.b", answering);
    const std::string package = makePackage(user, "u", "mine", answering);
    Answer hash = varnel("hash " + package);
    EXPECT_EQ(varnel("list --json").out.substr(varnel("list --json").out.find("{\"id\":\"mine\"")),
              R"({"id":"mine","name":"Name of mine","version":"1.0","source":"user","path":")" + package +
                  R"(","hash":")" + hash.out.substr(0, 64) +
                  R"(","isTrusted":false,"isEnabled":true,"status":"untrusted","message":null}])"
                  "\n");
    auto all = readJSON(varnel("list --json").out);
    ASSERT_TRUE(all && all->array());
    EXPECT_EQ(all->array()->size(), 2u);
    EXPECT_EQ(*all->array()->at(0).find("status"), JSONValue("active"));
    EXPECT_NE(varnel("list").out.find("untrusted"), std::string::npos);
}

TEST_F(PluginsVerb, AnswersWithItsExitStatus) {
    makePackage(folder / "bundled", "b", "core.b", answering);
    makePackage(folder / "bundled", "twin", "mine", answering);
    const std::string package = makePackage(user, "u", "mine", answering);
    const std::string shell = makePackage(user, "s", "core.shell", answering);
    writeFile(user + "/bad/plugin.json", manifestText("bad", R"(,"name":" ")", "none"));
    writeFile(user + "/undecodable/plugin.json", "{");
    makePackage(user, "silent", "silent", "#!/bin/sh\nexit 4\n");
    const struct {
        std::string words;
        int status;
        std::string out, err; ///< how they begin
    } rows[] = {
        {"validate " + package, 0, "", ""},
        {"validate " + user + "/bad", 1,
         "The manifest must include a capability name.\nThe executable does not exist.\n", ""},
        {"validate " + user + "/undecodable", 2, "", "varnel: "},
        {"validate /nowhere", 2, "", "varnel: "},
        {"hash /nowhere", 2, "", "varnel: Plugin package could not be read: /nowhere"},
        {"hash /dev", 2, "", "varnel: Plugin package contains "},
        {"run mine go", 2, "", "varnel: several capabilities have the ID 'mine'"},
        {"run " + package + " go --json", 1, "{\"message\":", ""},
        {"run core.b go --params '{\"a\":1}' --settings '{\"s\":2}'", 0, "{\"success\":true,", ""},
        {"run core.b stop", 1,
         R"({"message":"The capability 'core.b' has no action 'stop'.","success":false})", ""},
        {"run core.b go --params '[1]'", 2, "", "varnel: --params: expected an object, found an array"},
        {"run core.b go --params '{'", 2, "", "varnel: --params: "},
        {"run nobody go", 2, "", "varnel: there is no capability 'nobody'"},
        {"trust nobody", 2, "", "varnel: there is no capability 'nobody'"},
        {"trust bad", 1, "", "varnel: An invalid capability cannot be trusted: "},
        {"trust " + shell, 1, "", "varnel: The capability would take the built-in ID 'core.shell'."},
        {"trust " + shell + " --built-in", 0, "core.shell", ""},
        {"trust silent", 0, "silent                  active", ""},
        {"run silent go", 1, R"({"message":"The plugin exited with an error.","success":false})", ""},
        {"disable silent", 0, "silent                  disabled", ""},
        {"enable silent", 0, "silent                  active", ""},
        {"untrust silent --json", 0, R"({"id":"silent")", ""},
        {"untrust core.b", 1, "", "varnel: Bundled capabilities are always trusted"},
        {"trust", 2, "", "varnel: usage: varnel plugins trust ID"},
        {"lst", 2, "", "varnel: plugins has no verb 'lst'; did you mean 'list'?"},
    };
    for (const auto& row : rows) {
        Answer answer = varnel(row.words);
        EXPECT_EQ(answer.status, row.status) << row.words << answer.err;
        EXPECT_TRUE(answer.out.starts_with(row.out)) << row.words << ": " << answer.out;
        EXPECT_TRUE(answer.err.starts_with(row.err)) << row.words << ": " << answer.err;
        EXPECT_EQ(answer.out.empty() && !row.out.empty(), false) << row.words;
    }
}

TEST_F(PluginsVerb, TakesSettingsFromTheConfiguration) {
    makePackage(folder / "bundled", "b", "core.b", answering);
    writeFile(folder / "c.json", R"({"items":[],"pluginSettings":{"core.b":{"vault":"x"}}})");
    auto given = [&](const std::string& options) {
        auto response = readJSON(varnel("run core.b go --config " + (folder / "c.json") + options).out);
        return response ? *response->find("updatedDefaults")->find("settings") : JSONValue("none");
    };
    EXPECT_EQ(given(""), JSONValue(JSONValue::Object{{"vault", "x"}}));
    EXPECT_EQ(given(" --settings '{\"own\":true}'"), JSONValue(JSONValue::Object{{"own", true}}));
}

} // namespace
} // namespace varnel
