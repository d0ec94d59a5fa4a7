#include "keyboard/x11/CaptureProtocol.h"

#include <algorithm>
#include <cassert>
#include <iterator>

namespace varnel {
namespace {

using Mode = KeyInterest::Mode;

// Raw input runs ahead by what is typed while the keyboard stands still; a flood of posted keys is a lot.
constexpr std::size_t kRawHistory = 1024;

const std::shared_ptr<const GrabPlan>& emptyPlan() {
    static const auto plan = std::make_shared<const GrabPlan>();
    return plan;
}

/// Another key that is pressed takes the auto-repeat over, except a modifier or one that we post ourselves.
bool leavesRepeatAlone(const GrabbedKey& event) {
    return !event.isPress || event.isModifier || event.isOurs;
}

} // namespace

bool GrabPlan::contains(GrabCombination combination) const {
    return std::binary_search(combinations.begin(), combinations.end(), combination);
}

CaptureProtocol::CaptureProtocol(Requests& requests, Listener& listener)
    : requests_(requests)
    , listener_(listener)
    , wanted_{Mode::watch, emptyPlan()}
    , installed_(emptyPlan()) {}

void CaptureProtocol::setInterest(Mode mode, std::shared_ptr<const GrabPlan> plan) {
    if (!plan)
        plan = emptyPlan();
    wanted_ = {mode, std::move(plan)};
    if (offering_)
        return;
    applyInterest(nullptr);
    forgetStaleOrphans();
}

void CaptureProtocol::handle(const GrabbedKey& event) {
    if (event.settled == GrabbedKey::Settled::replayed)
        return;
    const bool swallow = event.isPress ? swallowsPress(event) : swallowsRelease(event);
    // Whatever decides who gets the next key must be in force before the server moves on to it.
    applyInterest(&event);
    if (event.settled == GrabbedKey::Settled::taken)
        settle(event, swallow);
    else if (swallow)
        keep(event);
    else
        forward(event);
    forgetStaleOrphans();
}

bool CaptureProtocol::swallowsPress(const GrabbedKey& event) {
    if (event.isOurs)
        return false;
    if (event.isRepeat) {
        // It fares as the press that it repeats, which may have been before our time.
        const bool swallow = isSwallowed(event.key);
        removeTail();
        // Whoever watches for keys that are held together wants to know also where nothing is swallowed.
        if (swallow ? guarding_ : installed_->contains({event.key, event.modifiers}))
            offer(event);
        return swallow;
    }
    orphans_.reset(event.key);
    // A modifier leaves the auto-repeat to the key before it; any other key ends that.
    if (!event.isModifier)
        removeTail();
    // A press without modifiers while a tap modifier is supposed to be down: its release went unnoticed.
    if (armed_ && !guarding_ && event.modifiers == 0)
        disarm();
    if (!guarding_ && !installed_->contains({event.key, event.modifiers}))
        return false;
    const bool swallow = offer(event) == TapVerdict::swallow;
    if (!swallow && !guarding_ && event.modifiers == 0 && installed_->tapKeys[event.key])
        armFor(event);
    return swallow;
}

bool CaptureProtocol::swallowsRelease(const GrabbedKey& event) {
    if (event.isOurs)
        return false;
    if (event.isModifier && guarding_)
        offer(event);
    return isSwallowed(event.key);
}

void CaptureProtocol::keep(const GrabbedKey& event) {
    if (event.isPress) {
        orphans_.reset(event.key);
        mine_.set(event.key);
        if (!event.isModifier)
            lastKept_ = event.key;
        if (!converted_) {
            requests_.convert(event);
            converted_ = true;
            convertedIsCore_ = event.isCore;
        }
        requests_.answerKeep();
        return;
    }
    mine_.reset(event.key);
    orphans_.reset(event.key);
    if (mine_.any() || (guarding_ && !event.isPosting)) {
        requests_.answerKeep();
        return;
    }
    meetRepeatsOf(lastKept_);
    requests_.answerUngrab(convertedIsCore_);
    converted_ = false;
}

void CaptureProtocol::forward(const GrabbedKey& event) {
    if (converted_) {
        orphans_ |= mine_;
        mine_.reset();
        converted_ = false;
    }
    orphans_.reset(event.key);
    if (leavesRepeatAlone(event))
        meetRepeatsOf(lastKept_);
    requests_.answerReplay();
}

void CaptureProtocol::settle(const GrabbedKey& event, bool swallow) {
    orphans_.set(event.key, swallow && event.isPress);
    if (!event.isModifier && event.isPress)
        lastKept_ = event.key;
    meetRepeatsOf(lastKept_);
}

void CaptureProtocol::dropIdleGrab() {
    if (!converted_ || mine_.any())
        return;
    // A key that comes in between is hardly ever meant for the application while a sequence is open.
    requests_.drop(convertedIsCore_, !guarding_);
    converted_ = false;
}

TapVerdict CaptureProtocol::offer(const GrabbedKey& event) {
    offering_ = true;
    const TapVerdict verdict = listener_.offer(event);
    offering_ = false;
    return verdict;
}

void CaptureProtocol::armFor(const GrabbedKey& event) {
    const auto press = std::find_if(recentRaw_.begin(), recentRaw_.end(), [&](const RawInput& input) {
        return input.key == event.key && input.isPress && input.time == event.time;
    });
    // Without it the release may have gone unnoticed as well.
    if (press == recentRaw_.end())
        return;
    // Raw input may have run ahead of this very event: then it has already told what followed.
    const std::vector<RawInput> followed(std::next(press), recentRaw_.end());
    recentRaw_.erase(recentRaw_.begin(), std::next(press));
    tapKey_ = event.key;
    for (const RawInput& input : followed)
        if (tapKey_ != 0)
            followTap(input);
    if (tapKey_ != 0 && !armed_ && wanted_.mode == Mode::watch) {
        requests_.arm();
        armed_ = true;
    }
}

void CaptureProtocol::handleRaw(const RawInput& input) {
    recentRaw_.push_back(input);
    if (recentRaw_.size() > kRawHistory)
        recentRaw_.pop_front();
    // While capturing the grabs tell everything, and in the right order.
    if (tapKey_ == 0 || guarding_)
        return;
    followTap(input);
    applyInterest(nullptr);
    if (tapKey_ == 0 && !guarding_)
        disarm();
}

void CaptureProtocol::followTap(const RawInput& input) {
    offering_ = true;
    if (input.isPress) {
        if (input.key != tapKey_)
            listener_.offerModifiersUsed(input.time);
    } else if (input.key == tapKey_) {
        tapKey_ = 0;
        listener_.offerTapRelease(input.key, input.time);
    }
    offering_ = false;
}

void CaptureProtocol::disarm() {
    tapKey_ = 0;
    if (!armed_)
        return;
    armed_ = false;
    requests_.disarm();
    for (const GrabCombination combination : installed_->combinations)
        if (combination.modifiers == 0)
            requests_.install(combination);
}

void CaptureProtocol::applyInterest(const GrabbedKey* inHand) {
    if (wanted_.mode == Mode::capture) {
        if (!guarding_)
            requests_.installGuard();
        guarding_ = true;
        tapKey_ = 0;
        tail_ = 0; // removing it from under the guard would tear a hole into the guard
        return;
    }
    watchRawInput(wanted_.plan->tapKeys.any());
    if (!guarding_) {
        changePlan(wanted_.plan);
        if (!watchesRaw_)
            disarm(); // nobody would tell of the release
        return;
    }
    requests_.removeGuard();
    guarding_ = false;
    armed_ = false;
    tail_ = 0;
    installPlan(wanted_.plan);
    if (!converted_ && (inHand == nullptr || (inHand->key != lastKept_ && leavesRepeatAlone(*inHand))))
        meetRepeatsOf(lastKept_);
}

void CaptureProtocol::installPlan(std::shared_ptr<const GrabPlan> plan) {
    installed_ = std::move(plan);
    for (const GrabCombination combination : installed_->combinations)
        requests_.install(combination);
}

void CaptureProtocol::changePlan(std::shared_ptr<const GrabPlan> plan) {
    if (plan == installed_)
        return;
    const auto& before = installed_->combinations;
    const auto& after = plan->combinations;
    std::vector<GrabCombination> changed;
    std::set_difference(before.begin(), before.end(), after.begin(), after.end(),
                        std::back_inserter(changed));
    for (const GrabCombination combination : changed)
        requests_.remove(combination);
    changed.clear();
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                        std::back_inserter(changed));
    for (const GrabCombination combination : changed)
        requests_.install(combination);
    installed_ = std::move(plan);
}

void CaptureProtocol::watchRawInput(bool on) {
    if (on == watchesRaw_)
        return;
    watchesRaw_ = on;
    recentRaw_.clear();
    requests_.watchRawInput(on);
}

void CaptureProtocol::meetRepeatsOf(std::uint8_t key) {
    if (guarding_ || tail_ == key || !orphans_[key])
        return;
    removeTail();
    tail_ = key;
    requests_.installTail(key);
}

void CaptureProtocol::forgetStaleOrphans() {
    // With neither guard nor converted grab a key can go up and down again unnoticed, except where the tail
    // is.
    if (guarding_ || converted_)
        return;
    const bool tailIsDown = orphans_[tail_];
    orphans_.reset();
    orphans_.set(tail_, tailIsDown);
}

void CaptureProtocol::dropTail() {
    removeTail();
    forgetStaleOrphans();
}

void CaptureProtocol::removeTail() {
    if (tail_ == 0)
        return;
    const std::uint8_t key = tail_;
    tail_ = 0;
    requests_.removeTail(key);
    const auto first = std::lower_bound(installed_->combinations.begin(), installed_->combinations.end(),
                                        GrabCombination{key, 0});
    for (auto it = first; it != installed_->combinations.end() && it->key == key; ++it)
        requests_.install(*it);
}

void CaptureProtocol::reissue(bool afresh) {
    if (guarding_) {
        // The guard has to stay in front of everything; the rest is installed again when it goes.
        requests_.installGuard();
        return;
    }
    if (afresh)
        requests_.removeGuard();
    installPlan(installed_);
    if (afresh && armed_)
        requests_.arm();
    if (afresh && tail_ != 0)
        requests_.installTail(tail_);
}

} // namespace varnel
