#pragma once

#include "commands/HidPosting.h"
#include "keyboard/notation/PostedKeyLedger.h"
#include "keyboard/notation/x11/KeyboardDevices.h"

#include <xcb/xcb.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace varnel {

/// Types on the X server's keyboard (XTEST). One shortcut is typed between `begin` and `finish`. For one
/// thread.
class XcbTyping {
public:
    using KeySet = KeyboardDevices::KeySet;

    /// `ledger` may be null; it must outlive this.
    XcbTyping(std::string displayName, PostedKeyLedger* ledger);
    ~XcbTyping();
    XcbTyping(const XcbTyping&) = delete;
    XcbTyping& operator=(const XcbTyping&) = delete;

    /// Connects when there is no connection that works. False when there is no server, or one without XTEST.
    bool connect();
    /// Lifts the modifiers that are down. From here to `finish` no other program gets at the server, so that
    /// it cannot let go of a key unnoticed.
    bool begin();
    /// Presses or releases a key; false when this keyboard has no such key. A key that somebody holds is let
    /// go first, else the server would take the press for a repetition.
    bool key(KeyCode keyCode, bool isPress);
    /// Sends what was typed, puts down again what the user still holds, and returns when the server has
    /// handled it all. False when the connection broke.
    bool finish();
    /// Returns once the modifiers that were put down again are up, after ten seconds at the latest.
    void waitForRelease();
    /// The functions of the HID system in terms of the above. This must outlive them.
    HidPostingTable table();

    [[nodiscard]] xcb_connection_t* connection() const { return connection_; }
    [[nodiscard]] xcb_window_t root() const { return root_; }
    /// The X key code that stands for this key now; 0 when there is none.
    [[nodiscard]] xcb_keycode_t xKeyCode(KeyCode keyCode) const;
    /// Reads which keys act as which modifier; false when the connection broke.
    bool readModifiers();

private:
    void disconnect();
    bool prepareServer();
    void fake(xcb_keycode_t key, bool isPress);
    bool liftModifiers();
    bool putDownAgain();
    [[nodiscard]] KeySet heldModifiers(const KeySet& down) const;
    void sync() const;
    void settle();
    void releaseRestored(const KeySet& down);
    void followRestored();
    void stopFollowing();

    std::string displayName_;
    PostedKeyLedger* ledger_;
    std::optional<PostedKeyLedger::Posting> posting_;
    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = 0;
    xcb_window_t hidden_ = 0; ///< never mapped
    std::array<std::vector<xcb_keycode_t>, 8> modifierKeys_;
    KeyboardDevices keyboards_;
    KeySet down_;    ///< before the shortcut, less what was let go for it
    KeySet pressed_; ///< by the shortcut that is being typed
    KeySet lifted_;  ///< modifiers to be put down again
    KeySet held_;    ///< those of them that people hold

    /// Modifiers that were put down again. To the server they are then held by two keyboards, the user's and
    /// the one of XTEST; once the user lets go the second has to follow, or later presses from there are
    /// lost. A thread sees to it, only as long as there are any.
    KeySet restored_;
    std::thread follower_;
    std::mutex followerMutex_;
    std::condition_variable followerWake_;
    std::atomic<bool> followerStops_ = false;
};

} // namespace varnel
