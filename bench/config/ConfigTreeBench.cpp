#include "base/linux/IcuTextSearch.h"
#include "config/ConfigHierarchyBuilder.h"
#include "config/ConfigTreeFilter.h"

#include <benchmark/benchmark.h>

#include <random>

namespace {

using namespace varnel;

constexpr std::size_t kItems = 10'000;

/// Groups four levels deep with names in two alphabets, in no order.
std::vector<ConfigItem> randomItems() {
    std::mt19937 random(42);
    std::vector<ConfigItem> items;
    while (items.size() < kItems) {
        ConfigItem item;
        item.id = Uuid::random();
        const std::string number = std::to_string(items.size());
        item.name = random() % 4 == 0 ? "Größere Übersicht Номер " + number : "Application " + number;
        item.keys = {"ctrl+j"};
        for (std::size_t steps = 1 + random() % 4; steps > 0; --steps)
            item.keys.emplace_back(1, static_cast<char>('a' + random() % 26));
        item.type = random() % 4 == 0 ? ItemType::group : ItemType::action;
        if (item.type == ItemType::action)
            item.action =
                ConfigAction{core::application, "open", {{"path", "/Applications/Nº " + number + ".app"}}};
        items.push_back(std::move(item));
    }
    return items;
}

void buildTree(benchmark::State& state) {
    const auto items = randomItems();
    for (auto _ : state) {
        const auto roots = ConfigHierarchyBuilder::build(items);
        benchmark::DoNotOptimize(ConfigHierarchyBuilder::flatten(roots));
    }
}
BENCHMARK(buildTree)->Unit(benchmark::kMillisecond);

/// What happens once, when the search field is entered.
void prepareFilter(benchmark::State& state) {
    const auto roots = ConfigHierarchyBuilder::build(randomItems());
    IcuTextSearch search("de_DE");
    (void)search.key("opens the tables");
    for (auto _ : state)
        benchmark::DoNotOptimize(ConfigTreeFilter(roots, search));
}
BENCHMARK(prepareFilter)->Unit(benchmark::kMillisecond);

/// What happens at each key typed, for queries that keep all, many, few and none.
void filterTree(benchmark::State& state) {
    const auto roots = ConfigHierarchyBuilder::build(randomItems());
    IcuTextSearch search("de_DE");
    const ConfigTreeFilter filter(roots, search);
    const char* queries[] = {"", "a", "übers", "номер 99", "nowhere"};
    const char* query = queries[state.range(0)];
    state.SetLabel(query);
    for (auto _ : state)
        benchmark::DoNotOptimize(filter.visible(query));
}
BENCHMARK(filterTree)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);

} // namespace
