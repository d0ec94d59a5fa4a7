#pragma once

#include "base/EventLoop.h"
#include "base/LoopTasks.h"
#include "commands/CommandExecutor.h"
#include "keyboard/DecisionRecorder.h"
#include "keyboard/DynamicChoices.h"
#include "keyboard/HintState.h"
#include "keyboard/HotkeyLookupIndex.h"
#include "keyboard/KeyboardMonitoring.h"
#include "keyboard/SequenceMachine.h"
#include "keyboard/SuspensionReasons.h"
#include "keyboard/TimingPreferences.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// What the engine needs of the world. Everything referred to must outlive the manager; functions may be
/// empty where it says so.
struct HotkeyManagerDependencies {
    EventLoop& loop;
    KeyboardMonitorCreating& keyboardMonitorFactory;
    SequenceTimings timings;
    CommandExecuting& commandExecutor;
    /// What commands are told of the configuration, asked when one is made.
    std::function<std::string()> currentConfigPath;
    std::function<const PluginSettings&()> pluginSettings;
    /// Whether the keyboard may be captured at all.
    std::function<bool()> isAccessibilityTrusted;
    std::function<void(std::string_view line)> writeDiagnostic; ///< may be empty
    /// Whether the application at a path runs, for hint rows; may be empty.
    std::function<bool(const std::string& applicationPath)> applicationStatusResolver;
    /// Whether an item's action could run now, for hint rows; only looks at values in memory. May be empty.
    std::function<HintAvailability(const ConfigItem&)> actionAvailability = {};
    /// As in `DecisionContext`; may take its time, for it is asked only when a decision is told. May be
    /// empty.
    std::function<std::string(const ConfigItem&)> obstacle = {};
    /// Why keys cannot be captured, as a sentence; "" when nothing is known. May be empty.
    std::function<std::string()> captureError = {};
    const DynamicChoiceRegistry* dynamicChoiceRegistry = nullptr; ///< may be null
    /// Monitors keys while our own windows have the focus and the global monitor is off; may be null.
    KeyboardMonitorCreating* localMonitorFactory = nullptr;
    std::function<WallTime()> wallClock = {}; ///< for the times of decisions; empty: the system's
};

/// The heart: receives every token, keeps the interaction, decides what is swallowed, runs what was completed
/// and publishes what the user interface shows. Main thread only; commands run on their queue and come back
/// through the loop.
class HotkeyManager {
public:
    explicit HotkeyManager(HotkeyManagerDependencies dependencies);
    ~HotkeyManager();
    HotkeyManager(const HotkeyManager&) = delete;
    HotkeyManager& operator=(const HotkeyManager&) = delete;

    /// False when the keyboard can't be captured. Writes one diagnostic line.
    bool startGlobalMonitoring();
    void stopGlobalMonitoring();
    bool startLocalMonitoring();
    void stopLocalMonitoring();

    /// Keys pass untouched while any reason is in force. An open interaction ends.
    void suspend(const std::string& reason);
    void resume(const std::string& reason);
    [[nodiscard]] bool isSuspended() const { return !suspensionReasons_.empty(); }
    [[nodiscard]] const std::set<std::string>& suspensionReasons() const { return suspensionReasons_; }

    /// Replaces the items; an open interaction ends. Null counts as none.
    void updateConfiguration(ConfigItems items);
    [[nodiscard]] const ConfigItems& rootItems() const { return rootItems_; }
    [[nodiscard]] const HotkeyLookupIndex& hotkeyIndex() const { return machine_.index(); }

    /// The token handler: true swallows. `time` is the event's.
    bool handle(const std::string& token, TimePoint time);
    /// Ends any interaction; `reason` says why, for diagnostics.
    void reset(std::string_view reason);
    /// Why the last open interaction was ended from outside.
    [[nodiscard]] const std::string& lastResetReason() const { return lastResetReason_; }
    /// Publishes the hints anew: something that their rows tell of has changed.
    void refreshHints() { changed(Topic::hints); }
    /// Tells how many pages the hints take where they are shown. With several, the page keys turn them
    /// (`HintState::pageTurns`) unless the open sequence goes on with that very key.
    void setHintPageCount(int count) { hintPageCount_ = count; }
    /// Runs the action with this trigger as if it had been typed; false when no action has it.
    bool trigger(const std::vector<std::string>& tokens);

    // Published state. Observers are called from the loop, once however often something changed in a turn.

    /// Built when asked for; nothing is built while nobody asks.
    [[nodiscard]] HintState hintState() const;
    [[nodiscard]] Interaction interaction() const { return machine_.interaction(); }
    [[nodiscard]] std::vector<std::string> currentSequence() const { return machine_.sequence(); }
    [[nodiscard]] std::vector<std::string> hintOptions() const { return machine_.hintOptions(); }
    [[nodiscard]] std::vector<HintRow> hintOptionsWithNames() const { return hintState().rows; }
    [[nodiscard]] const std::string& statusMessage() const { return statusMessage_; }
    /// It only says that something was done as it should be.
    [[nodiscard]] bool isStatusRoutine() const;
    [[nodiscard]] const std::string& lastTriggerInfo() const { return lastTriggerInfo_; }
    [[nodiscard]] const std::string& lastPressedKey() const { return lastPressedKey_; }
    /// The last 32 tokens of shortcuts and open sequences, oldest first; plain typing is never kept.
    [[nodiscard]] std::vector<std::string> debugTokens() const;
    [[nodiscard]] bool isGlobalOn() const { return isGlobalOn_; }
    [[nodiscard]] bool isLocalOn() const { return isLocalOn_; }
    [[nodiscard]] bool axTrusted() const { return axTrusted_; }
    /// "active local:on global:on AX:granted"
    [[nodiscard]] std::string statusLine() const;
    /// What is in the way of the running monitor; empty when nothing is.
    [[nodiscard]] std::string trouble() const;
    /// Whether another program, a screen locker for example, has the keyboard to itself at this moment.
    [[nodiscard]] bool isKeyboardHeldElsewhere() const;
    /// How many commands have finished so far: the same message twice is news twice.
    [[nodiscard]] std::uint64_t finishedCommands() const { return finishedCommands_; }
    [[nodiscard]] std::optional<TimePoint> nextDeadline() const { return machine_.nextDeadline(); }

    // Why something happened, or nothing.

    /// The last decisions. Make sentences of them with `describe` and `decisionContext`.
    [[nodiscard]] const DecisionLog& decisions() const { return recorder_.log(); }
    [[nodiscard]] DecisionContext decisionContext() const {
        return {*rootItems_, recorder_.configuration(), dependencies_.obstacle};
    }
    /// Adds what the composition has noticed: trouble with the keyboard, a configuration that does not load.
    void note(Decision::Kind kind, std::string_view message) { recorder_.note(kind, message); }

    enum class Topic {
        hints,     ///< interaction, sequence or rows
        status,    ///< status message, monitoring, suspension, last trigger, items
        decisions, ///< another decision was made; keys that are only counted do not show here
    };
    [[nodiscard]] Subscription observe(Topic topic, std::function<void()> observer);

private:
    void apply(SequenceStep step);
    void resolveChoices(const ConfigItem& item, std::uint64_t request);
    void execute(const ConfigItem& item, const std::optional<DynamicChoice>& choice);
    void commandFinished(const std::string& name, std::string message);
    void expire(TimePoint now);
    void panicKeysHeld();
    [[nodiscard]] KeyboardNotices notices();
    [[nodiscard]] bool isObserved(Topic topic) const;
    void setStatusMessage(std::string message);
    void armTimer();
    void publishInterest();
    KeyInterest currentInterest();
    const std::shared_ptr<const std::vector<std::string>>&
    continuationInterest(const SequenceMachine::PendingPassthrough& pending);
    bool turnPage(std::string_view token, TimePoint time);
    void noteForHints(const SequenceStep& step, const std::string& token);
    void recordToken(const std::string& token, bool isPlainTyping);
    void changed(Topic topic);
    [[nodiscard]] std::unique_ptr<KeyboardMonitoring> startMonitor(KeyboardMonitorCreating& factory,
                                                                   KeyTokenHandler handler);

    /// Lets callbacks find out that the manager is gone.
    struct Alive {};

    HotkeyManagerDependencies dependencies_;
    ConfigItems rootItems_;
    SequenceMachine machine_;
    DecisionRecorder recorder_;
    std::unique_ptr<KeyboardMonitoring> monitor_;
    std::unique_ptr<KeyboardMonitoring> localMonitor_;
    std::set<std::string> suspensionReasons_;
    bool isGlobalOn_ = false;
    bool isLocalOn_ = false;
    bool axTrusted_ = false;
    std::string statusMessage_;
    std::string lastTriggerInfo_;
    std::string lastPressedKey_;
    std::string lastResetReason_;
    std::optional<HintRefusal> refusal_;
    std::uint64_t refusalCount_ = 0;
    std::uint64_t finishedCommands_ = 0;
    int hintPageCount_ = 1;
    int pageTurns_ = 0;
    std::vector<std::string> debugTokens_; ///< a ring
    std::size_t debugNext_ = 0;            ///< where the next token goes
    std::optional<TimePoint> timerDeadline_;
    Subscription timer_;
    std::deque<Subscription> statusChecks_; ///< one for each command that finished in the last seconds
    Subscription choiceRequest_;
    KeyInterest publishedInterest_;
    /// The index's; the same object as long as a new configuration begins with the same keys.
    std::shared_ptr<const std::vector<std::string>> firstTokens_;
    std::shared_ptr<const std::vector<std::string>> escapeOnly_;
    std::shared_ptr<const std::vector<std::string>> continuationTokens_; ///< cached for `continuationOf_`
    std::uint32_t continuationOf_ = 0;
    CallbackList observers_; ///< by topic
    std::set<Topic> postedTopics_;
    std::shared_ptr<Alive> alive_ = std::make_shared<Alive>();
};

} // namespace varnel
