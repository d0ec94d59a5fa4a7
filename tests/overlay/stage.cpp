// The hint window alone, told line by line on standard input what to show. Answers each line with one of its
// own.
//   show SCENE [THEME [TEXTSIZE [POSITION]]]   page TURNS   time FRACTION   hide   quit
//   cycle COUNT MILLISECONDS                   shows and hides COUNT times, each state as long as that
//   wallpaper                                  puts something pleasant behind everything
//   model                                      answers what the window says, then one line a row, then "."
//   label KEYCODE                              answers what that position types in the user's layout
//   geometry                                   answers "X Y WIDTH HEIGHT" of the window

#include "Scenes.h"
#include "app/QtEventLoop.h"
#include "overlay/ApplicationIcons.h"
#include "overlay/SuggestionOverlayWidget.h"

#include <QApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QScreen>

#include <algorithm>
#include <iostream>
#include <sstream>

using namespace varnel;

namespace {

/// A full-screen picture that nobody manages.
class Wallpaper : public QWidget {
public:
    Wallpaper()
        : QWidget(nullptr, Qt::X11BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus) {
        setGeometry(QGuiApplication::primaryScreen()->geometry());
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QLinearGradient sky(0, 0, width() / 3.0, height());
        sky.setColorAt(0, QColor(78, 112, 150));
        sky.setColorAt(1, QColor(206, 176, 150));
        QPainter(this).fillRect(rect(), sky);
    }
};

class Stage {
public:
    explicit Stage(QtEventLoop& loop)
        : loop_(loop)
        , surroundings_(makeOverlaySurroundings(loop))
        , icons_(loop, [this] { widget_.iconsChanged(); })
        , widget_(*surroundings_, [this](const std::string& path) { return icons_.icon(path); })
        , input_(loop.watchReadable(0, [this] { readLine(); })) {
        widget_.prepare(appearance_);
        answer("ready");
    }

private:
    static void answer(const std::string& text) { std::cout << text << std::endl; }

    void readLine() {
        std::string line;
        if (!std::getline(std::cin, line) || line == "quit")
            return loop_.quit();
        std::istringstream words(line);
        std::string verb;
        words >> verb;
        if (verb == "show")
            show(words);
        else if (verb == "page")
            words >> state_.pageTurns, present();
        else if (verb == "time")
            moveBar(words);
        else if (verb == "hide")
            widget_.hide();
        else if (verb == "wallpaper")
            wallpaper_.show();
        else if (verb == "model")
            return answerModel();
        else if (verb == "label")
            return answerLabel(words);
        else if (verb == "cycle")
            return beginCycle(words);
        else if (verb == "geometry")
            return answer(std::to_string(widget_.x()) + " " + std::to_string(widget_.y()) + " " +
                          std::to_string(widget_.width()) + " " + std::to_string(widget_.height()));
        answer("ok");
    }

    void show(std::istream& words) {
        std::string name, theme = "dark", position = "center";
        int size = kOverlayTextSize.defaultValue;
        words >> name >> theme >> size >> position;
        state_ = test::scene(name);
        appearance_.theme = theme == "light" ? OverlayTheme::light : OverlayTheme::dark;
        appearance_.textSize = size;
        const auto* found = std::ranges::find(overlayWords::kPosition, position);
        appearance_.position = static_cast<OverlayPosition>(found - std::begin(overlayWords::kPosition));
        present();
    }

    void present() { widget_.show(state_, appearance_); }

    void answerModel() const {
        answer(spokenText(state_));
        for (const SuggestionRow& row : state_.rows)
            answer(spokenText(row));
        answer(".");
    }

    void answerLabel(std::istream& words) const {
        KeyCode code = 0;
        words >> code;
        answer(surroundings_->keyLabel(code).value_or("-") +
               (surroundings_->blendsWindows() ? " blended" : "") +
               (surroundings_->prefersLessMotion() ? " still" : ""));
    }

    void moveBar(std::istream& words) {
        double fraction = 1;
        words >> fraction;
        widget_.setTimeLeft(fraction);
    }

    void beginCycle(std::istream& words) {
        int milliseconds = 40;
        words >> cyclesLeft_ >> milliseconds;
        turn(std::chrono::milliseconds(milliseconds));
    }

    void turn(Duration time) {
        if (widget_.isVisible()) {
            widget_.hide();
            --cyclesLeft_;
        } else {
            present();
        }
        if (cyclesLeft_ <= 0)
            return answer("ok");
        timer_ = loop_.after(time, [this, time] { turn(time); });
    }

    QtEventLoop& loop_;
    std::unique_ptr<OverlaySurroundings> surroundings_;
    ApplicationIcons icons_;
    SuggestionOverlayWidget widget_;
    Wallpaper wallpaper_;
    OverlayAppearance appearance_;
    SuggestionOverlayState state_;
    int cyclesLeft_ = 0;
    Subscription input_, timer_;
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QtEventLoop loop;
    Stage stage(loop);
    loop.run();
}
