#pragma once

#include "keyboard/x11/CaptureProtocol.h"
#include "keyboard/x11/KeyboardMap.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <deque>
#include <vector>

namespace varnel {

/// Sends what the protocol asks for over one connection, without ever waiting for an answer. The grabs are of
/// XInput 2, which never collide with those of the core protocol that most window managers use; a combination
/// that is refused nevertheless is asked for once more with the core protocol.
class XcbCaptureRequests final : public CaptureProtocol::Requests {
public:
    struct Target {
        xcb_connection_t* connection = nullptr;
        xcb_window_t root = XCB_NONE;
        std::uint16_t keyboard = 0; ///< the master device
        std::uint8_t minimumKey = 8;
        std::uint8_t maximumKey = 255;
    };

    void retarget(const Target& target);
    void setMap(const KeyboardMap& map) { map_ = map; }
    [[nodiscard]] const KeyboardMap& map() const { return map_; }

    /// Finds out whether one grab of every key is granted, or the guard must be made of single keys because
    /// another program has XInput grabs of its own. The connection is idle meanwhile.
    void testGuard();
    /// Whether no other program has grabbed this combination by the core protocol, as window managers and
    /// input methods do: a key that we hand on passes such a grab by. Waits for the server.
    [[nodiscard]] bool isFreeOfCoreGrabs(GrabCombination combination) const;
    /// Looks for refusals among the replies that have come; true when `refused()` has changed.
    bool collectReplies();
    /// Whether more of them are to come.
    [[nodiscard]] bool awaitsReplies() const { return !awaited_.empty(); }
    /// Combinations that nobody grants us.
    [[nodiscard]] const std::vector<GrabCombination>& refused() const { return refused_; }
    /// Asks again for what was refused; whoever had it may have gone.
    void retryRefused();
    /// Replies are looked at, not thrown away, for what is installed from now on.
    void checkReplies(bool on) { checks_ = on; }

    void install(GrabCombination combination) override;
    void remove(GrabCombination combination) override;
    void installGuard() override;
    void removeGuard() override;
    void arm() override;
    void disarm() override;
    void installTail(std::uint8_t key) override;
    void removeTail(std::uint8_t key) override;
    void watchRawInput(bool on) override;
    void convert(const GrabbedKey& event) override;
    void answerKeep() override;
    void answerReplay() override;
    void answerUngrab(bool isCore) override;
    void drop(bool isCore, bool replay) override;

    /// What became of an event, by the number of the last request that the server had seen when it told of
    /// it. To be asked in the order of the events.
    [[nodiscard]] GrabbedKey::Settled settled(std::uint32_t fullSequence);

private:
    struct Awaited {
        unsigned sequence;
        GrabCombination combination;
        bool isCore;
    };

    unsigned grabKey(std::uint8_t key, const std::vector<std::uint32_t>& modifiers);
    void ungrabKey(std::uint8_t key, const std::vector<std::uint32_t>& modifiers);
    void allow(std::uint8_t mode);
    void grabCore(GrabCombination combination);
    bool forget(GrabCombination combination);
    [[nodiscard]] bool isRefusedSoFar(GrabCombination combination) const;

    Target target_;
    KeyboardMap map_;
    bool checks_ = true;
    bool guardIsWhole_ = true;
    std::deque<Awaited> awaited_;
    // The requests of the last drop; 0 is none.
    std::uint32_t replaySequence_ = 0;
    std::uint32_t dropSequence_ = 0;
    std::vector<GrabCombination> byCore_;
    std::vector<GrabCombination> refused_;
    std::vector<std::uint8_t>
        contestedKeys_; ///< grabbed by others; a guard of single keys spells their modifiers out
};

} // namespace varnel
