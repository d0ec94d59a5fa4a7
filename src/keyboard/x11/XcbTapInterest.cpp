// What the tap asks of the server, how it asks again, and what it says of refusals.
#include "keyboard/x11/XcbTap.h"

#include <algorithm>
#include <iterator>

namespace varnel {
namespace {

constexpr std::size_t kCachedPlans = 4;
constexpr Duration kReissueSoon = 100ms;
constexpr Duration kReissueLater = 1s;
constexpr Duration kFirstRetry = 100ms;
constexpr Duration kLongestRetry = 10s;

} // namespace

void XcbTap::setInterest(const KeyInterest& interest) {
    const bool hasOtherKeys = interest.tokens != interest_.tokens;
    interest_ = interest;
    if (!enabled_ || invalidated_)
        return;
    applyInterest();
    // Whoever hears that a configuration is in force, or that we have resumed, may type at once.
    if (hasOtherKeys && protocol_ && depth_ == 0)
        waitUntilInForce();
}

void XcbTap::waitUntilInForce() {
    // What is refused is asked for in another way, once.
    bool changed = false;
    do {
        server_.waitForRequests();
        changed = requests_.collectReplies() || changed;
    } while (requests_.awaitsReplies());
    if (changed)
        refusalsChanged();
}

void XcbTap::refusalsChanged() {
    publishTrouble();
    refusalsRetry_.reset();
    if (!requests_.refused().empty())
        retryRefusedAfter(kFirstRetry);
}

void XcbTap::retryRefusedAfter(Duration time) {
    refusalsRetry_ = loop_.after(time, [weak = weak_from_this(), time] {
        const auto self = weak.lock();
        if (!self || !self->protocol_)
            return;
        // While the guard is there everything would be granted.
        if (!self->protocol_->holdsKeyboard())
            self->requests_.retryRefused();
        self->retryRefusedAfter(std::min(3 * time, kLongestRetry));
    });
}

void XcbTap::applyInterest() {
    if (!protocol_)
        return;
    const bool watches = interest_.mode == KeyInterest::Mode::watch;
    protocol_->setInterest(interest_.mode, watches ? planFor(interest_) : nullptr);
    if (depth_ > 0)
        return;
    if (watches)
        idleGrabTimer_.reset(); // nobody types a next step any more
    followUp();
}

std::shared_ptr<const GrabPlan> XcbTap::planFor(const KeyInterest& interest) {
    const bool withPanicKeys = interest.panicChords != nullptr;
    for (const CachedPlan& cached : plans_)
        if (cached.tokens == interest.tokens && cached.withPanicKeys == withPanicKeys)
            return cached.plan;
    GrabPlan plan;
    if (interest.tokens)
        plan = requests_.map().plan(*interest.tokens);
    if (withPanicKeys) {
        std::vector<GrabCombination> all;
        std::set_union(plan.combinations.begin(), plan.combinations.end(), freePanicKeys_.begin(),
                       freePanicKeys_.end(), std::back_inserter(all));
        plan.combinations = std::move(all);
    }
    plans_.push_front({interest.tokens, withPanicKeys, std::make_shared<const GrabPlan>(std::move(plan))});
    if (plans_.size() > kCachedPlans)
        plans_.pop_back();
    return plans_.front().plan;
}

std::vector<GrabCombination> XcbTap::panicCombinations() const {
    return requests_.map().plan(*PanicKeys::chords()).combinations;
}

/// True when they have changed.
bool XcbTap::findFreePanicKeys() {
    std::vector<GrabCombination> found = panicCombinations();
    std::erase_if(found, [this](GrabCombination c) { return !requests_.isFreeOfCoreGrabs(c); });
    return std::exchange(freePanicKeys_, found) != found;
}

void XcbTap::scheduleReissue(bool managerChanged) {
    managerChanged_ = managerChanged_ || managerChanged;
    const std::weak_ptr<XcbTap> weak = weak_from_this();
    const auto task = [weak] {
        if (const auto self = weak.lock())
            self->reissue();
    };
    // Window managers grab again after the same notice; ours have to come after theirs.
    reissueSoon_ = loop_.after(kReissueSoon, task);
    reissueLater_ = loop_.after(kReissueLater, task);
}

void XcbTap::reissue() {
    if (!protocol_ || invalidated_)
        return;
    if (managerChanged_ && !protocol_->holdsKeyboard())
        requests_.testGuard();
    KeyboardMap map = server_.loadMap();
    const bool afresh = map != requests_.map();
    if (afresh) {
        requests_.setMap(map);
        plans_.clear();
    }
    if ((afresh || managerChanged_) && findFreePanicKeys())
        plans_.clear();
    managerChanged_ = managerChanged_ && protocol_->holdsKeyboard();
    applyInterest();
    protocol_->reissue(afresh);
    followUp();
    // The replies that were waited for may have brought events along.
    drain();
}

bool XcbTap::isKeyboardHeldElsewhere() const {
    // Our own guard only waits for keys; it holds nobody else off.
    return protocol_ && server_.isHeldByOther();
}

std::optional<PanicKeySet> XcbTap::panicKeysHeldByHand() const {
    const auto keys = server_.keysHeldByHand();
    if (!keys)
        return std::nullopt;
    PanicKeySet held;
    for (std::size_t key = server_.minimumKey; key <= server_.maximumKey; ++key) {
        if (!(*keys)[key])
            continue;
        const KeyCode code = requests_.map().keyCode(static_cast<std::uint8_t>(key));
        held.leftControl |= code == PanicKeys::kLeftControl;
        held.space |= code == PanicKeys::kSpace;
        held.escape |= code == PanicKeys::kEscape;
    }
    return held;
}

std::string XcbTap::trouble() const {
    if (lost_)
        return "the X server is gone";
    if (!protocol_)
        return "the connection to the X server was cut";
    if (!protocol_->holdsKeyboard() && isKeyboardHeldElsewhere())
        return "another program holds the keyboard";
    std::string refused;
    for (const GrabCombination combination : refusedAndBound())
        refused += (refused.empty() ? "" : ", ") + requests_.map().spelling(combination);
    return refused.empty() ? "" : "another program holds " + refused;
}

/// Without the panic chords that nothing is bound to.
std::vector<GrabCombination> XcbTap::refusedAndBound() const {
    std::vector<GrabCombination> refused = requests_.refused();
    if (refused.empty() || !interest_.tokens)
        return {};
    const GrabPlan bound = requests_.map().plan(*interest_.tokens);
    std::erase_if(refused, [&bound](GrabCombination c) { return !bound.contains(c); });
    return refused;
}

void XcbTap::publishTrouble() {
    if (!options_.onTroubleChanged)
        return;
    loop_.post([weak = weak_from_this()] {
        if (const auto self = weak.lock(); self && !self->invalidated_)
            self->options_.onTroubleChanged();
    });
}

} // namespace varnel
