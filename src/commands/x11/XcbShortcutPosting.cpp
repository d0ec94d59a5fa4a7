#include "commands/x11/XcbShortcutPosting.h"

#include "commands/x11/XcbTyping.h"

#include <algorithm>
#include <cstdlib>

namespace varnel {

namespace {

/// The bits of an X event's state for our modifiers.
std::uint16_t stateOf(KeyFlags flags) {
    std::uint16_t state = 0;
    if (flags & kShiftFlag)
        state |= XCB_MOD_MASK_SHIFT;
    if (flags & kControlFlag)
        state |= XCB_MOD_MASK_CONTROL;
    if (flags & kAlternateFlag)
        state |= XCB_MOD_MASK_1;
    if (flags & kCommandFlag)
        state |= XCB_MOD_MASK_4;
    return state;
}

} // namespace

struct XcbShortcutPosting::State {
    Surroundings surroundings;
    LogSink& log;
    XcbTyping typing;
    HidPostingTable hid;

    State(Surroundings given, LogSink& sink)
        : surroundings(std::move(given))
        , log(sink)
        , typing(surroundings.displayName, surroundings.ledger)
        , hid(typing.table()) {}

    bool fail(const std::string& why) {
        log.write(LogLevel::error, kShortcutLog, why);
        return false;
    }

    /// The topmost window of a process; 0 when it has none.
    WindowNumber windowOf(std::int32_t process) {
        if (!surroundings.windows)
            return 0;
        const auto windows = surroundings.windows->windows();
        const auto window = std::ranges::find(windows, process, &ApplicationWindow::process);
        return window == windows.end() ? 0 : window->id;
    }

    bool send(const std::vector<KeyboardShortcutEvent>& events, WindowNumber window) {
        if (!typing.connect() || !typing.readModifiers())
            return fail("keyboard server unavailable");
        std::vector<xcb_key_press_event_t> made;
        KeyFlags before = 0;
        for (const KeyboardShortcutEvent& event : events) {
            const xcb_keycode_t key = typing.xKeyCode(event.keyCode);
            if (key == 0)
                return fail("no key for keyCode=" + std::to_string(event.keyCode));
            xcb_key_press_event_t record{};
            record.response_type = event.isKeyDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE;
            record.detail = key;
            record.root = typing.root();
            record.event = window;
            record.same_screen = 1;
            record.state = stateOf(before);
            made.push_back(record);
            before = event.flags;
        }
        std::vector<xcb_void_cookie_t> sent;
        sent.reserve(made.size());
        for (const xcb_key_press_event_t& record : made)
            sent.push_back(xcb_send_event_checked(
                typing.connection(), 1, window,
                record.response_type == XCB_KEY_PRESS ? XCB_EVENT_MASK_KEY_PRESS : XCB_EVENT_MASK_KEY_RELEASE,
                reinterpret_cast<const char*>(&record)));
        bool hasArrived = !xcb_connection_has_error(typing.connection());
        for (const xcb_void_cookie_t cookie : sent) {
            xcb_generic_error_t* error = xcb_request_check(typing.connection(), cookie);
            hasArrived = hasArrived && !error;
            std::free(error);
        }
        return hasArrived || fail("window of the process is gone");
    }
};

XcbShortcutPosting::XcbShortcutPosting(Surroundings surroundings, LogSink& log)
    : state_(std::make_unique<State>(std::move(surroundings), log)) {}
XcbShortcutPosting::~XcbShortcutPosting() = default;

bool XcbShortcutPosting::post(const std::vector<KeyboardShortcutEvent>& events,
                              const KeyboardShortcutDeliveryRoute& route) {
    const auto* local = std::get_if<LocalRoute>(&route);
    // The keyboard is the only way that every toolkit listens to.
    if (!local || state_->surroundings.frontmostProcess() == local->process)
        return postThroughHid(state_->hid, events, state_->log);
    const WindowNumber window = state_->windowOf(local->process);
    if (window == 0)
        return state_->fail("no window of process=" + std::to_string(local->process));
    return state_->send(events, window);
}

void XcbShortcutPosting::waitForRelease() {
    state_->typing.waitForRelease();
}

} // namespace varnel
