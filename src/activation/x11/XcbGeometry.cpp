#include "activation/x11/XcbDesktop.h"
#include "activation/x11/XcbDesktopState.h"
#include "base/Localized.h"

#include <xcb/randr.h>

#include <algorithm>

namespace varnel {
namespace {

/// A window whose size hints keep it smaller never gets the place asked for.
constexpr std::chrono::milliseconds kDecorationPatience{150};

struct Edges {
    int left = 0, right = 0, top = 0, bottom = 0;
    friend bool operator==(const Edges&, const Edges&) = default;
};

Edges edgesFrom(const std::vector<std::uint32_t>& values) {
    if (values.size() < 4)
        return {};
    return {static_cast<int>(values[0]), static_cast<int>(values[1]), static_cast<int>(values[2]),
            static_cast<int>(values[3])};
}

Rectangle screenOf(const XcbConnection& connection) {
    xcb_connection_t* c = connection.get();
    XcbReply<xcb_get_geometry_reply_t> root(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, connection.root()), nullptr));
    return root ? Rectangle{0, 0, root->width, root->height} : Rectangle{};
}

std::vector<Rectangle> monitorsOf(const XcbConnection& connection, const Rectangle& screen) {
    xcb_connection_t* c = connection.get();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_randr_id);
    std::vector<Rectangle> result;
    if (extension && extension->present) {
        XcbReply<xcb_randr_query_version_reply_t> version(
            xcb_randr_query_version_reply(c, xcb_randr_query_version(c, 1, 5), nullptr));
        XcbReply<xcb_randr_get_monitors_reply_t> monitors;
        if (version && (version->major_version > 1 || version->minor_version >= 5))
            monitors.reset(
                xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, connection.root(), 1), nullptr));
        if (monitors)
            for (auto it = xcb_randr_get_monitors_monitors_iterator(monitors.get()); it.rem;
                 xcb_randr_monitor_info_next(&it)) {
                const Rectangle area{it.data->x, it.data->y, it.data->width, it.data->height};
                if (area.width > 0 && area.height > 0)
                    result.insert(it.data->primary ? result.begin() : result.end(), area);
            }
    }
    if (result.empty())
        result.push_back(screen);
    return result;
}

/// Strips kept free for panels; the older form without a stretch covers the whole edge.
std::vector<ScreenStrut> strutsOf(const XcbConnection& connection, const std::vector<DesktopWindow>& windows,
                                  const Rectangle& screen) {
    std::vector<std::pair<xcb_get_property_cookie_t, xcb_get_property_cookie_t>> asked;
    asked.reserve(windows.size());
    for (const DesktopWindow& window : windows)
        asked.emplace_back(connection.ask(window.id, connection.atom(XcbAtom::wmStrutPartial), 12),
                           connection.ask(window.id, connection.atom(XcbAtom::wmStrut), 4));
    std::vector<ScreenStrut> result;
    for (const auto& [partialCookie, wholeCookie] : asked) {
        std::vector<std::uint32_t> values = longs(wait(connection, partialCookie).get());
        const std::vector<std::uint32_t> whole = longs(wait(connection, wholeCookie).get());
        if (values.size() < 12 && whole.size() >= 4) {
            const auto width = static_cast<std::uint32_t>(screen.width);
            const auto height = static_cast<std::uint32_t>(screen.height);
            values = {whole[0], whole[1], whole[2], whole[3], 0, height, 0, height, 0, width, 0, width};
        }
        if (values.size() < 12)
            continue;
        using Edge = ScreenStrut::Edge;
        constexpr Edge kEdges[] = {Edge::left, Edge::right, Edge::top, Edge::bottom};
        for (std::size_t i = 0; i < 4; ++i)
            if (values[i] > 0)
                result.push_back({kEdges[i], static_cast<int>(values[i]), static_cast<int>(values[4 + 2 * i]),
                                  static_cast<int>(values[5 + 2 * i])});
    }
    return result;
}

/// The window's own drawing area in root coordinates; none when it is gone.
std::optional<Rectangle> clientArea(const XcbConnection& connection, WindowNumber window) {
    xcb_connection_t* c = connection.get();
    const auto sizeCookie = xcb_get_geometry(c, window);
    const auto placeCookie = xcb_translate_coordinates(c, window, connection.root(), 0, 0);
    xcb_generic_error_t* error = nullptr;
    XcbReply<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(c, sizeCookie, &error));
    std::free(error);
    error = nullptr;
    XcbReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(c, placeCookie, &error));
    std::free(error);
    if (!size || !place)
        return std::nullopt;
    return Rectangle{place->dst_x, place->dst_y, size->width, size->height};
}

/// What surrounds the drawing area: the manager's frame, less the invisible border that some programs draw.
Edges decorations(const XcbConnection& connection, WindowNumber window) {
    const auto frameCookie = connection.ask(window, connection.atom(XcbAtom::frameExtents), 4);
    const auto shadowCookie = connection.ask(window, connection.atom(XcbAtom::gtkFrameExtents), 4);
    const Edges frame = edgesFrom(longs(wait(connection, frameCookie).get()));
    const Edges shadow = edgesFrom(longs(wait(connection, shadowCookie).get()));
    return {frame.left - shadow.left, frame.right - shadow.right, frame.top - shadow.top,
            frame.bottom - shadow.bottom};
}

} // namespace

std::expected<WindowGeometry, WindowError> XcbDesktop::geometry(WindowNumber window) {
    const std::lock_guard lock(state_->mutex);
    State& state = *state_;
    state.update();
    const XcbConnection& connection = *state.connection;
    const std::optional<Rectangle> client = clientArea(connection, window);
    if (!client)
        return std::unexpected(state.gone());
    const Edges edges = decorations(connection, window);
    WindowGeometry result;
    result.frame = {client->x - edges.left, client->y - edges.top, client->width + edges.left + edges.right,
                    client->height + edges.top + edges.bottom};
    result.isMaximized = state.isMaximized(window);
    const Rectangle screen = screenOf(connection);
    const std::vector<ScreenStrut> struts = strutsOf(connection, state.cache.windows(), screen);
    for (const Rectangle& monitor : monitorsOf(connection, screen))
        result.displays.push_back(usableArea(monitor, screen, struts));
    return result;
}

bool XcbDesktop::State::isMaximized(WindowNumber window) {
    const std::set<xcb_atom_t> states = windowStates(window);
    return states.contains(atom(XcbAtom::wmStateMaximizedHorizontally)) &&
           states.contains(atom(XcbAtom::wmStateMaximizedVertically));
}

std::expected<void, WindowError> XcbDesktop::setMaximized(WindowNumber window, bool maximized) {
    State& state = *state_;
    {
        const std::lock_guard lock(state.mutex);
        state.update();
        if (!state.exists(window))
            return std::unexpected(state.gone());
        state.changeState(window, false, XcbAtom::wmStateFullscreen, XcbAtom::wmStateFullscreen);
        state.changeState(window, maximized, XcbAtom::wmStateMaximizedHorizontally,
                          XcbAtom::wmStateMaximizedVertically);
        xcb_flush(state.connection->get());
    }
    const auto isDone = [&] {
        const std::set<xcb_atom_t> states = state.windowStates(window);
        return states.contains(state.atom(XcbAtom::wmStateMaximizedHorizontally)) == maximized &&
               states.contains(state.atom(XcbAtom::wmStateMaximizedVertically)) == maximized &&
               !states.contains(state.atom(XcbAtom::wmStateFullscreen));
    };
    if (waitUntil(state.mutex, *state.connection, isDone))
        return {};
    return std::unexpected(WindowError{maximized
                                           ? localized("The window manager did not maximise the window.")
                                           : localized("The window manager kept the window maximised.")});
}

/// Asks the manager, or the server where there is none, for this place of the drawing area.
void XcbDesktop::State::place(WindowNumber window, const Rectangle& area) {
    const auto word = [](int value) { return static_cast<std::uint32_t>(value); };
    const std::uint32_t values[] = {word(area.x), word(area.y), word(area.width), word(area.height)};
    if (supports(XcbAtom::moveResizeWindow)) {
        // Gravity "static": the place is that of the drawing area, whatever frame surrounds it.
        constexpr std::uint32_t kStaticGravity = 10, kAllFour = 0xF << 8, kFromUser = 2 << 12;
        connection->tellManager(
            window, XcbAtom::moveResizeWindow,
            {kStaticGravity | kAllFour | kFromUser, values[0], values[1], values[2], values[3]});
    } else {
        xcb_configure_window(connection->get(), window,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             values);
    }
    sync();
}

std::expected<void, WindowError> XcbDesktop::setFrame(WindowNumber window, const Rectangle& frame) {
    State& state = *state_;
    const auto hasState = [&](XcbAtom which) {
        const std::lock_guard lock(state.mutex);
        return state.windowStates(window).contains(state.atom(which));
    };
    const bool changesDecorations = hasState(XcbAtom::wmStateMaximizedHorizontally) ||
                                    hasState(XcbAtom::wmStateMaximizedVertically) ||
                                    hasState(XcbAtom::wmStateFullscreen);
    if (auto normal = setMaximized(window, false); !normal)
        return normal;
    Edges edges;
    Rectangle area;
    const auto place = [&] {
        area = {frame.x + edges.left, frame.y + edges.top,
                std::max(1, frame.width - edges.left - edges.right),
                std::max(1, frame.height - edges.top - edges.bottom)};
        state.place(window, area);
    };
    {
        const std::lock_guard lock(state.mutex);
        edges = decorations(*state.connection, window);
        place();
    }
    if (!changesDecorations)
        return {};
    // The manager says that the window is not maximised before it says that it has borders again.
    waitUntil(
        state.mutex, *state.connection,
        [&] {
            if (const Edges now = decorations(*state.connection, window); now != edges) {
                edges = now;
                place();
            }
            return clientArea(*state.connection, window) == area;
        },
        kDecorationPatience);
    return {};
}

std::optional<Rectangle> XcbDesktop::rememberedFrame(WindowNumber window) {
    const std::lock_guard lock(state_->mutex);
    const std::vector<std::uint32_t> values =
        state_->readLongs(window, state_->atom(XcbAtom::rememberedFrame));
    if (values.size() != 4 || values[2] == 0 || values[3] == 0)
        return std::nullopt;
    return Rectangle{static_cast<int>(values[0]), static_cast<int>(values[1]), static_cast<int>(values[2]),
                     static_cast<int>(values[3])};
}

void XcbDesktop::rememberFrame(WindowNumber window, const std::optional<Rectangle>& frame) {
    const std::lock_guard lock(state_->mutex);
    xcb_connection_t* c = state_->connection->get();
    const xcb_atom_t property = state_->atom(XcbAtom::rememberedFrame);
    if (!frame) {
        xcb_delete_property(c, window, property);
    } else {
        const std::int32_t values[] = {frame->x, frame->y, frame->width, frame->height};
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, property, XCB_ATOM_CARDINAL, 32, 4, values);
    }
    state_->sync();
}

} // namespace varnel
