#include "base/FileSystem.h"
#include "base/MemoryPreferenceStore.h"
#include "base/PosixFileSystem.h"
#include "config/ConfigCheck.h"
#include "config/ConfigDocument.h"
#include "config/LocalConfigStorageProvider.h"

#include <benchmark/benchmark.h>

#include <filesystem>

namespace {

using namespace varnel;

/// Items as people have them: a few steps, an application each.
std::vector<ConfigItem> manyItems(std::size_t count) {
    std::vector<ConfigItem> items;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        items.push_back(
            {.id = Uuid::random(),
             .name = "Application " + number,
             .keys = {"ctrl+j", std::string(1, static_cast<char>('a' + i % 26)), "keycode" + number},
             .type = ItemType::action,
             .action = ConfigAction{core::application,
                                    "open",
                                    {{"path", "/Applications/Number " + number + ".app"}}},
             .isEnabled = true,
             .allowsPassthroughPrefix = std::nullopt});
    }
    return items;
}

void decodeConfiguration(benchmark::State& state) {
    const std::string text = *encodeDocument(manyItems(static_cast<std::size_t>(state.range(0))), {});
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeDocument(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(decodeConfiguration)->Arg(100)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void encodeConfiguration(benchmark::State& state) {
    const auto items = manyItems(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeDocument(items, {}));
}
BENCHMARK(encodeConfiguration)->Arg(100)->Arg(10'000)->Unit(benchmark::kMillisecond);

/// With both copies synced to the disk.
void saveConfiguration(benchmark::State& state) {
    const std::string folder = std::filesystem::temp_directory_path() / "varnel-bench-save";
    std::filesystem::create_directories(folder);
    PosixFileSystem files;
    MemoryPreferenceStore preferences;
    auto provider = LocalConfigStorageProvider::locate(
        {files, preferences, folder, std::filesystem::temp_directory_path()}, folder + "/config.json");
    const auto items = manyItems(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        if (!(*provider)->write(*encodeDocument(items, {})))
            state.SkipWithError("could not save");
    std::filesystem::remove_all(folder);
}
BENCHMARK(saveConfiguration)->Arg(10'000)->Unit(benchmark::kMillisecond);

void checkConfiguration(benchmark::State& state) {
    const std::string text = *encodeDocument(manyItems(static_cast<std::size_t>(state.range(0))), {});
    const auto known = builtInActions();
    for (auto _ : state)
        benchmark::DoNotOptimize(checkDocument(text, known));
}
BENCHMARK(checkConfiguration)->Arg(10'000)->Unit(benchmark::kMillisecond);

/// Every item has something to be said about: triggers that collide, odd spellings, missing parameters.
void checkTroubledConfiguration(benchmark::State& state) {
    auto items = manyItems(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < items.size(); ++i) {
        items[i].keys = {"Ctrl+J", "KeyCode" + std::to_string(i / 2)};
        items[i].action = ConfigAction{core::shell, "run", {{"comand", "true"}}};
    }
    const std::string text = *encodeDocument(items, {});
    const auto known = builtInActions();
    std::size_t count = 0;
    for (auto _ : state)
        count = checkDocument(text, known).size();
    state.counters["findings"] = static_cast<double>(count);
}
BENCHMARK(checkTroubledConfiguration)->Arg(10'000)->Unit(benchmark::kMillisecond);

/// A text that does not load, with the search for the damage.
void checkBrokenConfiguration(benchmark::State& state) {
    std::string text = *encodeDocument(manyItems(static_cast<std::size_t>(state.range(0))), {});
    text.erase(text.rfind('{', text.size() * 9 / 10), 1);
    const auto known = builtInActions();
    for (auto _ : state)
        benchmark::DoNotOptimize(checkDocument(text, known));
}
BENCHMARK(checkBrokenConfiguration)->Arg(10'000)->Unit(benchmark::kMillisecond);

} // namespace
