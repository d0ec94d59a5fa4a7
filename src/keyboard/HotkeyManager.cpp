#include "keyboard/HotkeyManager.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "keyboard/HintStateBuilder.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

constexpr std::size_t kDebugTokenCount = 32;
constexpr Duration kTransientStatusTime = 3s;
constexpr std::string_view kEscape = "escape";

/// Canonical tokens begin with their first modifier, and no key's name begins like one.
bool isShortcut(std::string_view token) {
    return token.starts_with("cmd") || token.starts_with("ctrl") || token.starts_with("alt");
}

/// Forward, backward or not at all.
int pageTurn(std::string_view token) {
    if (token == "pagedown" || token == "tab")
        return 1;
    return token == "pageup" || token == "shift+tab" ? -1 : 0;
}

/// Whether the status is the text with some value in its place, in the user's language: not every language
/// puts the value last.
bool saysLike(std::string_view status, std::string_view localizedText) {
    const std::size_t place = localizedText.find("%1");
    if (place == std::string_view::npos || localizedText.size() == 2)
        return false;
    return status.starts_with(localizedText.substr(0, place)) &&
           status.ends_with(localizedText.substr(place + 2)) && status.size() + 2 > localizedText.size();
}

/// Good news is not kept on show. Plugins may report it in English whatever the user's language.
bool isTransient(std::string_view status) {
    return status.starts_with("Executed:") || status.starts_with("Launched:") ||
           saysLike(status, localized("Executed: %1")) || saysLike(status, localized("Launched: %1"));
}

SequenceMachine::NeedsChoice choiceTest(const DynamicChoiceRegistry* registry) {
    if (!registry)
        return {};
    return [registry](const ConfigItem& item) { return registry->resolverFor(item) != nullptr; };
}

} // namespace

HotkeyManager::HotkeyManager(HotkeyManagerDependencies dependencies)
    : dependencies_(std::move(dependencies))
    , rootItems_(std::make_shared<const std::vector<ConfigItem>>())
    , machine_(dependencies_.timings, choiceTest(dependencies_.dynamicChoiceRegistry))
    , recorder_(machine_, dependencies_.wallClock, [this] { changed(Topic::decisions); })
    , firstTokens_(machine_.index().firstTokens())
    , escapeOnly_(std::make_shared<const std::vector<std::string>>(1, std::string(kEscape))) {
    // Recording a token must not allocate on the way of a key.
    lastPressedKey_.reserve(KeyTokenCodec::kLongestLiveToken);
    debugTokens_.resize(kDebugTokenCount);
    for (std::string& token : debugTokens_)
        token.reserve(KeyTokenCodec::kLongestLiveToken);
    publishInterest();
}

HotkeyManager::~HotkeyManager() {
    stopLocalMonitoring();
    stopGlobalMonitoring();
}

// Monitoring

std::unique_ptr<KeyboardMonitoring> HotkeyManager::startMonitor(KeyboardMonitorCreating& factory,
                                                                KeyTokenHandler handler) {
    auto monitor = factory.createMonitor(std::move(handler));
    if (!monitor)
        return nullptr;
    monitor->setInterest(publishedInterest_);
    return monitor->start() ? std::move(monitor) : nullptr;
}

bool HotkeyManager::startGlobalMonitoring() {
    stopGlobalMonitoring();
    monitor_ = startMonitor(dependencies_.keyboardMonitorFactory,
                            [this](const std::string& token, TimePoint time) { return handle(token, time); });
    isGlobalOn_ = monitor_ != nullptr;
    if (monitor_)
        monitor_->setNotices(notices());
    if (isGlobalOn_)
        recorder_.note(Decision::Kind::captureStarted);
    else
        recorder_.note(Decision::Kind::captureRefused,
                       dependencies_.captureError ? dependencies_.captureError() : std::string());
    axTrusted_ = dependencies_.isAccessibilityTrusted && dependencies_.isAccessibilityTrusted();
    if (dependencies_.writeDiagnostic)
        dependencies_.writeDiagnostic(std::string("HotkeyManager: Global monitoring started: ") +
                                      (isGlobalOn_ ? "true" : "false") +
                                      ", AX: " + (axTrusted_ ? "true" : "false"));
    changed(Topic::status);
    return isGlobalOn_;
}

void HotkeyManager::stopGlobalMonitoring() {
    reset("monitoring stopped");
    if (auto monitor = std::exchange(monitor_, nullptr))
        monitor->stop();
    if (!std::exchange(isGlobalOn_, false))
        return;
    recorder_.note(Decision::Kind::captureStopped);
    changed(Topic::status);
}

bool HotkeyManager::startLocalMonitoring() {
    stopLocalMonitoring();
    if (!dependencies_.localMonitorFactory)
        return false;
    // What the global monitor let through must not be handled again on its way into our own windows.
    localMonitor_ =
        startMonitor(*dependencies_.localMonitorFactory, [this](const std::string& token, TimePoint time) {
            return !isGlobalOn_ && handle(token, time);
        });
    isLocalOn_ = localMonitor_ != nullptr;
    changed(Topic::status);
    return isLocalOn_;
}

void HotkeyManager::stopLocalMonitoring() {
    if (auto monitor = std::exchange(localMonitor_, nullptr))
        monitor->stop();
    if (std::exchange(isLocalOn_, false))
        changed(Topic::status);
}

void HotkeyManager::suspend(const std::string& reason) {
    if (!suspensionReasons_.insert(reason).second)
        return;
    reset("suspended");
    if (reason == kPanicReason)
        recorder_.note(Decision::Kind::panicKeys);
    else
        recorder_.note(Decision::Kind::suspended, reason);
    publishInterest();
    changed(Topic::status);
}

void HotkeyManager::resume(const std::string& reason) {
    if (suspensionReasons_.erase(reason) == 0)
        return;
    recorder_.note(Decision::Kind::resumed, reason);
    publishInterest();
    changed(Topic::status);
}

void HotkeyManager::panicKeysHeld() {
    if (suspensionReasons_.contains(kPanicReason))
        return;
    suspend(kPanicReason);
    // Whoever else held the keyboard back, it is free now.
    for (KeyboardMonitoring* monitor : {monitor_.get(), localMonitor_.get()})
        if (monitor)
            monitor->endSuppression();
    setStatusMessage(localized("Paused by the panic keys: left ctrl, space and escape together"));
}

KeyboardNotices HotkeyManager::notices() {
    return {.panicKeysHeld = [this] { panicKeysHeld(); },
            .heldTooLong =
                [this](Modifier modifier, Duration held, Duration limit, TimePoint) {
                    if (!isSuspended())
                        recorder_.heldTooLong(modifierName(modifier), held, limit);
                },
            .postedByUs =
                [this](const std::string& token, TimePoint) {
                    if (!isSuspended())
                        recorder_.postedByUs(token);
                }};
}

void HotkeyManager::updateConfiguration(ConfigItems items) {
    recorder_.interrupted();
    apply(machine_.setIndex(HotkeyLookupIndex::build(items)));
    rootItems_ = items ? std::move(items) : std::make_shared<const std::vector<ConfigItem>>();
    recorder_.configurationLoaded(rootItems_->size());
    continuationTokens_.reset();
    if (*firstTokens_ != *machine_.index().firstTokens())
        firstTokens_ = machine_.index().firstTokens();
    publishInterest();
    changed(Topic::status);
}

// Keys

bool HotkeyManager::handle(const std::string& token, TimePoint time) {
    if (isSuspended()) {
        recorder_.keyPassed();
        return false;
    }
    expire(time);
    if (hintPageCount_ > 1 && turnPage(token, time))
        return true;
    const DecisionRecorder::Before before = recorder_.look();
    SequenceStep step = machine_.handle(token, time);
    const bool swallows = step.decision == KeyDecision::swallow;
    recorder_.keyHandled(before, token, step);
    recordToken(token, !swallows && !isShortcut(token));
    noteForHints(step, token);
    apply(std::move(step));
    return swallows;
}

/// Whether the key turned a page of the hints instead of being refused.
bool HotkeyManager::turnPage(std::string_view token, TimePoint time) {
    const int turn = pageTurn(token);
    const bool isOpen = machine_.interaction() == Interaction::capture ||
                        machine_.interaction() == Interaction::dynamicChoice;
    if (turn == 0 || !isOpen)
        return false;
    const auto* capture = std::get_if<SequenceMachine::Capture>(&machine_.state());
    if (capture && machine_.index().advance(capture->position, token))
        return false;
    pageTurns_ += turn;
    apply(machine_.keepOpen(time));
    return true;
}

void HotkeyManager::noteForHints(const SequenceStep& step, const std::string& token) {
    if (!step.changed)
        return;
    pageTurns_ = 0;
    refusal_.reset();
    if (step.refusedAt)
        refusal_ = HintRefusal{token, machine_.index().tokens(*step.refusedAt), ++refusalCount_};
}

void HotkeyManager::reset(std::string_view reason) {
    if (machine_.interaction() == Interaction::idle)
        return;
    lastResetReason_ = reason;
    recorder_.interrupted();
    apply(machine_.reset());
}

bool HotkeyManager::trigger(const std::vector<std::string>& tokens) {
    const auto position = machine_.index().find(KeyTokenCodec::liveSpelling(tokens));
    if (!position || !machine_.index().action(*position))
        return false;
    reset("triggered");
    recorder_.triggered(*machine_.index().action(*position));
    apply(machine_.trigger(*position, dependencies_.loop.now()));
    return true;
}

void HotkeyManager::recordToken(const std::string& token, bool isPlainTyping) {
    lastPressedKey_ = token;
    if (isPlainTyping)
        return;
    debugTokens_[debugNext_] = token;
    debugNext_ = (debugNext_ + 1) % kDebugTokenCount;
}

std::vector<std::string> HotkeyManager::debugTokens() const {
    std::vector<std::string> result;
    for (std::size_t i = 0; i < kDebugTokenCount; ++i)
        if (const std::string& token = debugTokens_[(debugNext_ + i) % kDebugTokenCount]; !token.empty())
            result.push_back(token);
    return result;
}

/// Does what the rules asked for.
void HotkeyManager::apply(SequenceStep step) {
    for (KeyboardMonitoring* monitor : {monitor_.get(), localMonitor_.get()}) {
        if (monitor && step.suppression == SequenceStep::Suppression::begin)
            monitor->suppress(step.suppressFor);
        else if (monitor && step.suppression == SequenceStep::Suppression::end)
            monitor->endSuppression();
    }
    if (step.changed) {
        if (machine_.interaction() != Interaction::dynamicChoice)
            choiceRequest_.reset();
        armTimer();
        publishInterest();
        changed(Topic::hints);
    }
    if (step.message)
        setStatusMessage(std::move(*step.message));
    if (step.completed)
        execute(*step.completed, step.choice);
    if (step.choicesWanted)
        resolveChoices(*step.choicesWanted, step.choiceRequest);
}

void HotkeyManager::armTimer() {
    const auto deadline = machine_.nextDeadline();
    if (deadline == timerDeadline_ && (timer_ || !deadline))
        return;
    timerDeadline_ = deadline;
    timer_.reset();
    if (!deadline)
        return;
    const Duration delay = std::max(*deadline - dependencies_.loop.now(), Duration::zero());
    timer_ = dependencies_.loop.after(delay, [this] {
        timer_.reset();
        expire(dependencies_.loop.now());
        armTimer();
    });
}

/// Ends what is due at `now`.
void HotkeyManager::expire(TimePoint now) {
    const auto deadline = machine_.nextDeadline();
    if (!deadline || now < *deadline)
        return;
    recorder_.expiring();
    apply(machine_.expire(now));
}

void HotkeyManager::resolveChoices(const ConfigItem& item, std::uint64_t request) {
    const auto resolver = dependencies_.dynamicChoiceRegistry->resolverFor(item);
    if (!resolver)
        return;
    auto answer = [this, alive = std::weak_ptr(alive_),
                   request](std::expected<DynamicChoiceList, std::string> choices) {
        if (alive.expired())
            return;
        const DecisionRecorder::Before before = recorder_.look();
        SequenceStep step = machine_.choicesResolved(request, std::move(choices), dependencies_.loop.now());
        recorder_.choicesArrived(before, step);
        apply(std::move(step));
    };
    choiceRequest_ = resolver->resolve(item, std::move(answer));
}

// Commands

void HotkeyManager::execute(const ConfigItem& item, const std::optional<DynamicChoice>& choice) {
    static const PluginSettings kNoSettings;
    lastTriggerInfo_ = item.name + " (" + join(machine_.sequence(), " ") + ")";
    changed(Topic::status);
    auto report = [this, alive = std::weak_ptr(alive_), name = item.name](std::string message) {
        if (!alive.expired())
            commandFinished(name, std::move(message));
    };
    dependencies_.commandExecutor.execute(
        choice ? itemForChoice(item, *choice) : item,
        dependencies_.currentConfigPath ? dependencies_.currentConfigPath() : std::string(),
        dependencies_.pluginSettings ? dependencies_.pluginSettings() : kNoSettings, std::move(report));
}

void HotkeyManager::commandFinished(const std::string& name, std::string message) {
    recorder_.commandFinished(name, message);
    ++finishedCommands_;
    setStatusMessage(std::move(message));
    statusChecks_.push_back(dependencies_.loop.after(kTransientStatusTime, [this] {
        // Checks come due in the order in which they were made.
        const Subscription done = std::move(statusChecks_.front());
        statusChecks_.pop_front();
        if (isTransient(statusMessage_))
            setStatusMessage({});
    }));
}

bool HotkeyManager::isStatusRoutine() const {
    return isTransient(statusMessage_);
}

void HotkeyManager::setStatusMessage(std::string message) {
    statusMessage_ = std::move(message);
    changed(Topic::status);
}

// Publication

KeyInterest HotkeyManager::currentInterest() {
    if (isSuspended())
        return {};
    switch (machine_.interaction()) {
    case Interaction::capture:
    case Interaction::dynamicChoice:
        return {KeyInterest::Mode::capture, firstTokens_, PanicKeys::chords()};
    case Interaction::pendingPassthrough:
        return {KeyInterest::Mode::watch,
                continuationInterest(std::get<SequenceMachine::PendingPassthrough>(machine_.state())),
                PanicKeys::chords()};
    case Interaction::frozenOverlay:
        return {KeyInterest::Mode::watch, escapeOnly_, PanicKeys::chords()};
    case Interaction::idle:
    case Interaction::selectionFeedback:
        break;
    }
    return {KeyInterest::Mode::watch, firstTokens_, PanicKeys::chords()};
}

const std::shared_ptr<const std::vector<std::string>>&
HotkeyManager::continuationInterest(const SequenceMachine::PendingPassthrough& pending) {
    if (continuationTokens_ && continuationOf_ == pending.position.node)
        return continuationTokens_;
    const auto& first = *firstTokens_;
    auto tokens = std::make_shared<std::vector<std::string>>(first);
    auto add = [&](std::string token) {
        if (!std::ranges::binary_search(first, token))
            tokens->push_back(std::move(token));
    };
    add(std::string(kEscape));
    for (const std::string& token : machine_.continuations(pending))
        add(token);
    continuationTokens_ = std::move(tokens);
    continuationOf_ = pending.position.node;
    return continuationTokens_;
}

void HotkeyManager::publishInterest() {
    KeyInterest interest = currentInterest();
    if (interest == publishedInterest_)
        return;
    publishedInterest_ = std::move(interest);
    for (KeyboardMonitoring* monitor : {monitor_.get(), localMonitor_.get()})
        if (monitor)
            monitor->setInterest(publishedInterest_);
}

HintState HotkeyManager::hintState() const {
    HintState hints =
        buildHintState(machine_, {dependencies_.applicationStatusResolver, dependencies_.actionAvailability});
    hints.refusal = refusal_;
    hints.pageTurns = pageTurns_;
    return hints;
}

std::string HotkeyManager::statusLine() const {
    std::string line = isSuspended() ? "SUSPENDED" : "active";
    line += isLocalOn_ ? " local:on" : " local:off";
    line += isGlobalOn_ ? " global:on" : " global:off";
    line += axTrusted_ ? " AX:granted" : " AX:denied";
    return line;
}

bool HotkeyManager::isKeyboardHeldElsewhere() const {
    return monitor_ && monitor_->isKeyboardHeldElsewhere();
}

std::string HotkeyManager::trouble() const {
    return monitor_ ? monitor_->trouble() : std::string();
}

Subscription HotkeyManager::observe(Topic topic, std::function<void()> observer) {
    return observers_.add(static_cast<int>(topic), std::move(observer));
}

bool HotkeyManager::isObserved(Topic topic) const {
    return std::ranges::any_of(observers_.snapshot(), [topic](const auto& entry) {
        return entry->live && entry->tag == static_cast<int>(topic);
    });
}

void HotkeyManager::changed(Topic topic) {
    if (postedTopics_.contains(topic) || !isObserved(topic) || !postedTopics_.insert(topic).second)
        return;
    dependencies_.loop.post([this, alive = std::weak_ptr(alive_), topic] {
        if (alive.expired())
            return;
        postedTopics_.erase(topic);
        observers_.call(static_cast<int>(topic));
    });
}

} // namespace varnel
