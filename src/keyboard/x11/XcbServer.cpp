#include "keyboard/x11/XcbServer.h"

#include "base/Localized.h"
#include "keyboard/notation/x11/XcbReply.h"

#include <algorithm>
#include <iterator>

#include <xcb/xinput.h>
// The header names a field with a word that C++ keeps for itself.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <string_view>

namespace varnel {
namespace {

constexpr std::string_view kManagerProperty = "_NET_SUPPORTING_WM_CHECK";
constexpr std::uint16_t kAllDevices = 0;

/// The first master keyboard, and the keyboard that posted keys come from.
void findKeyboards(XcbServer& server, const xcb_input_xi_query_device_reply_t& reply) {
    for (auto it = xcb_input_xi_query_device_infos_iterator(&reply); it.rem > 0;
         xcb_input_xi_device_info_next(&it)) {
        const xcb_input_xi_device_info_t& device = *it.data;
        const std::string_view name(xcb_input_xi_device_info_name(&device), device.name_len);
        if (device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD && server.keyboard == 0)
            server.keyboard = device.deviceid;
        if (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD && server.postingDevice == 0 &&
            name.find("XTEST") != std::string_view::npos)
            server.postingDevice = device.deviceid;
    }
}

void watchChanges(const XcbServer& server) {
    xcb_connection_t* const connection = server.connection.get();
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection, server.root, XCB_CW_EVENT_MASK, &mask);
    if (server.xkbFirstEvent == 0)
        return;
    const std::uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    const std::uint16_t parts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts, nullptr);
}

} // namespace

std::expected<XcbServer, std::string> XcbServer::connect(const std::string& display) {
    XcbServer server;
    int screenNumber = 0;
    server.connection.reset(xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber));
    xcb_connection_t* const connection = server.connection.get();
    if (xcb_connection_has_error(connection) != 0)
        return std::unexpected(display.empty() ? localized("no X server answers")
                                               : localized("no X server answers at %1", {display}));
    xcb_prefetch_extension_data(connection, &xcb_input_id);
    xcb_prefetch_extension_data(connection, &xcb_xkb_id);
    const xcb_setup_t* const setup = xcb_get_setup(connection);
    auto screens = xcb_setup_roots_iterator(setup);
    for (; screens.rem > 1 && screenNumber > 0; --screenNumber)
        xcb_screen_next(&screens);
    server.root = screens.data->root;
    server.minimumKey = setup->min_keycode;
    server.maximumKey = setup->max_keycode;

    const auto* const input = xcb_get_extension_data(connection, &xcb_input_id);
    if (input == nullptr || input->present == 0)
        return std::unexpected(localized("the X server has no XInput extension"));
    server.inputOpcode = input->major_opcode;
    const auto* const xkb = xcb_get_extension_data(connection, &xcb_xkb_id);

    const auto versionCookie = xcb_input_xi_query_version(connection, 2, 2);
    const auto devicesCookie = xcb_input_xi_query_device(connection, kAllDevices);
    const auto atomCookie = xcb_intern_atom(
        connection, 0, static_cast<std::uint16_t>(kManagerProperty.size()), kManagerProperty.data());
    xcb_xkb_use_extension_cookie_t xkbCookie{};
    if (xkb != nullptr && xkb->present != 0)
        xkbCookie = xcb_xkb_use_extension(connection, 1, 0);
    server.probe = xcb_generate_id(connection);
    xcb_create_window(connection, 0, server.probe, server.root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);

    const XcbOwned<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection, versionCookie, nullptr));
    const XcbOwned<xcb_input_xi_query_device_reply_t> devices(
        xcb_input_xi_query_device_reply(connection, devicesCookie, nullptr));
    const XcbOwned<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(connection, atomCookie, nullptr));
    if (xkbCookie.sequence != 0) {
        const XcbOwned<xcb_xkb_use_extension_reply_t> use(
            xcb_xkb_use_extension_reply(connection, xkbCookie, nullptr));
        if (use && use->supported != 0)
            server.xkbFirstEvent = xkb->first_event;
    }
    if (!version || version->major_version < 2 || (version->major_version == 2 && version->minor_version < 2))
        return std::unexpected(localized("the X server's XInput is older than 2.2"));
    if (devices)
        findKeyboards(server, *devices);
    if (server.keyboard == 0)
        return std::unexpected(localized("the X server has no keyboard"));
    if (atom)
        server.managerAtom = atom->atom;
    watchChanges(server);
    return server;
}

KeyboardMap XcbServer::loadMap() const {
    xcb_connection_t* const c = connection.get();
    const auto modifiersCookie = xcb_get_modifier_mapping(c);
    const auto keysymsCookie =
        xcb_get_keyboard_mapping(c, minimumKey, static_cast<std::uint8_t>(maximumKey - minimumKey + 1));
    const XcbOwned<xcb_get_modifier_mapping_reply_t> modifiers(
        xcb_get_modifier_mapping_reply(c, modifiersCookie, nullptr));
    const XcbOwned<xcb_get_keyboard_mapping_reply_t> keysyms(
        xcb_get_keyboard_mapping_reply(c, keysymsCookie, nullptr));
    KeyboardMap::Tables tables;
    tables.minimumKey = minimumKey;
    if (modifiers) {
        const auto* const keys = xcb_get_modifier_mapping_keycodes(modifiers.get());
        tables.keysPerModifier = modifiers->keycodes_per_modifier;
        tables.modifierKeys.assign(keys, keys + xcb_get_modifier_mapping_keycodes_length(modifiers.get()));
    }
    if (keysyms) {
        const auto* const symbols = xcb_get_keyboard_mapping_keysyms(keysyms.get());
        tables.keysymsPerKey = keysyms->keysyms_per_keycode;
        tables.keysyms.assign(symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(keysyms.get()));
    }
    return KeyboardMap(tables);
}

bool XcbServer::isHeldByOther() const {
    xcb_connection_t* const c = connection.get();
    const std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
    // The server looks for other holders first and then finds that the window is not shown: it never grabs.
    const XcbOwned<xcb_input_xi_grab_device_reply_t> reply(xcb_input_xi_grab_device_reply(
        c,
        xcb_input_xi_grab_device(c, probe, XCB_CURRENT_TIME, XCB_NONE, keyboard, XCB_INPUT_GRAB_MODE_22_ASYNC,
                                 XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, 1, &mask),
        nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
}

void XcbServer::waitForRequests() const {
    xcb_connection_t* const c = connection.get();
    const XcbOwned<xcb_get_input_focus_reply_t> done(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
}

bool XcbServer::isAnyKeyDown() const {
    xcb_connection_t* const c = connection.get();
    const XcbOwned<xcb_query_keymap_reply_t> reply(xcb_query_keymap_reply(c, xcb_query_keymap(c), nullptr));
    return reply && std::any_of(std::begin(reply->keys), std::end(reply->keys),
                                [](std::uint8_t keys) { return keys != 0; });
}

std::optional<KeyboardDevices::KeySet> XcbServer::keysHeldByHand() const {
    KeyboardDevices keyboards;
    keyboards.find(connection.get());
    const auto down = keyboards.downKeys(connection.get());
    return down ? std::optional(down->touched) : std::nullopt;
}

void XcbServer::setLocks(std::uint8_t mask, std::uint8_t locks) const {
    if (xkbFirstEvent != 0)
        xcb_xkb_latch_lock_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD, mask, locks, 0, 0, 0, 0, 0);
}

} // namespace varnel
