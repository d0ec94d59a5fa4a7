#include "app/x11/TrayHost.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace varnel {

namespace {

/// Panels own it. The windows of this program know no other screen than the first.
constexpr std::string_view kSelection = "_NET_SYSTEM_TRAY_S0";

template <typename Reply>
using Owned = std::unique_ptr<Reply, decltype([](Reply* reply) { std::free(reply); })>;

} // namespace

bool hasTrayHost() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t* const c = x11 ? x11->connection() : nullptr;
    if (!c)
        return false;
    const auto length = static_cast<std::uint16_t>(kSelection.size());
    const Owned<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, length, kSelection.data()), nullptr));
    if (!atom)
        return false;
    const Owned<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}

} // namespace varnel
