#include "base/Log.h"
#include "commands/x11/XcbShortcutPosting.h"
#include "tests/support/XServer.h"

#include <benchmark/benchmark.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <chrono>
#include <cstdlib>
#include <future>

namespace varnel {
namespace {

using Clock = std::chrono::steady_clock;

class NoLog : public LogSink {
public:
    void write(LogLevel, std::string_view, std::string_view) override {}
};

/// A client with the focus that tells when the key k was pressed in it.
class Receiver {
public:
    explicit Receiver(const std::string& display)
        : connection_(xcb_connect(display.c_str(), nullptr)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        const xcb_window_t window = xcb_generate_id(connection_);
        const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(connection_, window);
        xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    }
    ~Receiver() { xcb_disconnect(connection_); }
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    Clock::time_point waitForK() {
        constexpr xcb_keycode_t k = 45;
        while (xcb_generic_event_t* event = xcb_wait_for_event(connection_)) {
            const auto now = Clock::now();
            const bool isK = (event->response_type & 0x7F) == XCB_KEY_PRESS &&
                             reinterpret_cast<const xcb_key_press_event_t*>(event)->detail == k;
            std::free(event);
            if (isK)
                return now;
        }
        return {};
    }
    void set(xcb_keycode_t key, bool isPress) {
        xcb_test_fake_input(connection_, isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, 0, XCB_NONE, 0, 0,
                            0);
        std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    }

private:
    xcb_connection_t* connection_;
};

/// From the start of the command to the key's event in the client; with and without a modifier held.
void shortcutDelivery(benchmark::State& state) {
    XServer server;
    Receiver receiver(server.display());
    NoLog log;
    XcbShortcutPosting posting({.displayName = server.display(), .frontmostProcess = {}}, log);
    const KeyboardShortcutPoster poster = [&](const auto& events, const auto& route) {
        return posting.post(events, route);
    };
    const FrontmostProcessProvider nobody = [] { return std::nullopt; };
    constexpr xcb_keycode_t shift = 50;
    if (state.range(0) != 0)
        receiver.set(shift, true);
    for (auto _ : state) {
        auto arrival = std::async(std::launch::async, [&] { return receiver.waitForK(); });
        KeyboardShortcutCommand command({"k", "cmd+shift+k", std::nullopt}, {poster, nobody, log});
        const auto start = Clock::now();
        benchmark::DoNotOptimize(command.execute());
        state.SetIterationTime(std::chrono::duration<double>(arrival.get() - start).count());
    }
    if (state.range(0) != 0)
        receiver.set(shift, false);
}
BENCHMARK(shortcutDelivery)->ArgName("held")->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace varnel
