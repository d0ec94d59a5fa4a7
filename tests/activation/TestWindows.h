#pragma once

#include "activation/x11/XcbConnection.h"

#include <array>
#include <string>
#include <vector>

namespace varnel {

/// A window that a test program shows.
struct TestWindow {
    std::string title;
    std::string className = "Tester";
    int count = 1;
    const char* type = nullptr; ///< "_NET_WM_WINDOW_TYPE_DOCK"
    bool tellsProcess = false;  ///< sets _NET_WM_PID, to 4242
    std::string machine = {};   ///< WM_CLIENT_MACHINE
    bool isDialogOfFirst = false;
    bool takesNoFocus = false; ///< refuses the keyboard
};

/// Shows the windows and waits to be killed; for a process of its own.
inline void showWindows(const std::string& display, const std::vector<TestWindow>& windows) {
    const auto connection = XcbConnection::open(display);
    if (!connection)
        return;
    xcb_connection_t* c = connection->get();
    const auto atom = [&](const std::string& name) {
        XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(name.size()), name.c_str()), nullptr));
        return reply->atom;
    };
    const auto text = [&](xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                          const std::string& value) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(value.size()), value.data());
    };
    const auto word = [&](xcb_window_t window, xcb_atom_t property, xcb_atom_t type, std::uint32_t value) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, property, type, 32, 1, &value);
    };
    xcb_window_t first = 0;
    for (const TestWindow& each : windows)
        for (int i = 0; i < each.count; ++i) {
            const xcb_window_t window = xcb_generate_id(c);
            xcb_create_window(c, XCB_COPY_FROM_PARENT, window, connection->root(), 40, 40, 300, 200, 0,
                              XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
            const std::string suffix = each.count > 1 ? " " + std::to_string(i) : "";
            text(window, connection->atom(XcbAtom::wmName), connection->atom(XcbAtom::utf8String),
                 each.title + suffix);
            text(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                 "tester" + std::string(1, '\0') + each.className + std::string(1, '\0'));
            if (each.type)
                word(window, connection->atom(XcbAtom::wmWindowType), XCB_ATOM_ATOM, atom(each.type));
            if (each.tellsProcess)
                word(window, connection->atom(XcbAtom::wmPid), XCB_ATOM_CARDINAL, 4242);
            if (!each.machine.empty())
                text(window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, each.machine);
            if (each.isDialogOfFirst)
                word(window, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, first);
            const std::uint32_t hints[9] = {1, each.takesNoFocus ? 0u : 1u}; // the input field alone
            xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32, 9,
                                hints);
            if (!first)
                first = window;
            xcb_map_window(c, window);
        }
    xcb_flush(c);
    while (XcbReply<xcb_generic_event_t> event{xcb_wait_for_event(c)}) {
    }
}

} // namespace varnel
