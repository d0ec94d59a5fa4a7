#include "commands/DesktopEntry.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

using Strings = std::vector<std::string>;

DesktopEntry entryWith(const std::string& exec) {
    const auto entry =
        parseDesktopEntry("[Desktop Entry]\nType=Application\nName=My App\nIcon=my-icon\nExec=" + exec + "\n",
                          "/apps/my.desktop");
    return entry.value();
}

TEST(DesktopEntry, ReadsTheGroupOfTheApplicationOnly) {
    const auto entry = parseDesktopEntry("\xEF\xBB\xBF# made by hand\r\n"
                                         "[Desktop Entry]\r\n"
                                         "Name [de] = Anderer\r\n"
                                         "Name = Two\\sWords\r\n"
                                         "Type=Application\r\n"
                                         "Exec=tool --a\r\n"
                                         "Path=/srv/data\r\n"
                                         "Terminal=true\r\n"
                                         "Categories=System;TerminalEmulator;\r\n"
                                         "StartupWMClass=Tool\r\n"
                                         "[Desktop Action new]\r\n"
                                         "Name=New Window\r\n"
                                         "Exec=other\r\n",
                                         "/a/tool.desktop");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "Two Words");
    EXPECT_EQ(entry->exec, "tool --a");
    EXPECT_EQ(entry->workingFolder, "/srv/data");
    EXPECT_EQ(entry->categories, (Strings{"System", "TerminalEmulator"}));
    EXPECT_EQ(entry->startupClass, "Tool");
    EXPECT_TRUE(entry->needsTerminal);
    EXPECT_FALSE(entry->isHidden);

    for (const char* other : {"", "Type=Application\nExec=a\n", "[Desktop Entry]\nType=Link\nURL=x\n",
                              "[Other]\nType=Application\n", "[Desktop Entry]\nExec=a\n", "\xff\xfe\0["})
        EXPECT_FALSE(parseDesktopEntry(other, "/a")) << other;
}

TEST(DesktopEntry, MakesTheCommandLine) {
    struct Row {
        std::string exec;
        Strings files;
        Strings words; ///< empty: refused
    };
    const Row rows[] = {
        {"tool", {}, {"tool"}},
        {"  tool \t a   b ", {}, {"tool", "a", "b"}},
        {R"(tool "two words" "")", {}, {"tool", "two words", ""}},
        {R"("/opt/My Tool/run" x)", {}, {"/opt/My Tool/run", "x"}},
        // in the file a backslash is written twice, and a dollar in quotes needs one before it
        {R"(tool "a\\$b\\"c\\\\d\\`")", {}, {"tool", "a$b\"c\\d`"}},
        {R"(sh -c 'echo "hi" $HOME')", {}, {"sh", "-c", "echo \"hi\" $HOME"}},
        {R"(tool a\\ b)", {}, {"tool", "a b"}},
        {R"(tool\sa)", {}, {"tool", "a"}},
        {"tool %U --x", {}, {"tool", "--x"}},
        {"tool %u", {"f1", "f2"}, {"tool", "f1"}},
        {"tool %F -z", {"f 1", "f2"}, {"tool", "f 1", "f2", "-z"}},
        {"tool --file=%f", {"x"}, {"tool", "--file=x"}},
        {"tool --file=%f", {}, {"tool", "--file="}},
        {"tool", {"f"}, {"tool", "f"}},
        {"tool %i %c %k", {}, {"tool", "--icon", "my-icon", "My App", "/apps/my.desktop"}},
        {"tool %d %D %n %N %v %m 50%%", {}, {"tool", "50%"}},
        {"tool %z", {}, {}},
        {"tool 100%", {}, {}},
        {"tool \"open", {}, {}},
        {"tool 'open", {}, {}},
        {"", {}, {}},
        {"%f", {}, {}},
        {"\"\" a", {}, {}},
    };
    for (const Row& row : rows) {
        const auto words = commandLine(entryWith(row.exec), row.files);
        EXPECT_EQ(words.value_or(Strings{}), row.words) << row.exec;
    }
}

} // namespace
} // namespace varnel
