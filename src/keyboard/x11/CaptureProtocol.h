#pragma once

#include "keyboard/KeyboardMonitoring.h"

#include <bitset>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace varnel {

/// A key with the modifiers that are held, as the X server numbers both; lock modifiers never count.
struct GrabCombination {
    std::uint8_t key = 0;
    std::uint8_t modifiers = 0;
    friend auto operator<=>(const GrabCombination&, const GrabCombination&) = default;
};

/// A list of tokens, translated to what can be asked of the server. Never changed once made.
struct GrabPlan {
    std::vector<GrabCombination>
        combinations;         ///< sorted, each once; tap keys are among them without modifiers
    std::bitset<256> tapKeys; ///< keys of bare modifiers that may be tapped

    [[nodiscard]] bool contains(GrabCombination combination) const;
};

/// A key event that a grab of ours has brought; the keyboard stands still until it is answered.
struct GrabbedKey {
    std::uint8_t key = 0;
    bool isPress = false;
    bool isRepeat = false;
    std::uint8_t modifiers = 0; ///< before the event, without lock modifiers
    bool isModifier = false;    ///< the key itself is a modifier
    bool isOurs = false;        ///< posted by this program
    bool isSynthetic = false;   ///< posted by some program
    bool isCore = false;        ///< came through a grab of the core protocol
    bool isPosting = false;     ///< keys that this program posts are on their way
    std::uint32_t time = 0;     ///< server time, milliseconds

    /// What became of an event that was still unread when its grab was dropped; it wants no answer then.
    enum class Settled { no, taken, replayed };
    Settled settled = Settled::no;
};

/// What a keyboard or pointer did, told ahead of all grabs. Nothing stands still for it.
struct RawInput {
    std::uint8_t key = 0; ///< 0 for a pointer button
    bool isPress = false;
    std::uint32_t time = 0;
};

/// Decides which requests the X server gets, so that no key is lost, leaked or stuck. Knows no X11 library.
///
/// Every grabbed key is answered exactly once: kept (swallowed) or replayed (the application gets it as if we
/// were not there). While only watching, single combinations are grabbed; while capturing, a guard catches
/// every key that is pressed. A swallowed press converts the grab into one that also sees the release, held
/// until all swallowed keys are up again: that keeps auto-repeats and releases from the application. Between
/// two steps it stays for a moment more, which spares a fast typist the change of focus that every new grab
/// makes; then it is dropped, so that other programs can have the keyboard. A release whose press the
/// application saw is replayed to it, which drops the grab; swallowed keys still down are orphans then, and a
/// tail grab meets their repeats.
///
/// A bare modifier that may be tapped is replayed when pressed and `arm`ed: the first key after its release
/// is held back until raw input, which runs ahead, has told whether that release made a tap.
class CaptureProtocol {
public:
    /// Requests to the server, executed in the order of the calls; none waits for a reply.
    class Requests {
    public:
        virtual ~Requests() = default;
        virtual void install(GrabCombination combination) = 0;
        virtual void remove(GrabCombination combination) = 0;
        virtual void installGuard() = 0;
        /// Takes every other passive grab of ours along.
        virtual void removeGuard() = 0;
        /// Catches presses without modifiers.
        virtual void arm() = 0;
        /// Takes the combinations without modifiers along.
        virtual void disarm() = 0;
        /// Catches one key with whatever modifiers.
        virtual void installTail(std::uint8_t key) = 0;
        /// Takes the combinations of that key along.
        virtual void removeTail(std::uint8_t key) = 0;
        virtual void watchRawInput(bool on) = 0;
        /// Converts the grab that brought `event` into one that stays; the event still wants its answer.
        virtual void convert(const GrabbedKey& event) = 0;
        virtual void answerKeep() = 0;
        /// Hands the event on and drops the grab.
        virtual void answerReplay() = 0;
        /// Keeps the event and drops the grab.
        virtual void answerUngrab(bool isCore) = 0;
        /// Drops a converted grab with no event in hand. One that has been told by then and not been read is
        /// handed on when `replay`, and belongs to us otherwise; either way it comes marked as settled.
        virtual void drop(bool isCore, bool replay) = 0;
    };

    /// Who decides. May call `setInterest` meanwhile.
    class Listener {
    public:
        virtual ~Listener() = default;
        virtual TapVerdict offer(const GrabbedKey& event) = 0;
        /// The tap key `key` was released, as raw input told.
        virtual void offerTapRelease(std::uint8_t key, std::uint32_t time) = 0;
        virtual void offerModifiersUsed(std::uint32_t time) = 0;
    };

    CaptureProtocol(Requests& requests, Listener& listener);

    /// At once, or with the answer when called while an event is being offered.
    void setInterest(KeyInterest::Mode mode, std::shared_ptr<const GrabPlan> plan);
    void handle(const GrabbedKey& event);
    void handleRaw(const RawInput& input);

    /// Installs everything again, in front of what other programs grabbed since; `afresh` removes it first,
    /// because the same combinations are made of other requests now.
    void reissue(bool afresh);
    /// To be called a second after `hasTail` became true: a key still down would have repeated by then.
    void dropTail();
    /// To be called a moment after `holdsIdleGrab` became true, when the server says that no key is down:
    /// then nothing but a press can come in between, and no application misses a release.
    void dropIdleGrab();

    /// A converted grab is held though no swallowed key is known to be down.
    [[nodiscard]] bool holdsIdleGrab() const { return converted_ && mine_.none(); }
    [[nodiscard]] bool hasTail() const { return tail_ != 0; }
    /// Whether the keyboard depends on us beyond the event in hand.
    [[nodiscard]] bool holdsKeyboard() const { return guarding_ || converted_; }
    [[nodiscard]] bool isSwallowed(std::uint8_t key) const { return mine_[key] || orphans_[key]; }

private:
    struct Interest {
        KeyInterest::Mode mode = KeyInterest::Mode::watch;
        std::shared_ptr<const GrabPlan> plan;
    };

    bool swallowsPress(const GrabbedKey& event);
    bool swallowsRelease(const GrabbedKey& event);
    void keep(const GrabbedKey& event);
    void forward(const GrabbedKey& event);
    void settle(const GrabbedKey& event, bool swallow);
    TapVerdict offer(const GrabbedKey& event);
    void armFor(const GrabbedKey& event);
    void followTap(const RawInput& input);
    void disarm();
    void applyInterest(const GrabbedKey* inHand);
    void installPlan(std::shared_ptr<const GrabPlan> plan);
    void changePlan(std::shared_ptr<const GrabPlan> plan);
    void watchRawInput(bool on);
    void meetRepeatsOf(std::uint8_t key);
    void removeTail();
    void forgetStaleOrphans();

    Requests& requests_;
    Listener& listener_;
    Interest wanted_;
    std::shared_ptr<const GrabPlan> installed_;
    bool offering_ = false;
    bool guarding_ = false;
    bool converted_ = false;
    bool convertedIsCore_ = false;
    bool armed_ = false;      ///< the arming grab is installed
    std::uint8_t tapKey_ = 0; ///< pressed, and perhaps a tap; 0 is none
    std::uint8_t tail_ = 0;
    std::uint8_t lastKept_ = 0; ///< only the key pressed last repeats
    std::bitset<256> mine_;     ///< swallowed and down
    std::bitset<256> orphans_;  ///< swallowed, and down when we lost sight of them
    bool watchesRaw_ = false;
    std::deque<RawInput> recentRaw_;
};

} // namespace varnel
