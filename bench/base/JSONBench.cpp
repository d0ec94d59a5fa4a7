#include "base/JSONReader.h"
#include "base/JSONScanner.h"
#include "base/JSONStream.h"
#include "base/JSONWriter.h"

#include <benchmark/benchmark.h>

#include <string>

namespace varnel {
namespace {

/// The size and shape of a configuration with so many items.
std::string documentOf(std::int64_t items) {
    std::string text;
    JSONPrettyWriter writer(text);
    writer.beginObject();
    writer.key("items");
    writer.beginArray();
    for (std::int64_t i = 0; i < items; ++i) {
        const std::string number = std::to_string(i);
        writer.value(JSONValue::Object{
            {"action",
             JSONValue::Object{{"actionID", "launch"},
                               {"params", JSONValue::Object{{"target", "/Applications/App " + number}}},
                               {"pluginID", "core.application"}}},
            {"id", "01234567-89AB-CDEF-0123-" + std::string(12 - number.size(), '0') + number},
            {"isEnabled", i % 7 != 0},
            {"keys", JSONValue::Array{"cmd+" + std::string(1, static_cast<char>('a' + i % 26)), number}},
            {"name", "Item é " + number},
            {"type", "action"}});
    }
    writer.endArray();
    writer.endObject();
    return text;
}

class CountingHandler : public JSONHandler {
public:
    bool beginObject() override { return count(); }
    bool endObject() override { return count(); }
    bool beginArray() override { return count(); }
    bool endArray() override { return count(); }
    bool key(std::string_view) override { return count(); }
    bool string(std::string_view) override { return count(); }
    bool number(double) override { return count(); }
    bool boolean(bool) override { return count(); }
    bool null() override { return count(); }
    std::size_t pieces = 0;

private:
    bool count() { return ++pieces; }
};

void report(benchmark::State& state, const std::string& text) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void jsonStream(benchmark::State& state) {
    const std::string text = documentOf(state.range(0));
    for (auto _ : state) {
        CountingHandler handler;
        if (!parseJSON(text, handler))
            state.SkipWithError("does not parse");
        benchmark::DoNotOptimize(handler.pieces);
    }
    report(state, text);
}
BENCHMARK(jsonStream)->Arg(1)->Arg(200)->Arg(10'000)->Arg(130'000)->Unit(benchmark::kMicrosecond);

/// The reader of statically linked programs.
void jsonScan(benchmark::State& state) {
    const std::string text = documentOf(state.range(0));
    for (auto _ : state) {
        CountingHandler handler;
        if (JSONScanner(text, nullptr, &handler).scan())
            state.SkipWithError("does not parse");
        benchmark::DoNotOptimize(handler.pieces);
    }
    report(state, text);
}
BENCHMARK(jsonScan)->Arg(200)->Arg(10'000)->Unit(benchmark::kMicrosecond);

void jsonTree(benchmark::State& state) {
    const std::string text = documentOf(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(readJSON(text));
    report(state, text);
}
BENCHMARK(jsonTree)->Arg(200)->Arg(10'000)->Unit(benchmark::kMicrosecond);

/// What a text with a fault at its very end costs: the fast reader, then the careful pass.
void jsonFault(benchmark::State& state) {
    std::string text = documentOf(state.range(0));
    text.back() = ']';
    for (auto _ : state)
        benchmark::DoNotOptimize(readJSON(text));
    report(state, text);
}
BENCHMARK(jsonFault)->Arg(10'000)->Unit(benchmark::kMicrosecond);

void jsonWrite(benchmark::State& state) {
    const std::string text = documentOf(state.range(0));
    const JSONValue value = *readJSON(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(writePrettyJSON(value));
    report(state, text);
}
BENCHMARK(jsonWrite)->Arg(200)->Arg(10'000)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace varnel
