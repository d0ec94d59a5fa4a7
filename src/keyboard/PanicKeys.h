#pragma once

#include "keyboard/notation/KeyToken.h"

#include <memory>
#include <string>
#include <vector>

namespace varnel {

/// Which of the three panic keys are meant: left ctrl, space and escape.
struct PanicKeySet {
    bool leftControl = false;
    bool space = false;
    bool escape = false;
    [[nodiscard]] bool all() const { return leftControl && space && escape; }
    friend bool operator==(const PanicKeySet&, const PanicKeySet&) = default;
};

/// Notices that the three panic keys are held down together, in whatever order they were pressed: the way out
/// for a user whose keyboard seems to be taken. Knows nothing of sequences, so that no rule can get in its
/// way.
class PanicKeys {
public:
    static constexpr KeyCode kLeftControl = 59;
    static constexpr KeyCode kSpace = 49;
    static constexpr KeyCode kEscape = 53;
    /// Whether a press of this key can be the one that completes the three.
    static constexpr bool isOne(KeyCode code) {
        return code == kLeftControl || code == kSpace || code == kEscape;
    }
    /// The chords of which one is pressed, or repeats, whenever the three come together. Never null, always
    /// the same object.
    static const std::shared_ptr<const std::vector<std::string>>& chords();

    enum class Press { first, repeat };
    /// A hand has pressed `key` while `heldByHand` (the key itself need not be in it) were down; or `key`,
    /// which somebody holds, repeats. True once for each time that all three are down together; not every
    /// press of one of them must be told.
    bool press(KeyCode key, Press kind, PanicKeySet heldByHand);
    /// `heldByHand` are down as the presses begin to be told: that is no news.
    void look(PanicKeySet heldByHand) { areHeld_ = heldByHand.all(); }

private:
    bool areHeld_ = false; ///< told already
};

} // namespace varnel
