#include "activation/x11/XcbDesktop.h"

#include "activation/x11/XcbDesktopState.h"
#include "base/Localized.h"
#include "base/Text.h"

#include <poll.h>

#include <algorithm>

namespace varnel {
namespace {

constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;
constexpr std::uint32_t kFromUser = 2; // the source of a request: a pager or the like, acting for the user
constexpr int kPollMilliseconds = 4;

std::string fromLatin1(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            result += c;
        } else {
            result += static_cast<char>(0xC0 | byte >> 6);
            result += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return result;
}

std::string titleText(std::string_view utf8, std::string_view old) {
    if (!utf8.empty() && isValidUTF8(utf8))
        return std::string(utf8);
    return fromLatin1(utf8.empty() ? old : utf8);
}

} // namespace

std::expected<std::unique_ptr<XcbDesktop>, WindowError> XcbDesktop::connect(const std::string& display) {
    auto connection = XcbConnection::open(display);
    if (!connection)
        return std::unexpected(WindowError{localized("The X display cannot be reached.")});
    return std::unique_ptr<XcbDesktop>(new XcbDesktop(std::make_unique<State>(std::move(connection))));
}

XcbDesktop::XcbDesktop(std::unique_ptr<State> state)
    : state_(std::move(state)) {}
XcbDesktop::~XcbDesktop() = default;

Subscription XcbDesktop::attach(EventLoop& loop) {
    const auto watch = std::make_shared<Subscription>();
    State& state = *state_;
    const auto look = [&state, held = std::weak_ptr(watch)] {
        // Who has the lock looks at what has arrived before letting it go; the main thread never waits here.
        const std::unique_lock lock(state.mutex, std::try_to_lock);
        if (!lock)
            return;
        state.cache.handleArrived();
        state.cache.advance();
        if (!state.connection->isBroken())
            return;
        if (const auto broken = held.lock())
            broken->reset(); // a closed socket stays readable for ever
    };
    *watch = loop.watchReadable(xcb_get_file_descriptor(state.connection->get()), look);
    loop.post([look, held = std::weak_ptr(watch)] {
        if (!held.expired())
            look();
    });
    return Subscription([watch] { watch->reset(); });
}

void XcbDesktop::State::update() {
    cache.handleArrived();
    cache.complete();
}

bool XcbDesktop::State::supports(XcbAtom which) {
    if (!cache.hasManager())
        return false;
    if (!supported) {
        const std::vector<std::uint32_t> atoms = readLongs(connection->root(), atom(XcbAtom::supported));
        supported.emplace(atoms.begin(), atoms.end());
    }
    return supported->contains(atom(which));
}

bool XcbDesktop::State::exists(WindowNumber window) {
    xcb_connection_t* c = connection->get();
    xcb_generic_error_t* error = nullptr;
    XcbReply<xcb_get_geometry_reply_t> reply(xcb_get_geometry_reply(c, xcb_get_geometry(c, window), &error));
    std::free(error);
    return reply != nullptr;
}

std::vector<std::uint32_t> XcbDesktop::State::readLongs(WindowNumber window, xcb_atom_t property) {
    return longs(wait(*connection, connection->ask(window, property)).get());
}

std::set<xcb_atom_t> XcbDesktop::State::windowStates(WindowNumber window) {
    const std::vector<std::uint32_t> states = readLongs(window, atom(XcbAtom::wmState));
    return {states.begin(), states.end()};
}

bool XcbDesktop::State::isMinimized(WindowNumber window) {
    return windowStates(window).contains(atom(XcbAtom::wmStateHidden));
}

void XcbDesktop::State::sync() {
    xcb_connection_t* c = connection->get();
    XcbReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    cache.handleQueued();
}

std::uint32_t XcbDesktop::State::serverTime() {
    xcb_connection_t* c = connection->get();
    if (timeWindow == XCB_NONE) {
        timeWindow = xcb_generate_id(c);
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(c, 0, timeWindow, connection->root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    }
    // Appending nothing to a property is reported with the server's time.
    xcb_change_property(c, XCB_PROP_MODE_APPEND, timeWindow, atom(XcbAtom::timeProbe), XCB_ATOM_INTEGER, 32,
                        0, nullptr);
    XcbReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    std::uint32_t time = XCB_CURRENT_TIME;
    while (XcbReply<xcb_generic_event_t> event{xcb_poll_for_queued_event(c)}) {
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY && change.window == timeWindow)
            time = change.time;
        else
            cache.handle(*event);
    }
    return time;
}

void XcbDesktop::State::changeState(WindowNumber window, bool add, XcbAtom first, XcbAtom second) {
    connection->tellManager(window, XcbAtom::wmState,
                            {add ? 1u : 0u, atom(first), atom(second), kFromUser, 0});
}

WindowError XcbDesktop::State::gone() const {
    if (connection->isBroken())
        return {localized("The connection to the X server was lost.")};
    return {localized("The window no longer exists.")};
}

bool waitUntil(std::mutex& mutex, const XcbConnection& connection, const std::function<bool()>& condition,
               std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        {
            const std::lock_guard lock(mutex);
            if (condition())
                return true;
            if (connection.isBroken())
                return false;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        // Not under the lock. The main thread may read the event in our place, so the sleep is short.
        pollfd readable{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
        poll(&readable, 1, kPollMilliseconds);
    }
}

std::vector<DesktopWindow> XcbDesktop::clientWindows() {
    const std::lock_guard lock(state_->mutex);
    state_->update();
    return state_->cache.windows();
}

std::optional<WindowNumber> XcbDesktop::activeWindow() {
    const std::lock_guard lock(state_->mutex);
    state_->update();
    return state_->cache.active();
}

std::optional<DesktopWindow> XcbDesktop::frontWindow() {
    const std::lock_guard lock(state_->mutex);
    state_->update();
    const auto& windows = state_->cache.windows();
    const auto found = std::ranges::find(windows, state_->cache.active(), &DesktopWindow::id);
    if (found == windows.end())
        return std::nullopt;
    return *found;
}

std::optional<ProcessIdentifier> XcbDesktop::frontmostProcess() {
    const std::optional<DesktopWindow> window = frontWindow();
    if (!window || window->process == 0)
        return std::nullopt;
    return window->process;
}

std::expected<std::vector<RunningWindow>, WindowError> XcbDesktop::runningWindows() {
    const std::lock_guard lock(state_->mutex);
    State& state = *state_;
    state.update();
    struct Asked {
        xcb_get_property_cookie_t title, oldTitle, desktop, states;
    };
    std::vector<Asked> asked;
    const std::vector<DesktopWindow>& known = state.cache.windows();
    asked.reserve(known.size());
    const XcbConnection& c = *state.connection;
    for (const DesktopWindow& window : known)
        asked.push_back({c.ask(window.id, state.atom(XcbAtom::wmName)), c.ask(window.id, XCB_ATOM_WM_NAME),
                         c.ask(window.id, state.atom(XcbAtom::wmDesktop), 1),
                         c.ask(window.id, state.atom(XcbAtom::wmState), 64)});
    std::vector<RunningWindow> result;
    result.reserve(known.size());
    const std::optional<std::uint32_t> current = state.cache.currentDesktop();
    for (std::size_t i = 0; i < known.size(); ++i) {
        const auto title = wait(c, asked[i].title);
        const auto oldTitle = wait(c, asked[i].oldTitle);
        const auto desktop = wait(c, asked[i].desktop);
        const auto states = wait(c, asked[i].states);
        if (!title)
            continue; // closed meanwhile
        RunningWindow window;
        window.id = known[i].id;
        window.process = known[i].process;
        window.title = titleText(bytes(title.get()), bytes(oldTitle.get()));
        window.applicationName = window.applicationID = known[i].className;
        window.instanceName = known[i].instanceName;
        window.desktop = firstLong(desktop.get());
        if (window.desktop == kAllDesktops)
            window.desktop.reset();
        window.isOnCurrentDesktop = !window.desktop || !current || *window.desktop == *current;
        const std::vector<std::uint32_t> flags = longs(states.get());
        window.isMinimized = std::ranges::find(flags, state.atom(XcbAtom::wmStateHidden)) != flags.end();
        window.isActive = state.cache.active() == window.id;
        window.layer = known[i].layer;
        result.push_back(std::move(window));
    }
    if (state.connection->isBroken())
        return std::unexpected(state.gone());
    return result;
}

std::vector<OrderedWindow> XcbDesktop::windowsFrontToBack() {
    const std::lock_guard lock(state_->mutex);
    State& state = *state_;
    state.update();
    struct Asked {
        xcb_get_property_cookie_t desktop, states, owner;
    };
    const XcbConnection& c = *state.connection;
    const std::vector<DesktopWindow>& known = state.cache.windows();
    std::vector<Asked> asked;
    asked.reserve(known.size());
    for (const DesktopWindow& window : known)
        asked.push_back({c.ask(window.id, state.atom(XcbAtom::wmDesktop), 1),
                         c.ask(window.id, state.atom(XcbAtom::wmState), 64),
                         c.ask(window.id, XCB_ATOM_WM_TRANSIENT_FOR, 1)});
    std::vector<OrderedWindow> result;
    const std::uint32_t current = state.cache.currentDesktop().value_or(kAllDesktops);
    for (std::size_t i = 0; i < known.size(); ++i) {
        const auto desktopReply = wait(c, asked[i].desktop);
        const auto states = longs(wait(c, asked[i].states).get());
        const auto owner = firstLong(wait(c, asked[i].owner).get());
        const auto has = [&](XcbAtom flag) {
            return std::ranges::find(states, state.atom(flag)) != states.end();
        };
        const std::uint32_t desktop = firstLong(desktopReply.get()).value_or(kAllDesktops);
        const bool isElsewhere = desktop != kAllDesktops && current != kAllDesktops && desktop != current;
        if (!desktopReply || isElsewhere || has(XcbAtom::wmStateHidden))
            continue;
        OrderedWindow window{.number = known[i].id, .process = known[i].process, .layer = known[i].layer};
        // What is kept above the others covers the window in use without being in front of it.
        if (window.layer == 0 && has(XcbAtom::wmStateAbove) && state.cache.active() != window.number)
            window.layer = 3;
        window.owner = owner.value_or(0) == c.root() ? 0 : owner.value_or(0);
        result.push_back(window);
    }
    return result;
}

std::expected<void, WindowError> XcbDesktop::activate(WindowNumber window, Wait waiting,
                                                      std::uint32_t timestamp) {
    State& state = *state_;
    {
        const std::lock_guard lock(state.mutex);
        state.update();
        if (!state.exists(window))
            return std::unexpected(state.gone());
        xcb_connection_t* c = state.connection->get();
        if (timestamp == 0)
            timestamp = state.serverTime();
        if (state.cache.hasManager()) {
            const auto desktop = state.readLongs(window, state.atom(XcbAtom::wmDesktop));
            const std::optional<std::uint32_t> current = state.cache.currentDesktop();
            if (!desktop.empty() && desktop[0] != kAllDesktops && current && desktop[0] != *current)
                state.connection->tellManager(state.connection->root(), XcbAtom::currentDesktop,
                                              {desktop[0], timestamp, 0, 0, 0});
            state.connection->tellManager(window, XcbAtom::activeWindow, {kFromUser, timestamp, 0, 0, 0});
        } else {
            const std::uint32_t above = XCB_STACK_MODE_ABOVE;
            xcb_map_window(c, window);
            xcb_configure_window(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
            xcb_set_input_focus(c, XCB_INPUT_FOCUS_PARENT, window, timestamp);
        }
        xcb_flush(c);
    }
    if (waiting == Wait::no)
        return {};
    const bool done = waitUntil(state.mutex, *state.connection, [&] {
        state.update();
        const std::optional<WindowNumber> active = state.cache.active();
        if (active == window)
            return true;
        // A window that shows a modal dialog hands the keyboard on to it.
        return active &&
               firstLong(wait(*state.connection, state.connection->ask(*active, XCB_ATOM_WM_TRANSIENT_FOR, 1))
                             .get()) == window;
    });
    if (done)
        return {};
    const std::lock_guard lock(state.mutex);
    if (!state.exists(window))
        return std::unexpected(state.gone());
    return std::unexpected(
        WindowError{localized("The window manager did not bring the window to the front.")});
}

std::expected<void, WindowError> XcbDesktop::unminimize(WindowNumber window) {
    State& state = *state_;
    {
        const std::lock_guard lock(state.mutex);
        if (!state.exists(window))
            return std::unexpected(state.gone());
        if (!state.isMinimized(window))
            return {};
        xcb_map_window(state.connection->get(), window);
        xcb_flush(state.connection->get());
        // Some window managers show a window of another desktop only once it is activated.
        state.update();
        const auto desktop = state.readLongs(window, state.atom(XcbAtom::wmDesktop));
        const std::optional<std::uint32_t> current = state.cache.currentDesktop();
        if (current && !desktop.empty() && desktop[0] != kAllDesktops && desktop[0] != *current &&
            state.isMinimized(window))
            return std::unexpected(
                WindowError{localized("The window is on another desktop and has to be activated.")});
    }
    if (waitUntil(state.mutex, *state.connection, [&] { return !state.isMinimized(window); }))
        return {};
    return std::unexpected(
        WindowError{localized("The window manager did not take the window out of minimisation.")});
}

std::expected<void, WindowError> XcbDesktop::minimize(WindowNumber window) {
    State& state = *state_;
    constexpr std::uint32_t kIconic = 3;
    {
        const std::lock_guard lock(state.mutex);
        if (!state.exists(window))
            return std::unexpected(state.gone());
        state.connection->tellManager(window, XcbAtom::wmChangeState, {kIconic, 0, 0, 0, 0});
        xcb_flush(state.connection->get());
    }
    if (waitUntil(state.mutex, *state.connection, [&] { return state.isMinimized(window); }))
        return {};
    return std::unexpected(WindowError{localized("The window manager did not minimise the window.")});
}

std::expected<void, WindowError> XcbDesktop::raise(WindowNumber window) {
    const std::lock_guard lock(state_->mutex);
    State& state = *state_;
    state.update();
    if (!state.exists(window))
        return std::unexpected(state.gone());
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    if (state.supports(XcbAtom::restackWindow))
        state.connection->tellManager(window, XcbAtom::restackWindow, {kFromUser, XCB_NONE, above, 0, 0});
    else
        xcb_configure_window(state.connection->get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    state.sync();
    return {};
}

std::expected<bool, WindowError> XcbDesktop::isMinimized(WindowNumber window) {
    const std::lock_guard lock(state_->mutex);
    if (!state_->exists(window))
        return std::unexpected(state_->gone());
    return state_->isMinimized(window);
}

std::optional<std::uint32_t> XcbDesktop::currentDesktop() {
    const std::lock_guard lock(state_->mutex);
    state_->update();
    return state_->cache.currentDesktop();
}

bool XcbDesktop::exists(WindowNumber window) {
    const std::lock_guard lock(state_->mutex);
    return state_->exists(window);
}

} // namespace varnel
