#include "commands/linux/LinuxWorkspace.h"

#include "base/PosixFileSystem.h"
#include "base/Text.h"
#include "commands/ApplicationCommand.h"
#include "tests/commands/CommandDoubles.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace varnel {
namespace {

using Strings = std::vector<std::string>;

/// A home and a system of a few programs and entries below a temporary folder; nothing is really started.
struct Desktop {
    TemporaryFolder folder;
    PosixFileSystem files;
    ScriptedWindows windows;
    RecordingLog log;
    Strings starts; ///< program, arguments and folder of each, "@" for the temporary folder
    std::optional<ProgramStartError> startFailure;
    std::unique_ptr<LinuxWorkspace> workspace;

    Desktop() {
        for (const char* program :
             {"bin/xterm", "bin/tool", "bin/files", "bin/xdg-open", "bin/second", "bin/old-name"})
            folder.write(program, "#!/bin/sh\n", true);
        std::filesystem::create_symlink(folder.path("bin/xterm"), folder.path("bin/x-terminal-emulator"));
        std::filesystem::create_directories(folder.path("home"));
        entry("usr/applications/debian-xterm.desktop",
              "Name=XTerm\nExec=xterm\nCategories=System;TerminalEmulator;");
        entry("usr/applications/htop.desktop", "Name=Htop\nExec=tool --full\nTerminal=true\nPath=/");
        entry("usr/applications/org.example.Tool.desktop",
              "Name=The Tool\nExec=tool %U\nStartupWMClass=Toolwin");
        entry("usr/applications/files.desktop", "Name=Files\nExec=files --new %U\nMimeType=inode/directory;");
        entry("usr/applications/vendor/deep.desktop", "Name=Deep\nExec=second");
        entry("usr/applications/hidden.desktop", "Name=Hidden One\nExec=second");
        entry("usr/applications/absent.desktop", "Name=Absent\nExec=tool\nTryExec=not-there");
        entry("usr/applications/broken.desktop", "Name=Broken\nExec=not-there %U");
        entry("home/.local/share/applications/hidden.desktop", "Hidden=true\nName=Hidden One\nExec=second");
        workspace = std::make_unique<LinuxWorkspace>(LinuxWorkspace::Surroundings{
            .files = files,
            .windows = &windows,
            .environment = {"HOME=" + folder.path("home"), "PATH=relative:" + folder.path("bin"),
                            "XDG_DATA_DIRS=" + folder.path("usr"), "DESKTOP_STARTUP_ID=ours", "LANG=C"},
            .start = [this](const ProgramStart& start) -> std::expected<void, ProgramStartError> {
                if (startFailure)
                    return std::unexpected(*startFailure);
                starts.push_back(
                    shortened(start.program + ": " + join(start.arguments, " ") + " in " + start.folder));
                EXPECT_EQ(start.environment->size(), 4U); // without the notice of our own start
                return {};
            }});
    }
    void entry(const std::string& name, const std::string& lines) const {
        folder.write(name, "[Desktop Entry]\nType=Application\n" + lines + "\n");
    }
    [[nodiscard]] std::string shortened(std::string text) const {
        for (std::size_t at; (at = text.find(folder.path())) != std::string::npos;)
            text.replace(at, folder.path().size(), "@");
        return text;
    }
    [[nodiscard]] std::string expanded(const std::string& path) const {
        return path.starts_with('@') ? folder.path() + path.substr(1) : path;
    }
    std::optional<std::string> run(const std::string& path) {
        LinuxApplicationActivator activator(*workspace, files, log);
        const std::function<std::optional<std::string>(const FileURL&)> identifier =
            &LinuxWorkspace::identifier;
        return ApplicationCommand({"Item", expanded(path)}, {activator, identifier, log}).execute();
    }
};

TEST(LinuxWorkspace, FindsWhatAPathMeansHere) {
    struct Row {
        std::string path;
        std::string message; ///< after "Launched: "; empty when it fails
        std::string start;
    };
    const Row rows[] = {
        {"@/bin/tool", "tool", "@/bin/tool: @/bin/tool in @/home"},
        {"@/usr/applications/org.example.Tool.desktop", "org.example.Tool.desktop",
         "@/bin/tool: tool in @/home"},
        {"@/usr/applications/htop.desktop", "htop.desktop",
         "@/bin/x-terminal-emulator: x-terminal-emulator -e tool --full in /"},
        // names of macOS
        {"/Applications/The Tool.app", "The Tool.app", "@/bin/tool: tool in @/home"},
        {"/Applications/the tool.app/", "the tool.app", "@/bin/tool: tool in @/home"},
        {"/Applications/Tool.app", "Tool.app", "@/bin/tool: tool in @/home"},
        {"/Applications/Old Name.app", "Old Name.app", "@/bin/old-name: @/bin/old-name in @/home"},
        {"/System/Applications/Utilities/Terminal.app", "Terminal.app", "@/bin/xterm: xterm in @/home"},
        {"/System/Library/CoreServices/Finder.app", "Finder.app", "@/bin/files: files --new in @/home"},
        {"/Applications/Hidden One.app", "", ""},
        {"/Applications/Nowhere.app", "", ""},
        // identifiers, names of programs, the home folder
        {"/somewhere/else/org.example.Tool.desktop", "org.example.Tool.desktop",
         "@/bin/tool: tool in @/home"},
        {"org.example.Tool", "org.example.Tool", "@/bin/tool: tool in @/home"},
        {"vendor-deep.desktop", "vendor-deep.desktop", "@/bin/second: second in @/home"},
        {"hidden.desktop", "", ""},
        {"second", "second", "@/bin/second: @/bin/second in @/home"},
        {"~/run", "run", "@/home/run: @/home/run in @/home"},
        {"~/missing", "", ""},
        {"no such program", "", ""},
        // documents, folders, links
        {"@/home", "home", "@/bin/files: files --new @/home in @/home"},
        {"@/note.txt", "note.txt", "@/bin/xdg-open: xdg-open @/note.txt in @/home"},
        {"https://example.org/", "example.org", "@/bin/xdg-open: xdg-open https://example.org/ in @/home"},
        // what cannot be
        {"@/script", "", ""},
        {"@/pipe", "", ""},
        {"@/plain.desktop", "", ""},
        {"@/usr/applications/absent.desktop", "", ""},
        {"@/usr/applications/broken.desktop", "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        Desktop desktop;
        desktop.folder.write("home/run", "#!/bin/sh\n", true);
        desktop.folder.write("note.txt", "hello");
        desktop.folder.write("script", "#!/bin/sh\n");
        desktop.folder.write("plain.desktop", "no entry");
        ASSERT_EQ(::mkfifo(desktop.folder.path("pipe").c_str(), 0755), 0);
        EXPECT_EQ(desktop.run(row.path),
                  row.start.empty() ? "Failed to launch application: Item" : "Launched: " + row.message);
        EXPECT_EQ(desktop.starts, row.start.empty() ? Strings{} : Strings{row.start});
    }
}

TEST(LinuxWorkspace, TellsWhyNothingStarted) {
    Desktop desktop;
    desktop.startFailure = ProgramStartError{"execute", desktop.folder.path("bin/tool"), ENOENT};
    EXPECT_EQ(desktop.run("@/bin/tool"), "Failed to launch application: Item");
    const Strings lines = desktop.log.take();
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::string& line) {
        return line.ends_with("bin/tool: No such file or directory") && line.contains("error: ");
    }));
    desktop.startFailure.reset();
    EXPECT_EQ(desktop.run("@/bin/tool"), "Launched: tool");
}

TEST(LinuxWorkspace, PrefersTheUsersChoiceForAPart) {
    Desktop desktop;
    desktop.entry("usr/applications/zz-manager.desktop",
                  "Name=Other\nExec=second %f\nMimeType=inode/directory;");
    desktop.folder.write("home/.config/mimeapps.list", "[Added Associations]\ninode/directory=files.desktop\n"
                                                       "[Default Applications]\n"
                                                       "inode/directory=gone.desktop;zz-manager.desktop\n");
    EXPECT_EQ(desktop.run("/Finder.app"), "Launched: Finder.app");
    EXPECT_EQ(desktop.run("@/home"), "Launched: home");
    EXPECT_EQ(desktop.starts,
              (Strings{"@/bin/second: second in @/home", "@/bin/second: second @/home in @/home"}));
}

TEST(LinuxWorkspace, BringsForwardWhatRunsAlready) {
    const int ourselves = ::getpid();
    struct Row {
        std::string name, path;
        std::vector<ApplicationWindow> windows;
        std::vector<WindowNumber> activated;
        bool starts = false;
    };
    const Row rows[] = {
        {"class of the entry", "org.example.Tool", {{1, 0, "x", "Other"}, {2, 0, "y", "toolWIN"}}, {2}},
        {"name of the program counts less than the class",
         "org.example.Tool",
         {{1, 0, "tool", "Tool"}},
         {},
         true},
        {"name of the program", "@/bin/second", {{4, 0, "Second", "x"}, {5, 0, "second", "x"}}, {4}},
        {"entry by its program", "vendor-deep", {{1, 0, "", ""}, {6, 0, "", "Second"}}, {6}},
        {"through a link", "/Terminal.app", {{7, 0, "xterm", "XTerm"}}, {7}},
        {"program in a terminal",
         "htop.desktop",
         {{7, 0, "tool", "XTerm"}, {8, 0, "x-terminal-emulator", ""}},
         {},
         true},
        {"process that runs the file", "@/bin/self", {{8, 1, "a", "b"}, {9, ourselves, "a", "b"}}, {9}},
        {"nothing known", "@/bin/second", {{9, ourselves, "", ""}}, {}, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Desktop desktop;
        std::filesystem::create_symlink("/proc/self/exe", desktop.folder.path("bin/self"));
        desktop.windows.list = row.windows;
        EXPECT_TRUE(desktop.run(row.path)->starts_with("Launched: "));
        EXPECT_EQ(desktop.windows.activated, row.activated);
        EXPECT_EQ(desktop.starts.size(), row.starts ? 1U : 0U);
    }

    Desktop desktop;
    desktop.windows.list = {{4, 0, "second", "x"}};
    desktop.windows.refuses = true;
    EXPECT_EQ(desktop.run("@/bin/second"), "Launched: second");
    EXPECT_EQ(desktop.starts.size(), 1U); // the window was gone
}

} // namespace
} // namespace varnel
