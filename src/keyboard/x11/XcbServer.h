#pragma once

#include "keyboard/notation/x11/KeyboardDevices.h"
#include "keyboard/x11/KeyboardMap.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>

namespace varnel {

struct DisconnectFromServer {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

/// A connection with what a tap needs to know about the server at its other end.
struct XcbServer {
    std::unique_ptr<xcb_connection_t, DisconnectFromServer> connection;
    xcb_window_t root = XCB_NONE;
    xcb_window_t probe = XCB_NONE; ///< a window of ours that is never shown
    std::uint8_t minimumKey = 8;
    std::uint8_t maximumKey = 255;
    std::uint8_t inputOpcode = 0;      ///< of XInput
    std::uint8_t xkbFirstEvent = 0;    ///< 0: no XKB
    std::uint16_t keyboard = 0;        ///< the master keyboard
    std::uint16_t postingDevice = 0;   ///< where posted keys come from
    xcb_atom_t managerAtom = XCB_NONE; ///< the root's property that names the window manager

    /// Connects, checks that XInput 2.2 is there, and asks to be told when keys or the window manager change.
    /// The error is a sentence. Waits for the server a few times.
    static std::expected<XcbServer, std::string> connect(const std::string& display);

    [[nodiscard]] KeyboardMap loadMap() const;
    /// Whether another client holds the keyboard at this moment. Changes nothing.
    [[nodiscard]] bool isHeldByOther() const;
    /// Returns when the server has carried out everything that was asked of it.
    void waitForRequests() const;
    /// As far as the server has seen; waits for its answer.
    [[nodiscard]] bool isAnyKeyDown() const;
    /// What the keyboards that people touch say is down, whoever has grabbed them. Waits for the server.
    [[nodiscard]] std::optional<KeyboardDevices::KeySet> keysHeldByHand() const;
    /// Sets the locks of `mask` to what they are in `locks`.
    void setLocks(std::uint8_t mask, std::uint8_t locks) const;
};

} // namespace varnel
