// A window of a Qt program with a menu bar, for live tests to send shortcuts to. Prints "active" once it has
// the focus, then what becomes of its menu and of ctrl+k. The window's title may be given.

#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <cstdio>

namespace {

void say(const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

class MenuWindow : public QMainWindow {
protected:
    void changeEvent(QEvent* event) override {
        if (event->type() == QEvent::ActivationChange && isActiveWindow() && !hasSaidSo_) {
            hasSaidSo_ = true;
            say("active");
        }
        QMainWindow::changeEvent(event);
    }

private:
    bool hasSaidSo_ = false;
};

} // namespace

int main(int count, char** arguments) {
    QApplication application(count, arguments);
    MenuWindow window;
    window.setWindowTitle(count > 1 ? arguments[1] : "Menu");
    QMenu* menu = window.menuBar()->addMenu("&File");
    QObject::connect(menu, &QMenu::aboutToShow, [] { say("menu opened"); });
    QObject::connect(menu, &QMenu::aboutToHide, [] { say("menu closed"); });
    menu->addAction("Keep", QKeySequence("Ctrl+K"), [] { say("ctrl+k"); });
    window.resize(300, 200);
    window.show();
    return application.exec();
}
