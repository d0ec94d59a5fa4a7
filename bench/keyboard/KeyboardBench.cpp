#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "keyboard/HotkeyManager.h"
#include "keyboard/KeyboardMonitor.h"
#include "keyboard/KeyboardTokenStream.h"

#include <benchmark/benchmark.h>

namespace varnel {
namespace {

/// Triggers of three steps: up to 100 groups of up to 100 groups.
ConfigItems makeItems(std::int64_t count) {
    auto items = std::make_shared<std::vector<ConfigItem>>();
    items->reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i) {
        ConfigItem& item = items->emplace_back();
        item.name = "Item " + std::to_string(i);
        item.keys = {"ctrl+keycode" + std::to_string(200 + i % 100),
                     "keycode" + std::to_string(400 + i / 100 % 100),
                     "keycode" + std::to_string(600 + i / 10000)};
        item.action = ConfigAction{core::application, "open", {{"path", "/usr/bin/true"}}};
    }
    return items;
}

void tokenFromEvent(benchmark::State& state) {
    KeyboardTokenStream stream([] { return TimePoint(); }, [] { return Duration(250ms); });
    KeyboardEvent event{.keyCode = 40, .flags = kCommandFlag | kShiftFlag};
    for (auto _ : state)
        benchmark::DoNotOptimize(stream.feed(event));
}
BENCHMARK(tokenFromEvent);

void indexBuild(benchmark::State& state) {
    const ConfigItems items = makeItems(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(HotkeyLookupIndex::build(items));
}
BENCHMARK(indexBuild)->Arg(10)->Arg(1000)->Arg(5000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

SequenceTimings fixedTimings() {
    return {[] { return std::optional<Duration>(); }, [] { return Duration(1s); },
            [] { return Duration(250ms); }, [] { return false; }};
}

/// The three steps of a trigger, again and again; the time is that of one step.
void decisionBoundStep(benchmark::State& state) {
    const ConfigItems items = makeItems(state.range(0));
    SequenceMachine machine(fixedTimings());
    machine.setIndex(HotkeyLookupIndex::build(items));
    std::size_t next = 0;
    for (auto _ : state) {
        const std::vector<std::string>& keys = (*items)[next / 3 % items->size()].keys;
        benchmark::DoNotOptimize(machine.handle(keys[next % 3], TimePoint()));
        next = next % 3 == 2 ? next + 1 + 3 * 7919 : next + 1;
    }
}
BENCHMARK(decisionBoundStep)->Arg(10)->Arg(1000)->Arg(100000);

void decisionUnbound(benchmark::State& state) {
    SequenceMachine machine(fixedTimings());
    machine.setIndex(HotkeyLookupIndex::build(makeItems(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(machine.handle("x", TimePoint()));
}
BENCHMARK(decisionUnbound)->Arg(10)->Arg(1000)->Arg(100000);

/// Event to verdict through stream, monitor and engine, with timers, suppression and interest.
class WholeRoad : public KeyboardEventTapSessionCreating, public CommandExecuting {
public:
    explicit WholeRoad(std::int64_t count)
        : items(makeItems(count)) {
        manager.updateConfiguration(items);
        manager.startGlobalMonitoring();
    }
    std::unique_ptr<KeyboardEventTapSession> createSession(KeyboardTapCallback callback) override {
        receive = std::move(callback);
        return std::make_unique<Session>();
    }
    void execute(const ConfigItem&, const std::string&, const PluginSettings&, Report) override {}

    struct Session : KeyboardEventTapSession {
        void enable() override {}
        void invalidate() override {}
        void setInterest(const KeyInterest&) override {}
    };
    ConfigItems items;
    KeyboardTapCallback receive;
    ManualEventLoop loop;
    MemoryPreferenceStore preferences;
    KeyboardMonitorFactory monitors{loop, *this, [this] { return modifierTapThreshold(preferences); }};
    HotkeyManager manager{{.loop = loop,
                           .keyboardMonitorFactory = monitors,
                           .timings = sequenceTimings(preferences),
                           .commandExecutor = *this,
                           .currentConfigPath = {},
                           .pluginSettings = {},
                           .isAccessibilityTrusted = {},
                           .writeDiagnostic = {},
                           .applicationStatusResolver = {}}};
};

void eventToVerdictBoundStep(benchmark::State& state) {
    WholeRoad road(state.range(0));
    const KeyboardEvent events[] = {
        {.keyCode = 200, .flags = kControlFlag}, {.keyCode = 400}, {.keyCode = 600}};
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(road.receive(events[next++ % 3]));
    if (next >= 3 && road.manager.lastTriggerInfo().empty())
        state.SkipWithError("nothing was triggered");
}
BENCHMARK(eventToVerdictBoundStep)->Arg(10)->Arg(1000)->Arg(100000);

void eventToVerdictUnbound(benchmark::State& state) {
    WholeRoad road(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(road.receive({.keyCode = 7}));
}
BENCHMARK(eventToVerdictUnbound)->Arg(10)->Arg(1000)->Arg(100000);

} // namespace
} // namespace varnel
