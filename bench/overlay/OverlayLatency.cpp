// Time from the request to show hints until their pixels are in the screen's memory.
//   overlay_latency FRAMEBUFFER SCENE SAMPLES
// FRAMEBUFFER is the file of an Xvfb that runs with -fbdir. Prints one time in milliseconds a line; the first
// line is the first appearance in this process.

#include "app/QtEventLoop.h"
#include "overlay/OverlayColors.h"
#include "overlay/SuggestionOverlayWidget.h"
#include "tests/overlay/Scenes.h"

#include <QApplication>
#include <QEventLoop>
#include <QScreen>
#include <QTimer>

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace varnel;

namespace {

/// The screen's memory, as the server maps it into a file of the X window dump format.
class FrameBuffer {
public:
    explicit FrameBuffer(const char* path) {
        const int file = open(path, O_RDONLY | O_CLOEXEC);
        struct stat facts {};
        if (file < 0 || fstat(file, &facts) != 0)
            std::exit(2);
        bytes_ = static_cast<const std::uint8_t*>(
            mmap(nullptr, static_cast<std::size_t>(facts.st_size), PROT_READ, MAP_SHARED, file, 0));
        close(file);
        pixels_ = bytes_ + word(0) + word(19) * 12; // the header, then the colours
        lineLength_ = word(12);
    }
    [[nodiscard]] std::uint32_t pixel(int x, int y) const {
        const auto* place = reinterpret_cast<const volatile std::uint32_t*>(
                                pixels_ + static_cast<std::size_t>(y) * lineLength_) +
                            x;
        return *place & 0xFFFFFF;
    }

private:
    [[nodiscard]] std::uint32_t word(std::size_t index) const {
        return ntohl(reinterpret_cast<const std::uint32_t*>(bytes_)[index]);
    }
    const std::uint8_t* bytes_ = nullptr;
    const std::uint8_t* pixels_ = nullptr;
    std::uint32_t lineLength_ = 0;
};

void turnLoop(int milliseconds) {
    QEventLoop waiting;
    QTimer::singleShot(milliseconds, &waiting, &QEventLoop::quit);
    waiting.exec();
}

class Measurement {
public:
    Measurement(const FrameBuffer& screen, SuggestionOverlayWidget& widget)
        : screen_(screen)
        , widget_(widget) {}

    /// In milliseconds; negative when the pixels did not come within a second.
    double appearance(const SuggestionOverlayState& state, const OverlayAppearance& look) {
        const OverlayColor ground = overlayColors(true).background;
        const std::uint32_t expected =
            static_cast<std::uint32_t>(ground.red << 16 | ground.green << 8 | ground.blue);
        using Clock = std::chrono::steady_clock;
        std::atomic<bool> isReady = false;
        Clock::time_point begin, end;
        QEventLoop waiting;
        std::thread observer([&] {
            isReady = true;
            const auto limit = Clock::now() + 1s;
            while (screen_.pixel(x_, y_) != expected && Clock::now() < limit)
                usleep(20);
            end = Clock::now();
            QMetaObject::invokeMethod(&waiting, &QEventLoop::quit, Qt::QueuedConnection);
        });
        while (!isReady)
            usleep(20);
        begin = Clock::now();
        widget_.show(state, look);
        waiting.exec();
        observer.join();
        const auto time = std::chrono::duration<double, std::milli>(end - begin).count();
        return time < 1000 ? time : -1;
    }
    /// Watches a place near the lower edge, where every state of this size has its ground.
    void watch(QPoint place) { x_ = place.x(), y_ = place.y(); }

private:
    const FrameBuffer& screen_;
    SuggestionOverlayWidget& widget_;
    int x_ = 0, y_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    const FrameBuffer screen(argv[1]);
    SuggestionOverlayState state = test::scene(argv[2]);
    QApplication application(argc, argv);
    QtEventLoop loop;
    const auto surroundings = makeOverlaySurroundings(loop);
    SuggestionOverlayWidget widget(*surroundings, {});
    OverlayAppearance look;
    look.theme = OverlayTheme::dark;
    widget.prepare(look);
    turnLoop(50);

    // In the middle of the screen lies the middle of the window: a few pixels below its upper edge is ground.
    const OverlayStyle style(look.textSize);
    const QSize room = QGuiApplication::primaryScreen()->availableGeometry().size();
    const OverlayPicture picture(state, style, {room.width() * 92 / 100, room.height() * 92 / 100}, true);
    Measurement measurement(screen, widget);
    measurement.watch(
        QPoint(room.width() / 2, (room.height() + picture.size().height()) / 2 - style.padding / 3));
    for (int i = std::atoi(argv[3]); i > 0; --i) {
        for (SuggestionRow& row : state.rows) { // no two appearances are alike
            row.name[row.name.size() - 2] = static_cast<char>('a' + i / 26 % 26);
            row.name.back() = static_cast<char>('a' + i % 26);
        }
        std::printf("%.3f\n", measurement.appearance(state, look));
        turnLoop(20);
        widget.hide();
        turnLoop(20);
    }
}
