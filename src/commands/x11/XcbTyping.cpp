#include "commands/x11/XcbTyping.h"

#include "keyboard/notation/KeyPositions.h"
#include "keyboard/notation/x11/XcbReply.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace varnel {

namespace {

template <typename T>
using Reply = XcbOwned<T>;

constexpr std::size_t kLockRow = XCB_MAP_INDEX_LOCK;
constexpr std::size_t kFirstNumberedRow = XCB_MAP_INDEX_1;
constexpr xcb_keysym_t kNumLock = 0xFF7F;
constexpr xcb_keysym_t kScrollLock = 0xFF14;
constexpr auto kPatience = std::chrono::milliseconds(100);
constexpr auto kFollowingInterval = std::chrono::milliseconds(20);
constexpr auto kLongestHold = std::chrono::seconds(10);

template <typename Action>
void forEach(const XcbTyping::KeySet& keys, Action action) {
    for (std::size_t key = 0; key < keys.size(); ++key)
        if (keys[key])
            action(static_cast<xcb_keycode_t>(key));
}

/// The modifier map's row in which a modifier of ours is looked for.
std::size_t rowOf(Modifier modifier) {
    switch (modifier) {
    case Modifier::cmd:
        return XCB_MAP_INDEX_4;
    case Modifier::ctrl:
        return XCB_MAP_INDEX_CONTROL;
    case Modifier::alt:
        return XCB_MAP_INDEX_1;
    case Modifier::shift:
        break;
    }
    return XCB_MAP_INDEX_SHIFT;
}

} // namespace

XcbTyping::XcbTyping(std::string displayName, PostedKeyLedger* ledger)
    : displayName_(std::move(displayName))
    , ledger_(ledger) {}

XcbTyping::~XcbTyping() {
    disconnect();
}

void XcbTyping::disconnect() {
    stopFollowing();
    if (connection_) {
        // Nobody would take them back later.
        releaseRestored({});
        sync();
        xcb_disconnect(connection_);
    }
    connection_ = nullptr;
    restored_.reset();
}

bool XcbTyping::connect() {
    stopFollowing();
    if (connection_) {
        // Mapping notices come unasked; they are no news, since the map is read anew each time.
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
        }
        if (!xcb_connection_has_error(connection_))
            return true;
        disconnect();
    }
    int screenNumber = 0;
    connection_ = xcb_connect(displayName_.empty() ? nullptr : displayName_.c_str(), &screenNumber);
    if (xcb_connection_has_error(connection_) || !prepareServer()) {
        disconnect();
        return false;
    }
    return true;
}

bool XcbTyping::prepareServer() {
    for (xcb_extension_t* extension : {&xcb_test_id, &xcb_input_id})
        if (const auto* data = xcb_get_extension_data(connection_, extension); !data || !data->present)
            return false;
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    root_ = screen->root;
    // Applications must get our keys even while another program keeps the server to itself.
    xcb_test_grab_control(connection_, 1);
    hidden_ = xcb_generate_id(connection_);
    xcb_create_window(connection_, 0, hidden_, root_, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      screen->root_visual, 0, nullptr);
    return true;
}

bool XcbTyping::readModifiers() {
    const Reply<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(connection_, xcb_get_modifier_mapping(connection_), nullptr));
    if (!reply)
        return false;
    const xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(reply.get());
    for (std::size_t row = 0; row < modifierKeys_.size(); ++row) {
        modifierKeys_[row].clear();
        for (int i = 0; i < reply->keycodes_per_modifier; ++i, ++keys)
            if (*keys != 0)
                modifierKeys_[row].push_back(*keys);
    }
    return true;
}

XcbTyping::KeySet XcbTyping::heldModifiers(const KeySet& down) const {
    KeySet held;
    for (std::size_t row = 0; row < modifierKeys_.size(); ++row) {
        for (const xcb_keycode_t key : modifierKeys_[row]) {
            if (!down[key] || row == kLockRow)
                continue;
            if (row >= kFirstNumberedRow) {
                // Putting a lock key down again would toggle it.
                const Reply<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
                    connection_, xcb_get_keyboard_mapping(connection_, key, 1), nullptr));
                const xcb_keysym_t symbol = mapping && mapping->keysyms_per_keycode > 0
                                                ? *xcb_get_keyboard_mapping_keysyms(mapping.get())
                                                : XCB_NO_SYMBOL;
                if (symbol == kNumLock || symbol == kScrollLock)
                    continue;
            }
            held.set(key);
        }
    }
    return held;
}

bool XcbTyping::begin() {
    stopFollowing();
    pressed_.reset();
    if (ledger_)
        posting_.emplace(*ledger_);
    if (liftModifiers())
        return true;
    posting_.reset();
    return false;
}

bool XcbTyping::liftModifiers() {
    keyboards_.find(connection_);
    if (!readModifiers())
        return false;
    xcb_grab_server(connection_);
    const auto question = xcb_query_keymap(connection_);
    const std::optional<KeyboardDevices::DownKeys> down = keyboards_.downKeys(connection_);
    const Reply<xcb_query_keymap_reply_t> all(xcb_query_keymap_reply(connection_, question, nullptr));
    if (!down || !all)
        return false;
    // The keyboards of XTEST may believe in keys that a program forgot there long ago.
    down_ = down->touched | (down->posted & keySetOfBits(all->keys) & ~restored_);
    releaseRestored(down->touched);
    restored_.reset();
    lifted_ = heldModifiers(down_);
    held_ = lifted_ & down->touched;
    forEach(lifted_, [this](xcb_keycode_t key) { fake(key, false); });
    down_ &= ~lifted_;
    return true;
}

xcb_keycode_t XcbTyping::xKeyCode(KeyCode keyCode) const {
    const std::uint8_t atPosition = KeyPositions::x11ForKeyCode(keyCode).value_or(0);
    const std::optional<Modifier> modifier = modifierForKeyCode(keyCode);
    if (!modifier)
        return atPosition;
    // Where modifiers have changed places the meaning counts, not the place.
    const auto& row = modifierKeys_[rowOf(*modifier)];
    if (row.empty() || std::ranges::find(row, atPosition) != row.end())
        return atPosition;
    return row.front();
}

bool XcbTyping::key(KeyCode keyCode, bool isPress) {
    const xcb_keycode_t key = xKeyCode(keyCode);
    if (key == 0)
        return false;
    if (isPress && down_[key])
        fake(key, false);
    down_.reset(key);
    // A key that is pressed twice goes down once.
    if (pressed_[key] != isPress)
        fake(key, isPress);
    pressed_[key] = isPress;
    return true;
}

void XcbTyping::fake(xcb_keycode_t key, bool isPress) {
    if (ledger_)
        ledger_->push({.key = key, .isPress = isPress});
    xcb_test_fake_input(connection_, isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, XCB_CURRENT_TIME,
                        XCB_NONE, 0, 0, 0);
}

bool XcbTyping::finish() {
    const bool isDone = putDownAgain();
    posting_.reset();
    return isDone;
}

bool XcbTyping::putDownAgain() {
    forEach(lifted_, [this](xcb_keycode_t key) { fake(key, true); });
    xcb_ungrab_server(connection_);
    // Who let go of a modifier meanwhile did so unnoticed, since it was up already: it is not to stay down.
    if (held_.any())
        if (const std::optional<KeyboardDevices::DownKeys> down = keyboards_.downKeys(connection_)) {
            restored_ = held_ & down->touched;
            forEach(held_ & ~restored_, [this](xcb_keycode_t key) { fake(key, false); });
        }
    settle();
    if (xcb_connection_has_error(connection_))
        return false;
    if (restored_.any())
        follower_ = std::thread([this] { followRestored(); });
    return true;
}

/// Takes back what nobody holds any more. It is up already, so no application notices.
void XcbTyping::releaseRestored(const KeySet& down) {
    forEach(restored_ & ~down, [this](xcb_keycode_t key) {
        xcb_test_fake_input(connection_, XCB_KEY_RELEASE, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    });
    restored_ &= down;
}

void XcbTyping::followRestored() {
    const auto giveUp = std::chrono::steady_clock::now() + kLongestHold;
    std::unique_lock lock(followerMutex_);
    while (restored_.any() && std::chrono::steady_clock::now() < giveUp) {
        const auto next = std::chrono::system_clock::now() + kFollowingInterval;
        if (followerWake_.wait_until(lock, next, [this] { return followerStops_.load(); }))
            return;
        const Reply<xcb_query_keymap_reply_t> keymap(
            xcb_query_keymap_reply(connection_, xcb_query_keymap(connection_), nullptr));
        if (!keymap)
            return;
        releaseRestored(keySetOfBits(keymap->keys));
        xcb_flush(connection_);
    }
}

void XcbTyping::waitForRelease() {
    if (!follower_.joinable())
        return;
    follower_.join();
    sync();
}

/// Returns when the server has carried out everything asked for.
void XcbTyping::sync() const {
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void XcbTyping::stopFollowing() {
    if (!follower_.joinable())
        return;
    {
        const std::lock_guard lock(followerMutex_);
        followerStops_ = true;
    }
    followerWake_.notify_all();
    follower_.join();
    followerStops_ = false;
}

/// Keys that nobody of ours was interested in never come back to the tap: they must leave the ledger before
/// somebody else types the same. They may still be waiting in the server as long as somebody holds the
/// keyboard. Asking for it on a window that is not visible tells, and cannot succeed.
void XcbTyping::settle() {
    const auto giveUp = std::chrono::steady_clock::now() + kPatience;
    while (true) {
        const Reply<xcb_grab_keyboard_reply_t> reply(
            xcb_grab_keyboard_reply(connection_,
                                    xcb_grab_keyboard(connection_, 0, hidden_, XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                    nullptr));
        if (!ledger_ || ledger_->size() == 0)
            return;
        const bool isFree = !reply || reply->status == XCB_GRAB_STATUS_NOT_VIEWABLE;
        if (isFree || std::chrono::steady_clock::now() >= giveUp) {
            ledger_->clear();
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

HidPostingTable XcbTyping::table() {
    constexpr std::uint32_t kGranted = 0, kDenied = 1, kHandle = 1;
    constexpr std::int32_t kFailed = -1;
    return {
        .checkPostAccess = [this] { return connect() ? kGranted : kDenied; },
        .requestPostAccess = [] { return false; },
        .findService = [] { return kHandle; },
        .open =
            [this](std::uint32_t, std::uint32_t, std::uint32_t& connection) {
                connection = begin() ? kHandle : 0;
                return connection == 0 ? kFailed : 0;
            },
        .release = [](std::uint32_t) {},
        .post =
            [this](std::uint32_t, const HidKeyRecord& record) {
                const std::optional<Modifier> modifier = modifierForKeyCode(record.keyCode);
                const bool isPress = record.type == 10 || (record.type == 12 && modifier &&
                                                           (record.flags & modifierFlag(*modifier)) != 0);
                return key(record.keyCode, isPress) ? 0 : kFailed;
            },
        .close = [this](std::uint32_t) { return finish() ? 0 : kFailed; },
        .keyboardType = [] { return 0U; },
    };
}

} // namespace varnel
