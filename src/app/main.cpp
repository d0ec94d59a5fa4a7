#include "app/QtEventLoop.h"
#include "app/Shell.h"
#include "base/Localization.h"
#include "cli/CommandLine.h"
#include "cli/RunOptions.h"
#include "cli/StandardStreams.h"
#include "cli/Verbs.h"
#include "runtime/ControlClient.h"
#include "runtime/ProgramLocation.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QTranslator>

#include <csignal>
#include <memory>
#include <thread>

using namespace varnel;

namespace {

/// Has the application that runs on this display come forward. False: there is none, or it has no windows.
bool bringForwardRunning(const RuntimePaths& paths) {
    const auto answer = sendControlRequest(paths, {{"verb", "show"}, {"display", paths.display}});
    if (!answer)
        return false;
    const auto success = answer->find("success");
    return success != answer->end() && success->second.boolean() && *success->second.boolean();
}

/// The same for one that is only just starting.
bool bringForwardStarting(const RuntimePaths& paths) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (bringForwardRunning(paths))
            return true;
        std::this_thread::sleep_for(50ms);
    }
    return false;
}

/// Qt's own buttons and dialogs in the language that ours speak; the direction of the layout comes with them.
void translateQt(QApplication& qt) {
    const QString language = QString::fromStdString(spokenLanguage());
    auto* texts = new QTranslator(&qt);
    if (texts->load(QStringLiteral("qtbase_") + language, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(texts);
}

} // namespace

int main(int argc, char** argv) {
    keepStandardStreamsClosed();
    std::signal(SIGPIPE, SIG_IGN);
    speakUsersLanguage(programFolder());
    Console console;
    std::vector<std::string> words(argv + 1, argv + argc);
    auto call = parseCall(*findVerb("run"), words);
    if (!call) {
        console.complain(call.error().message);
        return ExitStatus::failed;
    }
    ApplicationOptions options = applicationOptions(*call);
    const RuntimePaths paths = options.paths;
    if (bringForwardRunning(paths))
        return ExitStatus::fine;
    QApplication qt(argc, argv);
    translateQt(qt);
    QApplication::setApplicationName(QStringLiteral("Varnel"));
    QApplication::setDesktopFileName(QStringLiteral("varnel"));
    QApplication::setQuitOnLastWindowClosed(false);
    QtEventLoop loop;
    return runApplication(
        loop, std::move(options), console,
        [&loop](Application& application) -> std::shared_ptr<void> {
            return std::make_shared<Shell>(loop, application, makeShellSystem(loop, application));
        },
        [&paths] { return bringForwardStarting(paths); });
}
