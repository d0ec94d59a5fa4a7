#include "activation/x11/XcbWindowActivation.h"
#include "base/Log.h"
#include "tests/activation/TestWindows.h"
#include "tests/support/XServer.h"

#include <benchmark/benchmark.h>

#include <map>

namespace varnel {
namespace {

class NoLog : public LogSink {
public:
    void write(LogLevel, std::string_view, std::string_view) override {}
};

/// A server with a window manager and so many windows. They are shown one time for all benchmarks of that
/// number.
struct Desktop {
    explicit Desktop(int count)
        : manager({"openbox", "--sm-disable"}, server.display()) {
        const auto look = XcbConnection::open(server.display());
        const auto word = [&](XcbAtom property) {
            return firstLong(wait(*look, look->ask(look->root(), look->atom(property))).get());
        };
        for (std::uint32_t number : {1u, 0u})
            eventually([&] {
                look->tellManager(look->root(), XcbAtom::currentDesktop, {number, 0, 0, 0, 0});
                xcb_flush(look->get());
                return word(XcbAtom::currentDesktop) == number;
            });
        desktop = std::move(*XcbDesktop::connect(server.display()));
        program = std::make_unique<TestProcess>(
            [&] { showWindows(server.display(), {{.title = "w", .count = count}}); });
        eventually([&] { return desktop->clientWindows().size() == static_cast<std::size_t>(count); },
                   std::chrono::seconds(60));
    }
    XServer server;
    TestProcess manager;
    std::unique_ptr<XcbDesktop> desktop;
    std::unique_ptr<TestProcess> program;
};

Desktop& desktopWith(int count) {
    static std::map<int, std::unique_ptr<Desktop>> desktops;
    auto& desktop = desktops[count];
    if (!desktop)
        desktop = std::make_unique<Desktop>(count);
    return *desktop;
}

/// Titles, desktops and states of all windows, read anew.
void listWindows(benchmark::State& state) {
    XcbDesktop& desktop = *desktopWith(static_cast<int>(state.range(0))).desktop;
    for (auto _ : state)
        benchmark::DoNotOptimize(desktop.runningWindows());
}
BENCHMARK(listWindows)->Arg(1)->Arg(20)->Arg(200)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// What a launch asks while nothing has changed.
void askTheCache(benchmark::State& state) {
    XcbDesktop& desktop = *desktopWith(static_cast<int>(state.range(0))).desktop;
    for (auto _ : state) {
        benchmark::DoNotOptimize(desktop.clientWindows());
        benchmark::DoNotOptimize(desktop.frontmostProcess());
    }
}
BENCHMARK(askTheCache)->Arg(1)->Arg(20)->Arg(200)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// The whole focus sequence for the window at the back, up to the final check.
void focusWindow(benchmark::State& state) {
    XcbDesktop& desktop = *desktopWith(static_cast<int>(state.range(0))).desktop;
    NoLog log;
    XcbWindowActivation activation(desktop, log);
    for (auto _ : state) {
        state.PauseTiming();
        const auto windows = desktop.runningWindows();
        state.ResumeTiming();
        if (!activation.activate(windows->back()))
            state.SkipWithError("the window did not come to the front");
    }
}
BENCHMARK(focusWindow)->Arg(1)->Arg(20)->Arg(200)->Unit(benchmark::kMicrosecond)->UseRealTime()->MinTime(0.3);

} // namespace
} // namespace varnel
