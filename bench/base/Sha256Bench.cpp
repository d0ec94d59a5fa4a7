#include "base/Sha256.h"

#include <benchmark/benchmark.h>

#include <string>

namespace varnel {
namespace {

void sha256(benchmark::State& state) {
    const std::string bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        Sha256 hash;
        hash.update(bytes);
        benchmark::DoNotOptimize(hash.finishHex());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sha256)->Arg(64)->Arg(1 << 20);

} // namespace
} // namespace varnel
