#include "app/QtEventLoop.h"
#include "app/TrayIcon.h"
#include "cli/CommandLine.h"
#include "cli/RunOptions.h"
#include "cli/StandardStreams.h"
#include "cli/Verbs.h"

#include <QApplication>

#include <csignal>
#include <memory>

using namespace varnel;

int main(int argc, char** argv) {
    keepStandardStreamsClosed();
    std::signal(SIGPIPE, SIG_IGN);
    Console console;
    std::vector<std::string> words(argv + 1, argv + argc);
    auto call = parseCall(*findVerb("run"), words);
    if (!call) {
        console.complain(call.error().message);
        return ExitStatus::failed;
    }
    QApplication qt(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Varnel"));
    QApplication::setQuitOnLastWindowClosed(false);
    QtEventLoop loop;
    return runApplication(loop, applicationOptions(*call), console,
                          [](Application& application) -> std::shared_ptr<void> {
                              if (!QSystemTrayIcon::isSystemTrayAvailable())
                                  return nullptr;
                              return std::make_shared<TrayIcon>(application);
                          });
}
