#include "commands/linux/LinuxWorkspace.h"

#include "base/Text.h"
#include "base/UniqueFd.h"
#include "commands/DesktopEntryFolders.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <variant>

namespace varnel {

namespace {

using Result = std::expected<void, std::string>;
using Kind = FileSystem::Info::Kind;

std::unexpected<std::string> failure(std::string reason) {
    return std::unexpected(std::move(reason));
}

/// An application by its entry or by its program's path.
using Application = std::variant<DesktopEntry, std::string>;

/// What an application of macOS is for, where every desktop has one of its kind.
struct Role {
    std::string_view name;        ///< of the application there, in lower case
    std::string_view mimeType;    ///< whose default application plays the part; may be empty
    std::string_view alternative; ///< the program that the system's administrator has chosen; may be empty
    std::string_view category;
};
constexpr std::array kRoles{
    Role{"terminal", "", "x-terminal-emulator", "TerminalEmulator"},
    Role{"iterm", "", "x-terminal-emulator", "TerminalEmulator"},
    Role{"finder", "inode/directory", "", "FileManager"},
    Role{"safari", "x-scheme-handler/https", "x-www-browser", "WebBrowser"},
    Role{"mail", "x-scheme-handler/mailto", "", "Email"},
    Role{"textedit", "text/plain", "", "TextEditor"},
    Role{"calculator", "", "", "Calculator"},
};

constexpr const char* kRootFolder = "/";
constexpr std::string_view kEntrySuffix = ".desktop";
constexpr std::string_view kBundleSuffix = ".app";

std::string_view withoutSuffix(std::string_view text, std::string_view suffix) {
    return text.ends_with(suffix) ? text.substr(0, text.size() - suffix.size()) : text;
}

bool isURL(std::string_view text) {
    const std::size_t colon = text.find("://");
    constexpr auto isSchemeLetter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
               c == '-' || c == '.';
    };
    return colon != std::string_view::npos && colon > 0 &&
           std::ranges::all_of(text.substr(0, colon), isSchemeLetter);
}

/// Whether a file that is not executable was meant to be: a script or a program.
bool looksLikeProgram(const std::string& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, 4> start{};
    const ssize_t size = file ? ::read(file.get(), start.data(), start.size()) : -1;
    const std::string_view text(start.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    return text.starts_with("#!") || text == "\x7f"
                                             "ELF";
}

/// A file, whatever it is called.
struct FileIdentity {
    std::uint64_t device = 0, inode = 0;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};
constexpr std::size_t kMostProgramsKept = 1024;

/// How the windows of an application are known.
struct Identity {
    std::vector<std::string> names; ///< a part of their WM_CLASS, in lower case
    std::string program;            ///< the file that their process runs; empty: not known
};

} // namespace

struct LinuxWorkspace::State {
    FileSystem& files;
    RunningApplicationWindows* windows;
    std::vector<std::string> environment;
    /// Without what belongs to our own start.
    std::shared_ptr<const std::vector<std::string>> programEnvironment;
    ProgramStarter start;
    DesktopEntryFolders folders;
    std::map<std::pair<WindowNumber, ProcessIdentifier>, std::optional<FileIdentity>> programs;

    explicit State(Surroundings surroundings)
        : files(surroundings.files)
        , windows(surroundings.windows)
        , environment(std::move(surroundings.environment))
        , start(std::move(surroundings.start))
        , folders(files, environment) {
        std::vector<std::string> inherited = environment;
        std::erase_if(inherited, [](const std::string& variable) {
            return variable.starts_with("DESKTOP_STARTUP_ID=") ||
                   variable.starts_with("XDG_ACTIVATION_TOKEN=");
        });
        programEnvironment = std::make_shared<const std::vector<std::string>>(std::move(inherited));
    }

    Result open(const FileURL& url) {
        const auto info = files.info(url.path);
        if (!info)
            return openByName(url);
        switch (info->kind) {
        case Kind::folder:
            return openFolder(url.path);
        case Kind::file:
            break;
        default:
            return failure(url.path + " is neither a file nor a folder");
        }
        if (url.path.ends_with(kEntrySuffix)) {
            const std::optional<DesktopEntry> entry = folders.read(url.path);
            return entry ? launch(*entry) : failure(url.path + " is no desktop entry of an application");
        }
        return isExecutable(*info) ? launchProgram(url.path) : openDocument(url.path);
    }

    Result openByName(const FileURL& url) {
        const std::string& written = url.writtenPath;
        if (written.starts_with("~/")) {
            const std::string path = appendPath(environmentValue(environment, "HOME"), written.substr(2));
            if (path.starts_with('/'))
                return open(FileURL::fromPath(path));
        }
        if (isURL(written))
            return openWithDesktop(written);
        const std::string name = url.lastPathComponent();
        if (name.ends_with(kBundleSuffix))
            return openApplication(findNamed(withoutSuffix(name, kBundleSuffix)), name);
        if (!written.contains('/')) {
            if (std::optional<std::string> program = findProgram(written))
                return launchProgram(*program);
            if (std::optional<DesktopEntry> entry = folders.entryWithIdentifier(written))
                return launch(*entry);
            return openApplication(findNamed(written), written);
        }
        return failure(url.path + " does not exist");
    }

    Result openApplication(const std::optional<Application>& application, const std::string& name) {
        if (!application)
            return failure("no application " + name + " is installed");
        if (const auto* entry = std::get_if<DesktopEntry>(&*application))
            return launch(*entry);
        return launchProgram(std::get<std::string>(*application));
    }

    Result openFolder(const std::string& path) {
        const std::optional<DesktopEntry> manager = folders.entryForType("inode/directory");
        return manager ? launch(*manager, {path})
                       : failure("nothing is installed that opens the folder " + path);
    }

    Result openDocument(const std::string& path) {
        if (looksLikeProgram(path))
            return failure(path + " may not be executed");
        return openWithDesktop(path);
    }

    // Finding applications

    std::optional<Application> findNamed(std::string_view name) {
        const std::string lower = lowercased(name);
        const auto role = std::ranges::find(kRoles, lower, &Role::name);
        if (role != kRoles.end())
            if (std::optional<Application> chosen = findChosen(*role))
                return chosen;
        if (std::optional<DesktopEntry> entry = folders.entryNamed(name))
            return *entry;
        std::string program = lower;
        std::ranges::replace(program, ' ', '-');
        if (std::optional<std::string> path = findProgram(program))
            return *path;
        if (role != kRoles.end())
            if (std::optional<DesktopEntry> entry = folders.firstEntry([&](const DesktopEntry& candidate) {
                    return std::ranges::find(candidate.categories, role->category) !=
                               candidate.categories.end() &&
                           isInstalled(candidate);
                }))
                return *entry;
        return std::nullopt;
    }

    /// What the user or the administrator has chosen for this part.
    std::optional<Application> findChosen(const Role& role) {
        if (!role.mimeType.empty())
            if (std::optional<DesktopEntry> entry = folders.entryForType(role.mimeType))
                return *entry;
        const std::optional<std::string> program =
            role.alternative.empty() ? std::nullopt : findProgram(role.alternative);
        if (!program)
            return std::nullopt;
        const std::optional<DesktopEntry> entry = folders.firstEntry([&](const DesktopEntry& candidate) {
            const auto words = commandLine(candidate);
            const auto path = words ? findProgram(words->front()) : std::nullopt;
            return path && words->size() == 1 && isSameFile(*path, *program);
        });
        return entry ? Application(*entry) : Application(*program);
    }

    bool isInstalled(const DesktopEntry& entry) {
        const auto words = commandLine(entry);
        return words && findProgram(words->front()) && (entry.tryExec.empty() || findProgram(entry.tryExec));
    }

    static bool isExecutable(const FileSystem::Info& info) {
        return info.kind == Kind::file && (info.mode & 0111) != 0;
    }

    std::optional<std::string> findProgram(std::string_view name) {
        const auto check = [&](const std::string& path) {
            const auto info = files.info(path);
            return info && isExecutable(*info);
        };
        if (name.contains('/'))
            return check(std::string(name)) ? std::optional(std::string(name)) : std::nullopt;
        const std::string_view path = environmentValue(environment, "PATH");
        for (const std::string_view folder : split(path.empty() ? "/usr/local/bin:/usr/bin:/bin" : path, ':'))
            if (std::string program = appendPath(folder, name); folder.starts_with('/') && check(program))
                return program;
        return std::nullopt;
    }

    std::optional<FileIdentity> fileAt(const std::string& path) {
        const auto info = files.info(path);
        return info ? std::optional(FileIdentity{info->device, info->inode}) : std::nullopt;
    }

    bool isSameFile(const std::string& a, const std::string& b) {
        const auto first = fileAt(a);
        return first && first == fileAt(b);
    }

    /// The file that the process of a window runs. Asked once for each window, since it is needed at every
    /// launch.
    std::optional<FileIdentity> programOf(const ApplicationWindow& window) {
        if (window.process <= 0)
            return std::nullopt;
        if (programs.size() > kMostProgramsKept)
            programs.clear();
        const auto [known, isNew] = programs.try_emplace({window.id, window.process});
        if (isNew)
            known->second = fileAt("/proc/" + std::to_string(window.process) + "/exe");
        return known->second;
    }

    // Starting and bringing forward

    Result launch(const DesktopEntry& entry, const std::vector<std::string>& documents = {}) {
        if (!entry.tryExec.empty() && !findProgram(entry.tryExec))
            return failure(entry.tryExec + " is not installed");
        auto words = commandLine(entry, documents);
        if (!words)
            return failure(entry.path + ": " + words.error());
        const std::optional<std::string> program = findProgram(words->front());
        if (!program)
            return failure(words->front() + " is no program that can be run");
        if (documents.empty() && bringForward(identityOf(entry, *words, *program)))
            return {};
        if (entry.needsTerminal)
            return startInTerminal(std::move(*words), entry.workingFolder);
        return startProgram(*program, std::move(*words), entry.workingFolder);
    }

    Result launchProgram(const std::string& path) {
        if (bringForward({.names = {lowercased(lastPathComponent(path))}, .program = path}))
            return {};
        return startProgram(path, {path});
    }

    Result startInTerminal(std::vector<std::string> words, const std::string& folder) {
        for (const char* terminal : {"x-terminal-emulator", "xterm"}) {
            const std::optional<std::string> program = findProgram(terminal);
            if (!program)
                continue;
            words.insert(words.begin(), {terminal, "-e"});
            return startProgram(*program, std::move(words), folder);
        }
        return failure("no terminal is installed");
    }

    /// Leaves it to the desktop which application that is.
    Result openWithDesktop(const std::string& document) {
        const std::optional<std::string> opener = findProgram("xdg-open");
        return opener ? startProgram(*opener, {"xdg-open", document})
                      : failure("xdg-open, which opens documents, is not installed");
    }

    Result startProgram(const std::string& program, std::vector<std::string> arguments,
                        std::string folder = {}) {
        if (folder.empty())
            folder = environmentValue(environment, "HOME");
        if (folder.empty())
            folder = kRootFolder;
        ProgramStart plan{.program = program,
                          .arguments = std::move(arguments),
                          .environment = programEnvironment,
                          .folder = std::move(folder)};
        auto started = start(plan);
        if (!started && started.error().path == plan.folder && plan.folder != kRootFolder) {
            plan.folder = kRootFolder; // a home or working folder that is not there keeps nobody waiting
            started = start(plan);
        }
        return started ? Result() : failure(describe(started.error()));
    }

    /// A program that is given arguments of its own may be only the vehicle of the application (an
    /// interpreter, a terminal, a browser with one page): its other windows do not count then.
    Identity identityOf(const DesktopEntry& entry, const std::vector<std::string>& words,
                        const std::string& program) {
        if (!entry.startupClass.empty())
            return {.names = {lowercased(entry.startupClass)}, .program = {}};
        const std::string identifier = lowercased(withoutSuffix(lastPathComponent(entry.path), kEntrySuffix));
        Identity identity{.names = {identifier, identifier.substr(identifier.rfind('.') + 1)}, .program = {}};
        if (words.size() == 1 && !entry.needsTerminal) {
            identity.names.push_back(lowercased(lastPathComponent(program)));
            identity.program = program;
        }
        return identity;
    }

    bool bringForward(const Identity& identity) {
        if (!windows)
            return false;
        const auto isOurs = [&](const std::string& part) {
            return !part.empty() &&
                   std::ranges::find(identity.names, lowercased(part)) != identity.names.end();
        };
        const auto program = identity.program.empty() ? std::nullopt : fileAt(identity.program);
        const auto runsProgram = [&](const ApplicationWindow& window) {
            return program && programOf(window) == program;
        };
        for (const ApplicationWindow& window : windows->windows())
            if (isOurs(window.instanceName) || isOurs(window.className) || runsProgram(window))
                return windows->activate(window.id);
        return false;
    }
};

LinuxWorkspace::LinuxWorkspace(Surroundings surroundings)
    : state_(std::make_unique<State>(std::move(surroundings))) {}
LinuxWorkspace::~LinuxWorkspace() = default;

std::expected<void, std::string> LinuxWorkspace::open(const FileURL& url) {
    return state_->open(url);
}

std::optional<FileURL> LinuxWorkspace::applicationURL(const std::string& identifier) {
    const std::optional<DesktopEntry> entry = state_->folders.entryWithIdentifier(identifier);
    return entry ? std::optional(FileURL::fromPath(entry->path)) : std::nullopt;
}

std::optional<std::string> LinuxWorkspace::identifier(const FileURL& url) {
    const std::string name = url.lastPathComponent();
    return name.ends_with(kEntrySuffix) ? std::optional(std::string(withoutSuffix(name, kEntrySuffix)))
                                        : std::nullopt;
}

WorkspaceTable LinuxWorkspace::table() {
    return {
        .openURL = [this](const FileURL& url) { return open(url).has_value(); },
        .applicationURL = [this](const std::string& identifier) { return applicationURL(identifier); },
        .openApplication =
            [this](const FileURL& url, const OpenConfiguration&, const OpenCompletion& completion) {
                const auto opened = open(url);
                completion({.hasApplication = opened.has_value(),
                            .error = opened ? std::nullopt : std::optional(opened.error())});
            },
        .bundleIdentifier = [](const FileURL& url) { return identifier(url); },
        .frontmostProcessIdentifier = [] { return std::nullopt; },
    };
}

LinuxApplicationActivator::LinuxApplicationActivator(LinuxWorkspace& workspace, FileSystem& files,
                                                     LogSink& log)
    : launcher_(workspace.table())
    , coordinator_(launcher_, files, log) {
    launcher_.openURL = [&workspace, &log](const FileURL& url) {
        const auto opened = workspace.open(url);
        if (!opened)
            log.write(LogLevel::error, kActivationLog, "open.direct.error=" + opened.error());
        return opened.has_value();
    };
    launcher_.openApplicationRequest = [this, request = launcher_.openApplicationRequest,
                                        &log](const FileURL& url, const OpenConfiguration& configuration,
                                              const OpenCompletion& completion) {
        request(url, configuration, [&](const OpenOutcome& outcome) {
            hasFailed_ = !outcome.hasApplication;
            if (outcome.error)
                log.write(LogLevel::error, kActivationLog, "open.workspace.error=" + *outcome.error);
            completion(outcome);
        });
    };
}

bool LinuxApplicationActivator::open(const FileURL& application) {
    hasFailed_ = false;
    return coordinator_.open(application) && !hasFailed_;
}

std::optional<FileURL> LinuxApplicationActivator::applicationURL(const std::string& bundleIdentifier) {
    return coordinator_.applicationURL(bundleIdentifier);
}

} // namespace varnel
