#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
/// A reply, an error or an event of the server.
template <typename T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;

/// The atoms in use; their names stand in the same order in XcbConnection.cpp.
enum class XcbAtom : std::size_t {
    clientListStacking,
    clientList,
    activeWindow,
    currentDesktop,
    supported,
    supportingWmCheck,
    workArea,
    wmName,
    wmPid,
    wmDesktop,
    wmState,
    wmStateHidden,
    wmStateAbove,
    wmStateMaximizedHorizontally,
    wmStateMaximizedVertically,
    wmStateFullscreen,
    wmWindowType,
    typeNormal,
    typeDialog,
    typeDesktop,
    typeDock,
    typeUtility,
    typeToolbar,
    typeMenu,
    wmStrut,
    wmStrutPartial,
    frameExtents,
    gtkFrameExtents,
    restackWindow,
    moveResizeWindow,
    utf8String,
    wmChangeState,
    rememberedFrame,
    timeProbe,
    count,
};

/// A connection, its root window and its atoms. Not thread-safe: the owner serialises.
class XcbConnection {
public:
    /// None when the display cannot be reached.
    static std::unique_ptr<XcbConnection> open(const std::string& display);
    ~XcbConnection();
    XcbConnection(const XcbConnection&) = delete;
    XcbConnection& operator=(const XcbConnection&) = delete;

    [[nodiscard]] xcb_connection_t* get() const { return connection_; }
    [[nodiscard]] xcb_window_t root() const { return root_; }
    [[nodiscard]] xcb_atom_t atom(XcbAtom which) const { return atoms_[static_cast<std::size_t>(which)]; }
    [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(connection_) != 0; }

    /// Sends the request alone; the answer is taken with `take` or `property`.
    [[nodiscard]] xcb_get_property_cookie_t ask(xcb_window_t window, xcb_atom_t property,
                                                std::uint32_t longs = 1024) const;
    /// A client message to the root window, for the window manager.
    void tellManager(xcb_window_t window, XcbAtom type, const std::array<std::uint32_t, 5>& data) const;

private:
    XcbConnection(xcb_connection_t* connection, xcb_window_t root)
        : connection_(connection)
        , root_(root) {}
    void internAtoms();

    xcb_connection_t* connection_;
    xcb_window_t root_;
    std::array<xcb_atom_t, static_cast<std::size_t>(XcbAtom::count)> atoms_{};
};

/// Waits for the reply of a property request; null when the window is gone.
XcbReply<xcb_get_property_reply_t> wait(const XcbConnection& connection, xcb_get_property_cookie_t cookie);
/// The items of a 32-bit property; empty for a null or foreign reply.
std::vector<std::uint32_t> longs(const xcb_get_property_reply_t* reply);
std::optional<std::uint32_t> firstLong(const xcb_get_property_reply_t* reply);
/// The bytes of an 8-bit property.
std::string_view bytes(const xcb_get_property_reply_t* reply);

} // namespace varnel
