#include "keyboard/SequenceMachine.h"

#include "KeyboardTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace varnel {
namespace {

using namespace test;
using Random = std::mt19937;

struct Settings {
    std::optional<Duration> step;
    bool keepsHints = false;
    bool endsUnattended = false;
};
constexpr Duration kModifierTime = 1s;
constexpr Duration kFeedback = 250ms;

/// The rules once more, as simply as can be: lists of tokens, the whole configuration searched for every key.
class NaiveEngine {
public:
    NaiveEngine(const std::vector<ConfigItem>& items, const Settings& settings)
        : items_(items)
        , settings_(settings) {}

    bool type(const std::string& token, TimePoint now) {
        if (deadline && *deadline <= now)
            end();
        if (token == "escape" && state != Interaction::idle && state != Interaction::selectionFeedback) {
            end();
            return true;
        }
        if (state == Interaction::frozenOverlay)
            return false;
        if (state == Interaction::dynamicChoice)
            return choose(token, now);
        Keys longer = state == Interaction::selectionFeedback ? Keys() : sequence;
        longer.push_back(token);
        if (state == Interaction::capture)
            return leadsAnywhere(longer) ? advance(longer, now) : invalid();
        if (state == Interaction::pendingPassthrough && leadsAnywhere(longer) && continuesGroup(longer))
            return advance(longer, now);
        end();
        if (!leadsAnywhere({token}))
            return false;
        const bool passes = !find({token}) && std::ranges::any_of(items_, [&](const ConfigItem& i) {
            return passesThrough(i) && i.keys[0] == token;
        });
        if (!passes)
            return advance({token}, now);
        state = Interaction::pendingPassthrough;
        sequence = {token};
        deadline = now + kModifierTime;
        return false;
    }

    void answer(long long count, TimePoint now) {
        if (state != Interaction::dynamicChoice || !loading)
            return;
        loading = false;
        labels = ChoiceLabelsOf(count);
        if (count == 0)
            end();
        else if (count == 1)
            feedback(now);
        else if (std::ranges::any_of(labels, [&](const std::string& l) { return input.starts_with(l); }))
            feedback(now);
        else if (std::ranges::any_of(labels, [&](const std::string& l) { return l.starts_with(input); }))
            restartTimer(now);
        else
            invalid();
    }

    Interaction state = Interaction::idle;
    Keys sequence;
    std::optional<TimePoint> deadline;
    std::optional<TimePoint> heldUntil; ///< where the keyboard is held: none is without end
    const ConfigItem* ran = nullptr;

private:
    static Keys ChoiceLabelsOf(long long count) {
        Keys labels;
        for (const LabeledChoice& choice :
             labeled(std::vector<DynamicChoice>(static_cast<std::size_t>(count)), {}))
            labels.push_back(choice.label);
        return labels;
    }
    static bool passesThrough(const ConfigItem& item) {
        return item.isEnabled && item.type == ItemType::group && item.allowsPassthroughPrefix == true &&
               !item.keys.empty();
    }
    static bool begins(const Keys& start, const Keys& whole) {
        return start.size() <= whole.size() && std::equal(start.begin(), start.end(), whole.begin());
    }
    [[nodiscard]] const ConfigItem* find(const Keys& keys) const {
        for (const ConfigItem& item : items_)
            if (item.isEnabled && item.type == ItemType::action && item.keys == keys)
                return &item;
        return nullptr;
    }
    [[nodiscard]] bool leadsAnywhere(const Keys& keys) const {
        return find(keys) || std::ranges::any_of(items_, [&](const ConfigItem& item) {
                   return item.isEnabled && item.keys.size() > keys.size() && begins(keys, item.keys);
               });
    }
    [[nodiscard]] bool continuesGroup(const Keys& keys) const {
        return std::ranges::any_of(items_, [&](const ConfigItem& item) {
            return passesThrough(item) && (begins(item.keys, keys) || begins(keys, item.keys));
        });
    }

    bool advance(const Keys& keys, TimePoint now) {
        const ConfigItem* item = find(keys);
        sequence = keys;
        if (!item) {
            state = Interaction::capture;
            restartTimer(now);
        } else if (!item->action) {
            end();
        } else if (item->name == "ask") {
            state = Interaction::dynamicChoice;
            chosen_ = item;
            loading = true;
            input.clear();
            labels.clear();
            heldUntil = deadline = now + kChoiceLoadingLimit;
        } else {
            chosen_ = item;
            feedback(now);
        }
        return true;
    }
    bool choose(const std::string& token, TimePoint now) {
        if (token == "delete") {
            input = input.substr(0, input.size() - !input.empty());
        } else if (token.size() == 1 && token != "1") {
            input += token;
            if (!loading && std::ranges::count(labels, input)) {
                feedback(now);
                return true;
            }
            if (!loading &&
                std::ranges::none_of(labels, [&](const std::string& l) { return l.starts_with(input); }))
                return invalid();
        } else {
            return invalid();
        }
        if (!loading)
            restartTimer(now);
        return true;
    }
    void restartTimer(TimePoint now) {
        deadline.reset();
        const bool lone = sequence.size() == 1 && (sequence[0] == "cmd" || sequence[0] == "shift");
        if (lone)
            deadline = now + kModifierTime;
        else if (settings_.step)
            deadline = now + *settings_.step;
        heldUntil = deadline;
        if (!deadline && settings_.endsUnattended)
            deadline = now + 30s;
    }
    void feedback(TimePoint now) {
        state = Interaction::selectionFeedback;
        deadline = now + kFeedback;
        ran = chosen_;
    }
    bool invalid() {
        const bool freezes = settings_.keepsHints && !(state == Interaction::dynamicChoice && loading);
        if (!freezes)
            end();
        state = freezes ? Interaction::frozenOverlay : Interaction::idle;
        deadline.reset();
        return !freezes;
    }
    void end() {
        state = Interaction::idle;
        sequence.clear();
        deadline.reset();
    }

    const std::vector<ConfigItem>& items_;
    const Settings& settings_;
    const ConfigItem* chosen_ = nullptr;
    bool loading = false;
    std::string input;
    Keys labels;
};

const Keys kTokens{"a", "f", "j", "1", "cmd", "shift", "ctrl+j", "delete", "escape"};

std::size_t below(Random& random, std::size_t limit) {
    return random() % limit;
}

std::vector<ConfigItem> randomItems(Random& random) {
    std::vector<ConfigItem> items;
    for (std::size_t i = below(random, 9) + 1; i-- > 0;) {
        Keys keys;
        for (std::size_t k = below(random, 3) + 1; k-- > 0;)
            keys.push_back(kTokens[below(random, kTokens.size() - 1)]);
        const bool isGroup = below(random, 3) == 0;
        ConfigItem item = isGroup ? group("g", keys, below(random, 2) == 0)
                                  : action(below(random, 4) == 0 ? "ask" : "run", keys);
        item.isEnabled = below(random, 10) != 0;
        if (below(random, 12) == 0)
            item.action.reset();
        items.push_back(std::move(item));
    }
    return items;
}

/// The machine with what its owner keeps for it: the keyboard's suppression.
struct Driver {
    SequenceMachine machine;
    std::optional<std::optional<TimePoint>> suppressed;
    std::uint64_t request = 0;
    const ConfigItem* ran = nullptr;

    KeyDecision apply(const SequenceStep& step, TimePoint now) {
        if (step.suppression == SequenceStep::Suppression::end)
            suppressed.reset();
        if (step.suppression == SequenceStep::Suppression::begin)
            suppressed = step.suppressFor ? std::optional(now + *step.suppressFor) : std::nullopt;
        if (step.choicesWanted)
            request = step.choiceRequest;
        if (step.completed)
            ran = step.completed;
        return step.decision;
    }
    bool type(const std::string& token, TimePoint now) {
        apply(machine.expire(now), now);
        return apply(machine.handle(token, now), now) == KeyDecision::swallow;
    }
    void answer(std::size_t count, TimePoint now) {
        apply(machine.choicesResolved(request, DynamicChoiceList{{}, std::vector<DynamicChoice>(count)}, now),
              now);
    }
};

void expectSame(const Driver& driver, const NaiveEngine& naive) {
    ASSERT_EQ(interactionName(driver.machine.interaction()), interactionName(naive.state));
    ASSERT_EQ(driver.machine.nextDeadline(), naive.deadline);
    ASSERT_EQ(driver.ran, naive.ran);
    ASSERT_EQ(driver.machine.sequence(), naive.state == Interaction::idle ? Keys() : naive.sequence);
    const bool holds = naive.state == Interaction::capture || naive.state == Interaction::dynamicChoice;
    ASSERT_EQ(driver.suppressed.has_value(), holds);
    ASSERT_TRUE(!holds || *driver.suppressed == naive.heldUntil);
}

void playTrace(Random& random, const ConfigItems& items, const HotkeyLookupIndex& index) {
    constexpr Duration kPauses[] = {0ms, 0ms, 1ms, 50ms, 249ms, 250ms, 300ms, 999ms, 1s, 11s, 30s};
    Settings settings{below(random, 2) ? std::optional<Duration>(300ms) : std::nullopt, below(random, 2) == 0,
                      below(random, 2) == 0};
    Driver driver{SequenceMachine(
                      {[&] { return settings.step; }, [] { return kModifierTime; }, [] { return kFeedback; },
                       [&] { return settings.keepsHints; },
                       [&] { return settings.endsUnattended ? std::optional<Duration>(30s) : std::nullopt; }},
                      [](const ConfigItem& item) { return item.name == "ask"; }),
                  {},
                  0,
                  nullptr};
    driver.machine.setIndex(index);
    NaiveEngine naive(*items, settings);
    TimePoint now{};
    for (int step = 0; step < 14; ++step) {
        now += kPauses[below(random, std::size(kPauses))];
        if (below(random, 5) == 0) {
            const std::size_t count = std::size_t{below(random, 12)};
            if (naive.deadline && *naive.deadline <= now)
                continue;
            driver.answer(count, now);
            naive.answer(static_cast<long long>(count), now);
        } else {
            const std::string& token = kTokens[below(random, kTokens.size())];
            ASSERT_EQ(driver.type(token, now), naive.type(token, now)) << token;
        }
        ASSERT_NO_FATAL_FAILURE(expectSame(driver, naive));
    }
    Driver expired = driver;
    if (const auto deadline = expired.machine.nextDeadline()) {
        expired.apply(expired.machine.expire(*deadline), *deadline);
        ASSERT_EQ(expired.machine.interaction(), Interaction::idle);
        ASSERT_FALSE(expired.suppressed);
    }
    driver.type("escape", now);
    driver.type("escape", now);
    ASSERT_EQ(driver.machine.interaction(), Interaction::idle);
    ASSERT_FALSE(driver.suppressed);
}

TEST(SequenceMachineProperty, AgreesWithANaiveTwinAndAlwaysComesToRest) {
#ifdef VARNEL_SANITIZED
    constexpr int kTraces = 10'000;
#else
    constexpr int kTraces = 100'000;
#endif
    Random random(20260101);
    ConfigItems items;
    HotkeyLookupIndex index;
    for (int trace = 0; trace < kTraces; ++trace) {
        if (trace % 20 == 0) {
            items = share(randomItems(random));
            index = HotkeyLookupIndex::build(items);
        }
        ASSERT_NO_FATAL_FAILURE(playTrace(random, items, index)) << "trace " << trace;
    }
}

} // namespace
} // namespace varnel
