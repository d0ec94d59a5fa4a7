#include "runtime/simulator/Simulator.h"

#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "keyboard/HotkeyManager.h"
#include "keyboard/KeyboardMonitor.h"
#include "keyboard/TimingPreferences.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace varnel::simulation {
namespace {

constexpr Duration kEventSpacing = 10ms;

/// A keyboard whose events come from the script.
class ScriptedKeyboard : public KeyboardEventTapSessionCreating {
public:
    std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) override {
        callback_ = std::move(callback);
        return std::make_unique<Session>();
    }
    TapVerdict send(const KeyboardEvent& event) const { return callback_(event); }

private:
    class Session : public KeyboardEventTapSession {
    public:
        void enable() override {}
        void invalidate() override {}
        void setInterest(const KeyInterest&) override {}
    };
    KeyboardTapCallback callback_;
};

/// Monitors as the engine gets them, with a record of the tokens that they offer.
class RecordingMonitorFactory : public KeyboardMonitorCreating {
public:
    RecordingMonitorFactory(KeyboardMonitorCreating& factory, std::vector<std::string>& tokens)
        : factory_(factory)
        , tokens_(tokens) {}
    std::unique_ptr<KeyboardMonitoring> createMonitor(KeyTokenHandler handler) override {
        return factory_.createMonitor(
            [this, handler = std::move(handler)](const std::string& token, TimePoint time) {
                tokens_.push_back(token);
                return handler(token, time);
            });
    }

private:
    KeyboardMonitorCreating& factory_;
    std::vector<std::string>& tokens_;
};

/// Notes what would run.
class RecordingExecutor : public CommandExecuting {
public:
    void execute(const ConfigItem& item, const std::string&, const PluginSettings&, Report) override {
        if (item.action)
            last = Record::Run{item.id, item.name, item.action->pluginID, item.action->actionID};
    }
    std::optional<Record::Run> last;
};

/// Answers with the script's titles: those given beforehand at once, later ones when they come.
class ScriptedChoices : public DynamicChoiceResolver {
public:
    [[nodiscard]] bool asksFor(const ConfigItem& item) const override {
        return applicationPathForWindowChoice(item) || asksForRunningApplication(item);
    }
    [[nodiscard]] Subscription resolve(const ConfigItem&, Answer answer) override {
        if (answers_.empty()) {
            waiting_ = std::move(answer);
            return Subscription([this] { waiting_ = nullptr; });
        }
        DynamicChoiceList list = std::move(answers_.front());
        answers_.pop_front();
        answer(std::move(list));
        return {};
    }
    void add(const std::vector<std::string>& titles) {
        DynamicChoiceList list;
        for (const std::string& title : titles) {
            DynamicChoice& choice = list.choices.emplace_back();
            choice.id = title;
            choice.title = title;
        }
        if (Answer answer = std::exchange(waiting_, nullptr))
            answer(std::move(list));
        else
            answers_.push_back(std::move(list));
    }

private:
    std::deque<DynamicChoiceList> answers_;
    Answer waiting_;
};

class Player {
public:
    Player(ConfigItems items, const Emit& emit)
        : emit_(emit) {
        registry_.add(std::string(kWindowChoices), choices_);
        manager_.updateConfiguration(std::move(items));
        manager_.startGlobalMonitoring();
    }

    void play(const Press& press) {
        std::vector<Modifier> added;
        for (Modifier modifier : kModifiers)
            if ((press.token.flags & ~held_) & modifierFlag(modifier))
                added.push_back(modifier);
        for (Modifier modifier : added) {
            changeModifier(modifier, true);
            advance(kEventSpacing);
        }
        sendKey(press.token, false);
        // The key's release, which nobody sees.
        advance(kEventSpacing);
        std::ranges::reverse(added);
        for (Modifier modifier : added) {
            advance(kEventSpacing);
            changeModifier(modifier, false);
        }
    }
    void play(const Hold& hold) {
        changeModifier(hold.modifier, true);
        advance(hold.duration);
        changeModifier(hold.modifier, false);
    }
    void play(const ModifierChange& change) { changeModifier(change.modifier, change.isDown); }
    void play(const KeyDown& key) { sendKey(key.token, key.isRepeat); }
    void play(const Wait& wait) { advance(wait.duration); }
    void play(const SetPreference& set) { (void)preferences_.setValue(set.key, set.value); }
    void play(const Suspension& suspension) {
        if (suspension.isSuspended)
            manager_.suspend(suspension.reason);
        else
            manager_.resume(suspension.reason);
    }
    void play(const Choices& choices) {
        const auto before = stateNow();
        choices_->add(choices.titles);
        emitTimerIfChanged(before);
    }
    /// The line of the statement that is played next.
    void begin(std::size_t line) { line_ = line; }
    void reload(ConfigItems items) { manager_.updateConfiguration(std::move(items)); }

private:
    struct StateNow {
        Interaction interaction;
        std::vector<std::string> sequence, hints;
        bool operator==(const StateNow&) const = default;
    };
    [[nodiscard]] StateNow stateNow() const {
        return {manager_.interaction(), manager_.currentSequence(), manager_.hintOptions()};
    }

    /// Moves the clock, stopping wherever the engine's timer is due.
    void advance(Duration duration) {
        const TimePoint end = loop_.now() + duration;
        for (auto due = manager_.nextDeadline(); due && *due <= end; due = manager_.nextDeadline()) {
            const auto before = stateNow();
            loop_.advance(*due - loop_.now());
            emitTimerIfChanged(before);
        }
        loop_.advance(end - loop_.now());
    }

    void changeModifier(Modifier modifier, bool isDown) {
        held_ = isDown ? held_ | modifierFlag(modifier) : held_ & ~modifierFlag(modifier);
        send(KeyboardEvent::Type::flagsChanged, modifierKeyCode(modifier), held_, false);
    }

    void sendKey(const ParsedKeyToken& token, bool isRepeat) {
        send(KeyboardEvent::Type::keyDown, token.keyCode, held_ | token.flags, isRepeat);
    }

    void send(KeyboardEvent::Type type, KeyCode code, KeyFlags flags, bool isRepeat) {
        tokens_.clear();
        const TapVerdict verdict = keyboard_.send(
            {.type = type, .keyCode = code, .flags = flags, .isRepeat = isRepeat, .time = loop_.now()});
        emitRecord(type == KeyboardEvent::Type::keyDown ? Record::Event::keyDown
                                                        : Record::Event::flagsChanged,
                   verdict == TapVerdict::swallow);
        loop_.runPending();
    }

    void emitTimerIfChanged(const StateNow& before) {
        if (stateNow() == before)
            return;
        tokens_.clear();
        emitRecord(Record::Event::timer, false);
    }

    void emitRecord(Record::Event event, bool swallowed) {
        StateNow state = stateNow();
        Record record;
        record.time = loop_.now().time_since_epoch();
        record.line = line_;
        record.event = event;
        record.tokens = tokens_;
        record.swallowed = swallowed;
        record.state = state.interaction;
        record.sequence = std::move(state.sequence);
        record.hints = std::move(state.hints);
        record.runs = std::exchange(executor_.last, std::nullopt);
        if (!manager_.statusMessage().empty())
            record.status = manager_.statusMessage();
        emit_(record);
    }

    const Emit& emit_;
    ManualEventLoop loop_;
    MemoryPreferenceStore preferences_;
    ScriptedKeyboard keyboard_;
    std::vector<std::string> tokens_;
    KeyboardMonitorFactory monitors_{loop_, keyboard_, [this] { return modifierTapThreshold(preferences_); }};
    RecordingMonitorFactory recordingMonitors_{monitors_, tokens_};
    RecordingExecutor executor_;
    std::shared_ptr<ScriptedChoices> choices_ = std::make_shared<ScriptedChoices>();
    DynamicChoiceRegistry registry_;
    HotkeyManager manager_{{.loop = loop_,
                            .keyboardMonitorFactory = recordingMonitors_,
                            .timings = sequenceTimings(preferences_),
                            .commandExecutor = executor_,
                            .currentConfigPath = {},
                            .pluginSettings = {},
                            .isAccessibilityTrusted = [] { return true; },
                            .writeDiagnostic = {},
                            .applicationStatusResolver = {},
                            .dynamicChoiceRegistry = &registry_,
                            .localMonitorFactory = nullptr}};
    KeyFlags held_ = 0;
    std::size_t line_ = 0;
};

} // namespace

std::expected<void, ScriptError> simulate(std::string_view script, ConfigItems items,
                                          const ConfigLoader& loadConfig, const Emit& emit) {
    const auto statements = parseScript(script);
    if (!statements)
        return std::unexpected(statements.error());
    std::deque<ConfigItems> reloads;
    for (const Statement& statement : *statements)
        if (const auto* reload = std::get_if<Reload>(&statement.action)) {
            auto loaded = loadConfig(reload->path);
            if (!loaded)
                return std::unexpected(ScriptError{statement.line, loaded.error()});
            reloads.push_back(*std::move(loaded));
        }

    Player player(std::move(items), emit);
    for (const Statement& statement : *statements) {
        player.begin(statement.line);
        if (std::holds_alternative<Reload>(statement.action)) {
            player.reload(std::move(reloads.front()));
            reloads.pop_front();
            continue;
        }
        std::visit(
            [&](const auto& action) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(action)>, Reload>)
                    player.play(action);
            },
            statement.action);
    }
    return {};
}

} // namespace varnel::simulation
