// Times the diff colouring against its std::regex formulation on the same inputs: a real diff of
// over a megabyte, one of 150000 bytes with swatches on, and a diff whose lines are longer than
// a chunk. Also times the first of them made as the UTF-16 characters of a script string, as the
// add-on makes it.
#include <benchmark/benchmark.h>

#include <string>

#include "color_diff_reference.h"
#include "diff/color_diff.h"
#include "diff/color_diff_units.h"
#include "sample_repository.h"
#include "large_stack.h"

namespace {

const std::string& megabyteDiff() {
  static const std::string diff = [] {
    std::string text = bench::makeGitDiff(20260101, 60, 900);
    while (text.size() < (1u << 20)) text += text;  // a smaller git than expected: repeat the diff
    return text;
  }();
  return diff;
}

const std::string& swatchLimitDiff() {
  static const std::string diff = megabyteDiff().substr(0, 150000);
  return diff;
}

const std::string& longLineDiff() {
  static const std::string diff = [] {
    std::string text;
    for (int i = 0; i < 20; ++i) {
      text += "@@ -1,2 +1,2 @@\n-" + std::string(30000, 'a') + " #abcdef\n+" + std::string(25000, 'b') +
              " rgb(1, 2, 3)\n";
    }
    return text;
  }();
  return diff;
}


void run(benchmark::State& state, const std::string& text, bool native) {
  std::size_t outBytes = 0;
  for (auto _ : state) {
    std::string out;
    if (native) {
      out = tarnwick::colorDiff(text, true, true);
    } else {
      reference::runOnStack([&] { out = reference::colorDiff(text, true, true); });
    }
    outBytes = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["in_bytes"] = static_cast<double>(text.size());
  state.counters["out_bytes"] = static_cast<double>(outBytes);
}

void native1MB(benchmark::State& s) { run(s, megabyteDiff(), true); }
// The core as the add-on runs it: the measuring scan, then the writing scan into memory the caller
// keeps (the add-on's reused page blocks); no allocation or zero-filling of a fresh string.
void core1MB(benchmark::State& state) {
  const std::string& text = megabyteDiff();
  const std::size_t size = tarnwick::measureColorDiff(text.data(), text.size(), true, true).total;
  std::string out(size + tarnwick::kColorDiffSlack, '\0');
  for (auto _ : state) {
    tarnwick::measureColorDiff(text.data(), text.size(), true, true);
    benchmark::DoNotOptimize(tarnwick::writeColorDiff(&out[0], text.data(), text.size(), true, true));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
void characters1MB(benchmark::State& state) {
  const std::string& text = megabyteDiff();
  for (auto _ : state) {
    const tarnwick::ScriptUnits units = tarnwick::colorDiffUnits(text.data(), text.size(), text.size(), false, true, true, false, true, SIZE_MAX);
    benchmark::DoNotOptimize(units.block.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
void regex1MB(benchmark::State& s) { run(s, megabyteDiff(), false); }
void native150k(benchmark::State& s) { run(s, swatchLimitDiff(), true); }
void regex150k(benchmark::State& s) { run(s, swatchLimitDiff(), false); }
void nativeLong(benchmark::State& s) { run(s, longLineDiff(), true); }
void regexLong(benchmark::State& s) { run(s, longLineDiff(), false); }

BENCHMARK(native1MB)->Name("ColorDiff/native/1MB_git_diff")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(core1MB)->Name("ColorDiff/core/1MB_git_diff")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(characters1MB)->Name("ColorDiff/characters/1MB_git_diff")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(regex1MB)->Name("ColorDiff/std_regex/1MB_git_diff")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(native150k)->Name("ColorDiff/native/150000B_swatches")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(regex150k)->Name("ColorDiff/std_regex/150000B_swatches")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(nativeLong)->Name("ColorDiff/native/long_lines")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(regexLong)->Name("ColorDiff/std_regex/long_lines")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
