// What a window of ours does with the clipboard, as a program: `copy` puts the item that it reads from
// standard input there, says "copied" and stays until its input ends; `paste` prints the item that it finds.

#include "app/QtClipboard.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <string>
#include <unistd.h>

using namespace varnel;

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QtClipboard clipboard(*QGuiApplication::clipboard());
    if (std::string(argv[1]) == "paste") {
        const auto item = itemOnClipboard(clipboard);
        std::printf("%s", item ? encodeItem(*item)->c_str() : describe(item.error()).c_str());
        return item ? 0 : 1;
    }
    std::string text;
    for (char c = 0; read(0, &c, 1) == 1 && c != '\0';)
        text += c;
    const auto item = decodeItem(text);
    if (!item || !clipboard.write(*item))
        return 2;
    std::puts("copied");
    std::fflush(stdout);
    QSocketNotifier end(0, QSocketNotifier::Read);
    QObject::connect(&end, &QSocketNotifier::activated, &application, &QGuiApplication::quit);
    return QGuiApplication::exec();
}
