#pragma once

#include "tests/support/x11/ChildProcess.h"

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace varnel::test {

using std::chrono::microseconds;
using std::chrono::milliseconds;

/// Keys by their place on the keyboard.
namespace key {
inline constexpr std::uint8_t escape = 9, q = 24, w = 25, e = 26, r = 27, t = 28, ctrl = 37, a = 38, s = 39,
                              f = 41, g = 42, h = 43, j = 44, k = 45, l = 46, shift = 50, x = 53, c = 54,
                              v = 55, b = 56, alt = 64, space = 65, capsLock = 66, numLock = 77, f12 = 96,
                              super = 133;
}

/// A connection of a test's own.
class X11Client {
public:
    explicit X11Client(const std::string& display);
    ~X11Client();
    X11Client(const X11Client&) = delete;
    X11Client& operator=(const X11Client&) = delete;

    [[nodiscard]] xcb_connection_t* connection() const { return connection_; }
    [[nodiscard]] xcb_screen_t* screen() const { return screen_; }
    /// Waits until the server has carried out everything asked for.
    void sync() const;
    /// The keys that the server holds to be down.
    [[nodiscard]] std::set<int> keysDown() const;
    /// The locks and modifiers in force.
    [[nodiscard]] unsigned modifiers() const;

private:
    xcb_connection_t* connection_;
    xcb_screen_t* screen_;
};

/// Types as a keyboard does.
class Typist : public X11Client {
public:
    using X11Client::X11Client;
    void press(std::uint8_t key);
    void release(std::uint8_t key);
    void tap(std::uint8_t key);
    /// A chord: the modifier held around a tap.
    void chord(std::uint8_t modifier, std::uint8_t key);
    void click();
};

/// A window in front that writes down every key event that it gets.
class ProbeWindow : public X11Client {
public:
    struct Event {
        std::uint8_t key;
        bool isPress;
        std::uint16_t state;
    };

    explicit ProbeWindow(const std::string& display);

    /// Reads what comes until `isEnough` is true; false when that takes too long.
    bool readUntil(const std::function<bool()>& isEnough, milliseconds patience = std::chrono::seconds(5));
    void readAvailable();
    void forget();
    void focus();

    [[nodiscard]] const std::vector<Event>& events() const { return events_; }
    [[nodiscard]] int presses(std::uint8_t key) const;
    [[nodiscard]] int releases(std::uint8_t key) const;
    /// Keys that this window must believe to be held.
    [[nodiscard]] std::set<int> held() const;
    /// Everything pressed, as text: "x 37".
    [[nodiscard]] std::vector<int> pressedKeys() const;
    int focusChanges = 0;

private:
    void record(const xcb_generic_event_t& event);

    xcb_window_t window_;
    std::vector<Event> events_;
};

/// A server with a window manager; both end with this value.
class X11Desktop {
public:
    /// `keyBindings` are the window manager's own, in its notation, each answered by a line in
    /// `managerLog()`.
    explicit X11Desktop(const std::vector<std::string>& keyBindings = {});
    ~X11Desktop();

    [[nodiscard]] const std::string& display() const { return display_; }
    [[nodiscard]] ChildProcess& server() { return *server_; }
    [[nodiscard]] std::vector<std::string> managerLog() const;
    void reconfigureManager() const;
    /// Runs a program on this display to its end; its exit status.
    [[nodiscard]] int run(const std::vector<std::string>& command) const;

private:
    std::string folder_;
    std::string display_;
    std::unique_ptr<ChildProcess> server_, manager_;
};

} // namespace varnel::test
