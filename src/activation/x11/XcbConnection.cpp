#include "activation/x11/XcbConnection.h"

#include <iterator>

namespace varnel {
namespace {

constexpr std::string_view kAtomNames[] = {
    "_NET_CLIENT_LIST_STACKING",
    "_NET_CLIENT_LIST",
    "_NET_ACTIVE_WINDOW",
    "_NET_CURRENT_DESKTOP",
    "_NET_SUPPORTED",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_WORKAREA",
    "_NET_WM_NAME",
    "_NET_WM_PID",
    "_NET_WM_DESKTOP",
    "_NET_WM_STATE",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_ABOVE",
    "_NET_WM_STATE_MAXIMIZED_HORZ",
    "_NET_WM_STATE_MAXIMIZED_VERT",
    "_NET_WM_STATE_FULLSCREEN",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DOCK",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WM_WINDOW_TYPE_TOOLBAR",
    "_NET_WM_WINDOW_TYPE_MENU",
    "_NET_WM_STRUT",
    "_NET_WM_STRUT_PARTIAL",
    "_NET_FRAME_EXTENTS",
    "_GTK_FRAME_EXTENTS",
    "_NET_RESTACK_WINDOW",
    "_NET_MOVERESIZE_WINDOW",
    "UTF8_STRING",
    "WM_CHANGE_STATE",
    "_VARNEL_REMEMBERED_FRAME",
    "_VARNEL_TIME_PROBE",
};
static_assert(std::size(kAtomNames) == static_cast<std::size_t>(XcbAtom::count));

} // namespace

std::unique_ptr<XcbConnection> XcbConnection::open(const std::string& display) {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber)
        xcb_screen_next(&screens);
    auto result = std::unique_ptr<XcbConnection>(new XcbConnection(connection, screens.data->root));
    result->internAtoms();
    return result;
}

XcbConnection::~XcbConnection() {
    xcb_disconnect(connection_);
}

void XcbConnection::internAtoms() {
    std::array<xcb_intern_atom_cookie_t, std::size(kAtomNames)> cookies;
    for (std::size_t i = 0; i < cookies.size(); ++i)
        cookies[i] = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(kAtomNames[i].size()),
                                     kAtomNames[i].data());
    for (std::size_t i = 0; i < cookies.size(); ++i) {
        XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, cookies[i], nullptr));
        atoms_[i] = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
}

xcb_get_property_cookie_t XcbConnection::ask(xcb_window_t window, xcb_atom_t property,
                                             std::uint32_t longs) const {
    return xcb_get_property(connection_, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longs);
}

void XcbConnection::tellManager(xcb_window_t window, XcbAtom type,
                                const std::array<std::uint32_t, 5>& data) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(type);
    std::copy(data.begin(), data.end(), event.data.data32);
    xcb_send_event(connection_, 0, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
}

XcbReply<xcb_get_property_reply_t> wait(const XcbConnection& connection, xcb_get_property_cookie_t cookie) {
    xcb_generic_error_t* error = nullptr;
    XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(), cookie, &error));
    std::free(error); // the window is gone: no reply says so already
    return reply;
}

std::vector<std::uint32_t> longs(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 32)
        return {};
    const auto* begin = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
    return {begin, begin + reply->value_len};
}

std::optional<std::uint32_t> firstLong(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 32 || reply->value_len == 0)
        return std::nullopt;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
}

std::string_view bytes(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply)), reply->value_len};
}

} // namespace varnel
