#include "overlay/x11/XcbOverlaySurroundings.h"

#include "keyboard/notation/KeyPositions.h"

#include <xcb/xfixes.h>
// The header names a field with a word that C++ keeps for itself.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdlib>
#include <utility>
#include <vector>

namespace varnel {
namespace {

template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
ReplyPointer<Reply> owned(Reply* reply) {
    return {reply, &std::free};
}

constexpr std::uint32_t kMostSettings = 64 * 1024; ///< in units of four bytes

/// Accents that wait for a letter produce no character of their own.
struct DeadKey {
    xkb_keysym_t symbol;
    const char* label;
};
constexpr DeadKey kDeadKeys[] = {
    {XKB_KEY_dead_grave, "`"},     {XKB_KEY_dead_acute, "´"},   {XKB_KEY_dead_circumflex, "^"},
    {XKB_KEY_dead_tilde, "~"},     {XKB_KEY_dead_macron, "¯"},  {XKB_KEY_dead_diaeresis, "¨"},
    {XKB_KEY_dead_abovering, "°"}, {XKB_KEY_dead_cedilla, "¸"}, {XKB_KEY_dead_caron, "ˇ"},
    {XKB_KEY_dead_breve, "˘"},     {XKB_KEY_dead_ogonek, "˛"},  {XKB_KEY_dead_doubleacute, "˝"},
};

std::optional<std::string> visibleCharacter(xkb_keysym_t symbol) {
    for (const DeadKey& key : kDeadKeys)
        if (key.symbol == symbol)
            return key.label;
    char text[8] = {};
    const bool isCharacter = xkb_keysym_to_utf8(symbol, text, sizeof text) > 1;
    const auto first = static_cast<unsigned char>(text[0]);
    if (!isCharacter || first <= ' ' || first == 0x7F)
        return std::nullopt;
    return text;
}

} // namespace

std::unique_ptr<XcbOverlaySurroundings> XcbOverlaySurroundings::connect(EventLoop& loop,
                                                                        const std::string& display) {
    int screen = 0;
    Connection connection(xcb_connect(display.empty() ? nullptr : display.c_str(), &screen));
    if (xcb_connection_has_error(connection.get()) != 0)
        return nullptr;
    return std::unique_ptr<XcbOverlaySurroundings>(
        new XcbOverlaySurroundings(loop, std::move(connection), screen));
}

XcbOverlaySurroundings::XcbOverlaySurroundings(EventLoop& loop, Connection connection, int screen)
    : connection_(std::move(connection)) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (int i = 0; i < screen && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    root_ = screens.data->root;
    activeWindow_ = atom("_NET_ACTIVE_WINDOW");
    compositor_ = atom("_NET_WM_CM_S" + std::to_string(screen));
    settingsManager_ = atom("_XSETTINGS_S" + std::to_string(screen));
    settingsProperty_ = atom("_XSETTINGS_SETTINGS");
    watchSelections();
    watchKeyboard();
    blendsWindows_ = owner(compositor_) != XCB_NONE;
    readSettings();
    readKeyboard();
    watch_ = loop.watchReadable(xcb_get_file_descriptor(connection_.get()), [this] { handleEvents(); });
    handleEvents(); // those that came with the replies
}

XcbOverlaySurroundings::~XcbOverlaySurroundings() {
    xkb_keymap_unref(keymap_);
    xkb_context_unref(context_);
}

std::optional<bool> XcbOverlaySurroundings::prefersDark() const {
    return settings_.empty() ? std::nullopt : std::optional(usesDarkTheme(settings_));
}

std::optional<std::string> XcbOverlaySurroundings::keyLabel(KeyCode code) const {
    const auto key = KeyPositions::x11ForKeyCode(code);
    if (!key || !keymap_)
        return std::nullopt;
    const xkb_layout_index_t layouts = xkb_keymap_num_layouts_for_key(keymap_, *key);
    const xkb_keysym_t* symbols = nullptr;
    if (layouts == 0 || xkb_keymap_key_get_syms_by_level(keymap_, *key, group_ % layouts, 0, &symbols) != 1)
        return std::nullopt;
    return visibleCharacter(symbols[0]);
}

std::optional<DesktopPlace> XcbOverlaySurroundings::focusedPlace() {
    const xcb_window_t window = focusedWindow();
    if (window == XCB_NONE || window == root_)
        return std::nullopt;
    const auto sizeCookie = xcb_get_geometry(connection_.get(), window);
    const auto placeCookie = xcb_translate_coordinates(connection_.get(), window, root_, 0, 0);
    const auto size = owned(xcb_get_geometry_reply(connection_.get(), sizeCookie, nullptr));
    const auto place = owned(xcb_translate_coordinates_reply(connection_.get(), placeCookie, nullptr));
    handleEvents();      // those that came with the replies
    if (!size || !place) // gone meanwhile
        return std::nullopt;
    return DesktopPlace{place->dst_x + size->width / 2, place->dst_y + size->height / 2, true};
}

/// The window manager's word goes first: what has the focus may be a tiny window somewhere within.
xcb_window_t XcbOverlaySurroundings::focusedWindow() const {
    const auto activeCookie =
        xcb_get_property(connection_.get(), 0, root_, activeWindow_, XCB_ATOM_WINDOW, 0, 1);
    const auto focusCookie = xcb_get_input_focus(connection_.get());
    const auto active = owned(xcb_get_property_reply(connection_.get(), activeCookie, nullptr));
    const auto focus = owned(xcb_get_input_focus_reply(connection_.get(), focusCookie, nullptr));
    if (active && xcb_get_property_value_length(active.get()) == sizeof(xcb_window_t))
        if (const auto window = *static_cast<xcb_window_t*>(xcb_get_property_value(active.get())))
            return window;
    const bool isWindow = focus && focus->focus != XCB_INPUT_FOCUS_POINTER_ROOT;
    return isWindow ? focus->focus : static_cast<xcb_window_t>(XCB_NONE);
}

xcb_atom_t XcbOverlaySurroundings::atom(const std::string& name) const {
    const auto cookie =
        xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const auto reply = owned(xcb_intern_atom_reply(connection_.get(), cookie, nullptr));
    return reply ? reply->atom : XCB_NONE;
}

xcb_window_t XcbOverlaySurroundings::owner(xcb_atom_t selection) const {
    const auto cookie = xcb_get_selection_owner(connection_.get(), selection);
    const auto reply = owned(xcb_get_selection_owner_reply(connection_.get(), cookie, nullptr));
    return reply ? reply->owner : XCB_NONE;
}

/// Asks to be told when a compositor or a settings manager comes or goes.
void XcbOverlaySurroundings::watchSelections() {
    const xcb_query_extension_reply_t* fixes = xcb_get_extension_data(connection_.get(), &xcb_xfixes_id);
    if (!fixes || !fixes->present)
        return;
    fixesEvents_ = fixes->first_event;
    const auto version = xcb_xfixes_query_version(connection_.get(), 1, 0);
    owned(xcb_xfixes_query_version_reply(connection_.get(), version, nullptr));
    for (const xcb_atom_t selection : {compositor_, settingsManager_})
        xcb_xfixes_select_selection_input(connection_.get(), root_, selection,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
}

/// Asks to be told when the layout changes, but not of keys that are pressed.
void XcbOverlaySurroundings::watchKeyboard() {
    context_ = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (!context_ || !xkb_x11_setup_xkb_extension(
                         connection_.get(), XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                         XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &keyboardEvents_, nullptr))
        return;
    keyboard_ = xkb_x11_get_core_keyboard_device_id(connection_.get());
    constexpr std::uint16_t kEvents = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t kGroup = XCB_XKB_STATE_PART_GROUP_STATE;
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.affectState = details.stateDetails = kGroup;
    constexpr std::uint16_t kMap = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS;
    xcb_xkb_select_events_aux(connection_.get(), static_cast<xcb_xkb_device_spec_t>(keyboard_),
                              kEvents | XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, 0, kMap, kMap, &details);
}

void XcbOverlaySurroundings::handleEvents() {
    while (const auto event = owned(xcb_poll_for_event(connection_.get())))
        handle(*event);
    if (xcb_connection_has_error(connection_.get()) != 0)
        watch_.reset(); // the server is gone; what was read last stays
}

void XcbOverlaySurroundings::handle(const xcb_generic_event_t& event) {
    const std::uint8_t type = event.response_type & 0x7F;
    if (fixesEvents_ != 0 && type == fixesEvents_ + XCB_XFIXES_SELECTION_NOTIFY) {
        blendsWindows_ = owner(compositor_) != XCB_NONE;
        readSettings();
    } else if (type == XCB_PROPERTY_NOTIFY) {
        readSettings();
    } else if (keyboardEvents_ != 0 && type == keyboardEvents_) {
        // Where every event of this extension says which of them it is.
        const bool isGroupOnly = event.pad0 == XCB_XKB_STATE_NOTIFY;
        isGroupOnly ? readGroup() : readKeyboard();
    }
}

void XcbOverlaySurroundings::readKeyboard() {
    if (keyboard_ < 0)
        return;
    xkb_keymap* keymap =
        xkb_x11_keymap_new_from_device(context_, connection_.get(), keyboard_, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap)
        return;
    xkb_keymap_unref(std::exchange(keymap_, keymap));
    readGroup();
}

void XcbOverlaySurroundings::readGroup() {
    const auto cookie = xcb_xkb_get_state(connection_.get(), static_cast<xcb_xkb_device_spec_t>(keyboard_));
    if (const auto reply = owned(xcb_xkb_get_state_reply(connection_.get(), cookie, nullptr)))
        group_ = reply->group;
}

void XcbOverlaySurroundings::readSettings() {
    settings_.clear();
    const xcb_window_t manager = owner(settingsManager_);
    if (manager == XCB_NONE)
        return;
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_.get(), manager, XCB_CW_EVENT_MASK, &mask);
    const auto cookie =
        xcb_get_property(connection_.get(), 0, manager, settingsProperty_, XCB_ATOM_ANY, 0, kMostSettings);
    const auto reply = owned(xcb_get_property_reply(connection_.get(), cookie, nullptr));
    if (!reply)
        return;
    const auto* bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
    settings_ = parseXSettings({bytes, static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))});
}

std::unique_ptr<OverlaySurroundings> makeOverlaySurroundings(EventLoop& loop) {
    if (auto surroundings = XcbOverlaySurroundings::connect(loop))
        return surroundings;
    return std::make_unique<OverlaySurroundings>();
}

} // namespace varnel
