// Times the blame code view (record scanning and markup) against its std::regex formulation on
// the same real `git blame --line-porcelain` output of a 4000-line file with a long history, and
// prints the speed ratio.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "blame_reference.h"
#include "blame_samples.h"
#include "mergetool/code_view.h"
#include "large_stack.h"

namespace {

const std::string& realBlame() {
  static const std::string blame = [] {
    const std::string folder = reference::makeTempFolder();
    std::string text = reference::makeHistoryBlame(folder, "src/components/merge tool/big file.txt", 4000, 300, false, 4242);
    reference::removeFolder(folder);
    return text;
  }();
  return blame;
}

// Seconds per run of the last measurement of each side, for the ratio printed at exit.
struct Timings {
  double native = 0;
  double regex = 0;
  ~Timings() {
    if (native > 0 && regex > 0) {
      std::printf("blame code view: native is %.0fx the speed of std::regex (%zu-byte git blame output)\n",
                  regex / native, realBlame().size());
    }
  }
} timings;

void run(benchmark::State& state, bool native) {
  const std::string& blame = realBlame();
  std::size_t outBytes = 0;
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    std::string out;
    if (native) {
      out = tarnwick::renderCodeView(blame, "ffffff", "");
    } else {
      reference::runOnBigStack([&] { out = reference::renderCodeView(blame, "ffffff", ""); });
    }
    outBytes = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
                         static_cast<double>(state.iterations());
  (native ? timings.native : timings.regex) = seconds;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * blame.size()));
  state.counters["in_bytes"] = static_cast<double>(blame.size());
  state.counters["out_bytes"] = static_cast<double>(outBytes);
  if (native && timings.regex > 0) state.counters["speedup"] = timings.regex / seconds;
}

void regexBlame(benchmark::State& s) { run(s, false); }
void nativeBlame(benchmark::State& s) { run(s, true); }

BENCHMARK(regexBlame)->Name("BlameView/std_regex/real_blame")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(nativeBlame)->Name("BlameView/native/real_blame")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

// The benchmark executable gathers every bench/*.cc; a main of another file takes precedence.
__attribute__((weak)) int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
