#pragma once

#include "base/TimePoint.h"
#include "keyboard/FixedText.h"
#include "keyboard/HotkeyLookupIndex.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A moment of the clock on the wall.
using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

/// What the engine decided, as facts: a plain value of fixed size. Keys that belong to no sequence appear in
/// none; they are only counted.
struct Decision {
    enum class Kind : std::uint8_t {
        opened,          ///< `token` opened a sequence
        continued,       ///< `token` continued `sequence`
        letThrough,      ///< `token`, a shortcut, opened a sequence and reached the application all the same
        ran,             ///< `token` completed `sequence`, which is bound to `name`
        asked,           ///< the same, and now there is something to choose
        chose,           ///< one of the choices for `name` was taken
        triggered,       ///< `sequence` was run without being typed
        nothingBound,    ///< `token` ended `sequence`: it continues nothing there
        noSuchChoice,    ///< `token` ended the choice for `sequence`: it begins no label
        hintsKept,       ///< `token` continues nothing after `sequence`; hints stay, keys pass
        cancelled,       ///< escape ended `sequence`
        timedOut,        ///< no next key after `sequence` for `limit`
        unattended,      ///< no key for `limit` although `sequence` could have waited without end
        nothingToChoose, ///< `message` ended `sequence`
        choicesTooLate,  ///< looking for what there is to choose took too long after `sequence`
        noHandler,       ///< `token` ended `sequence`: nothing runs what is bound there, as `message` says
        interrupted,     ///< `sequence` was ended by something else than a key
        heldTooLong,     ///< the modifier `token` was down for `held`; a tap may take `limit`
        postedByUs,      ///< `token` would have opened a sequence, but this program posted it
        commandFinished, ///< `name` ended with `message`
        suspended,       ///< paused for the reason `message`
        resumed,         ///< the reason `message` is gone
        panicKeys,       ///< paused by the panic keys
        captureStarted,  ///< keys are captured
        captureRefused,  ///< they cannot be
        captureStopped,  ///< they are no longer
        keyboardTaken,   ///< `message` keeps keys from us
        keyboardFree,    ///< nothing does any longer
        configurationLoaded, ///< `count` items are in force
        configurationFailed, ///< the file cannot be read: `message`
    } kind = Kind::opened;
    std::uint64_t number = 0;          ///< counts all decisions of this run, from 1
    std::uint64_t otherKeysBefore = 0; ///< since the decision before: keys that belonged to no sequence
    WallTime time{};
    std::uint32_t configuration = 0; ///< tells apart which configuration was in force
    std::uint32_t count = 0;
    std::chrono::milliseconds held{0}, limit{0};
    FixedText<40> token = {};
    FixedText<64> sequence = {}; ///< tokens with spaces between
    FixedText<48> name = {};
    FixedText<200> message = {};
    friend bool operator==(const Decision&, const Decision&) = default;
};

/// "opened", "continued", …
std::string_view decisionName(Decision::Kind kind);

/// The last decisions. Each is written into its place: that never allocates, waits or makes text. Main
/// thread.
class DecisionLog {
public:
    static constexpr std::size_t kCapacity = 100;
    DecisionLog();

    /// The place of a new decision, without facts but for its number and the keys counted since the one
    /// before. Valid until the next call.
    Decision& add(Decision::Kind kind);
    /// A key that belonged to no sequence.
    void countOtherKey() { ++otherKeys_; }

    /// How many decisions there have been in all: the number of the latest.
    [[nodiscard]] std::uint64_t total() const { return total_; }
    /// Keys that belonged to no sequence, since the latest decision.
    [[nodiscard]] std::uint64_t otherKeys() const { return otherKeys_; }
    /// Those with a higher number than `number` that are still kept, oldest first. A first one that is not
    /// `number + 1` tells that some were missed.
    [[nodiscard]] std::vector<Decision> since(std::uint64_t number) const;
    /// The first of these.
    [[nodiscard]] std::optional<Decision> firstAfter(std::uint64_t number) const;

private:
    std::vector<Decision> ring_; ///< grows into the memory that was reserved for it
    std::uint64_t total_ = 0;
    std::uint64_t otherKeys_ = 0;
};

/// The configuration that is in force, to look up in when a sentence is made.
struct DecisionContext {
    const std::vector<ConfigItem>& items;
    /// Decisions of other configurations are told without looking anything up.
    std::uint32_t configuration = 0;
    /// What is in the way of an item's action at present, as a clause; "" when nothing is known. May be
    /// empty.
    std::function<std::string(const ConfigItem&)> obstacle = {};
};

/// The decision in the user's language, one plain sentence without its time: "g ended the sequence: nothing
/// is bound under ctrl+j".
std::string describe(const Decision& decision, const DecisionContext& context);
/// "1,204 other keys", for keys that were only counted.
std::string describeOtherKeys(std::uint64_t count);

} // namespace varnel
