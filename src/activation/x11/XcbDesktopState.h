#pragma once

#include "activation/x11/ClientWindowCache.h"
#include "activation/x11/XcbConnection.h"
#include "activation/x11/XcbDesktop.h"

#include <functional>
#include <mutex>
#include <set>

namespace varnel {

/// Behind `XcbDesktop`: everything that its lock guards. Functions expect the lock to be held.
struct XcbDesktop::State {
    explicit State(std::unique_ptr<XcbConnection> opened)
        : connection(std::move(opened))
        , cache(*connection) {}

    std::mutex mutex;
    std::unique_ptr<XcbConnection> connection;
    ClientWindowCache cache;
    std::optional<std::set<xcb_atom_t>> supported; ///< what the window manager says it does
    xcb_window_t timeWindow = XCB_NONE;

    /// Brings the cache up to date; without a round trip when nothing has changed.
    void update();
    [[nodiscard]] xcb_atom_t atom(XcbAtom which) const { return connection->atom(which); }
    [[nodiscard]] bool supports(XcbAtom which);
    [[nodiscard]] bool exists(WindowNumber window);
    [[nodiscard]] std::vector<std::uint32_t> readLongs(WindowNumber window, xcb_atom_t property);
    [[nodiscard]] std::set<xcb_atom_t> windowStates(WindowNumber window);
    [[nodiscard]] bool isMinimized(WindowNumber window);
    [[nodiscard]] bool isMaximized(WindowNumber window);
    [[nodiscard]] std::uint32_t serverTime();
    void sync();
    /// Asks the window manager to add or remove up to two states.
    void changeState(WindowNumber window, bool add, XcbAtom first, XcbAtom second);
    void place(WindowNumber window, const Rectangle& area);
    [[nodiscard]] WindowError gone() const;
};

/// Asks `condition` again, with the lock held each time, until it holds or `patience` has passed.
bool waitUntil(std::mutex& mutex, const XcbConnection& connection, const std::function<bool()>& condition,
               std::chrono::milliseconds patience = XcbDesktop::kPatience);

} // namespace varnel
