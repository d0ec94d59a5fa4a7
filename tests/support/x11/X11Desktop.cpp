#include "tests/support/x11/X11Desktop.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include <poll.h>

namespace varnel::test {
namespace {

using Clock = std::chrono::steady_clock;

template <typename T>
using Owned = std::unique_ptr<T, decltype(&std::free)>;
template <typename T>
Owned<T> owned(T* value) {
    return Owned<T>(value, &std::free);
}

} // namespace

X11Client::X11Client(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_) != 0)
        throw std::runtime_error("no X server at " + display);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
}

X11Client::~X11Client() {
    xcb_disconnect(connection_);
}

void X11Client::sync() const {
    owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

std::set<int> X11Client::keysDown() const {
    const auto reply = owned(xcb_query_keymap_reply(connection_, xcb_query_keymap(connection_), nullptr));
    std::set<int> keys;
    for (int key = 0; reply && key < 256; ++key)
        if ((reply->keys[key / 8] >> (key % 8) & 1) != 0)
            keys.insert(key);
    return keys;
}

unsigned X11Client::modifiers() const {
    const auto reply =
        owned(xcb_query_pointer_reply(connection_, xcb_query_pointer(connection_, screen_->root), nullptr));
    return reply ? reply->mask & 0xFFu : 0;
}

void Typist::press(std::uint8_t key) {
    xcb_test_fake_input(connection(), XCB_KEY_PRESS, key, 0, XCB_NONE, 0, 0, 0);
    xcb_flush(connection());
}

void Typist::release(std::uint8_t key) {
    xcb_test_fake_input(connection(), XCB_KEY_RELEASE, key, 0, XCB_NONE, 0, 0, 0);
    xcb_flush(connection());
}

void Typist::tap(std::uint8_t key) {
    press(key);
    release(key);
}

void Typist::chord(std::uint8_t modifier, std::uint8_t key) {
    press(modifier);
    tap(key);
    release(modifier);
}

void Typist::click() {
    xcb_test_fake_input(connection(), XCB_BUTTON_PRESS, 1, 0, XCB_NONE, 0, 0, 0);
    xcb_test_fake_input(connection(), XCB_BUTTON_RELEASE, 1, 0, XCB_NONE, 0, 0, 0);
    xcb_flush(connection());
}

ProbeWindow::ProbeWindow(const std::string& display)
    : X11Client(display)
    , window_(xcb_generate_id(connection())) {
    const std::uint32_t values[] = {screen()->white_pixel, XCB_EVENT_MASK_KEY_PRESS |
                                                               XCB_EVENT_MASK_KEY_RELEASE |
                                                               XCB_EVENT_MASK_FOCUS_CHANGE};
    xcb_create_window(connection(), XCB_COPY_FROM_PARENT, window_, screen()->root, 20, 20, 300, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen()->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    const std::uint32_t hints[9] = {1, 1};
    xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS,
                        32, 9, hints);
    xcb_map_window(connection(), window_);
    focus();
    // The first keys that a new desktop sees are lost while the manager looks at its keyboard.
    for (int attempt = 0; attempt < 100; ++attempt) {
        for (const std::uint8_t type : {XCB_KEY_PRESS, XCB_KEY_RELEASE})
            xcb_test_fake_input(connection(), type, key::shift, 0, XCB_NONE, 0, 0, 0);
        xcb_flush(connection());
        if (readUntil([&] { return releases(key::shift) > 0; }, milliseconds(50)))
            break;
    }
    focus();
}

void ProbeWindow::focus() {
    // The manager gives a new window the focus in its own time: settled is what stays for a while.
    int settled = 0;
    for (int attempt = 0; attempt < 500 && settled < 5; ++attempt) {
        const auto attributes = owned(xcb_get_window_attributes_reply(
            connection(), xcb_get_window_attributes(connection(), window_), nullptr));
        const auto focus =
            owned(xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr));
        const bool isViewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        const bool isFocused = isViewable && focus && focus->focus == window_;
        settled = isFocused ? settled + 1 : 0;
        if (isViewable && !isFocused)
            xcb_set_input_focus(connection(), XCB_INPUT_FOCUS_PARENT, window_, XCB_CURRENT_TIME);
        xcb_flush(connection());
        ::usleep(6000);
    }
    forget();
}

void ProbeWindow::record(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7F;
    if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
        const auto& keyEvent = reinterpret_cast<const xcb_key_press_event_t&>(event);
        events_.push_back({keyEvent.detail, type == XCB_KEY_PRESS, keyEvent.state});
    }
    if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT)
        ++focusChanges;
}

void ProbeWindow::readAvailable() {
    while (const auto event = owned(xcb_poll_for_event(connection())))
        record(*event);
}

bool ProbeWindow::readUntil(const std::function<bool()>& isEnough, milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    while (true) {
        readAvailable();
        if (isEnough())
            return true;
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd source{xcb_get_file_descriptor(connection()), POLLIN, 0};
        ::poll(&source, 1, static_cast<int>(std::min<long>(left, 20)));
    }
}

void ProbeWindow::forget() {
    sync();
    readAvailable();
    events_.clear();
    focusChanges = 0;
}

int ProbeWindow::presses(std::uint8_t key) const {
    return static_cast<int>(std::count_if(events_.begin(), events_.end(),
                                          [&](const Event& e) { return e.key == key && e.isPress; }));
}

int ProbeWindow::releases(std::uint8_t key) const {
    return static_cast<int>(std::count_if(events_.begin(), events_.end(),
                                          [&](const Event& e) { return e.key == key && !e.isPress; }));
}

std::set<int> ProbeWindow::held() const {
    std::set<int> keys;
    for (const Event& event : events_) {
        if (event.isPress)
            keys.insert(event.key);
        else
            keys.erase(event.key);
    }
    return keys;
}

std::vector<int> ProbeWindow::pressedKeys() const {
    std::vector<int> keys;
    for (const Event& event : events_)
        if (event.isPress)
            keys.push_back(event.key);
    return keys;
}

X11Desktop::X11Desktop(const std::vector<std::string>& keyBindings) {
    char pattern[] = "/tmp/varnel-desktop-XXXXXX";
    if (::mkdtemp(pattern) == nullptr)
        throw std::runtime_error("no temporary folder");
    folder_ = pattern;
    // Standard output is the descriptor on which the server names its display.
    server_ = std::make_unique<ChildProcess>(std::vector<std::string>{
        "Xvfb", "-displayfd", "1", "-screen", "0", "640x480x24", "-ac", "-noreset", "-nolisten", "tcp"});
    const auto number = server_->readLine(std::chrono::seconds(20));
    if (!number)
        throw std::runtime_error("Xvfb does not start");
    display_ = ":" + *number;

    std::ofstream settings(folder_ + "/rc.xml");
    settings << R"(<?xml version="1.0"?><openbox_config xmlns="http://openbox.org/3.4/rc"><focus>)"
                R"(<focusNew>yes</focusNew></focus><keyboard>)";
    for (const std::string& binding : keyBindings)
        settings << "<keybind key=\"" << binding << "\"><action name=\"Execute\"><command>sh -c 'echo "
                 << binding << " &gt;&gt; " << folder_ << "/log'</command></action></keybind>";
    settings << "</keyboard></openbox_config>\n";
    settings.close();
    const std::string started = folder_ + "/started";
    manager_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"openbox", "--sm-disable", "--config-file", folder_ + "/rc.xml", "--startup",
                                 "touch " + started},
        std::vector<std::string>{"DISPLAY=" + display_, "XDG_CACHE_HOME=" + folder_});
    // It announces itself on the root window before it has grabbed its keys, and runs this afterwards.
    for (int attempt = 0; ::access(started.c_str(), F_OK) != 0; ++attempt) {
        if (attempt == 500)
            throw std::runtime_error("openbox does not start");
        ::usleep(10000);
    }
    // With the first key typed the server's keyboard is another one, and the manager grabs its keys again.
    Typist typist(display_);
    typist.tap(key::shift);
    typist.sync();
    ::usleep(100000);
}

X11Desktop::~X11Desktop() {
    manager_.reset();
    server_.reset();
    const ChildProcess remove({"rm", "-rf", folder_});
    ::usleep(20000);
}

std::vector<std::string> X11Desktop::managerLog() const {
    std::ifstream file(folder_ + "/log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

void X11Desktop::reconfigureManager() const {
    manager_->signal(SIGUSR2);
}

int X11Desktop::run(const std::vector<std::string>& command) const {
    ChildProcess process(command, {"DISPLAY=" + display_});
    return process.wait().value_or(-1);
}

} // namespace varnel::test
