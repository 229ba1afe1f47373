// Times the blame code view (record scanning and markup) against its std::regex formulation on
// the same real `git blame --line-porcelain` output of a 4000-line file with a long history.
#include <benchmark/benchmark.h>

#include <string>

#include "blame_reference.h"
#include "in_pieces.h"
#include "git_samples.h"
#include "sample_repository.h"
#include "large_stack.h"
#include "mergetool/code_view.h"

namespace {

const std::string& realBlame() {
  static const std::string blame = [] {
    const std::string folder = reference::makeTempFolder();
    const std::string path = bench::makeSampleRepository(folder, 4242, 300, 1, 4000)[0];
    std::string text = reference::runShell("git blame --line-porcelain HEAD -- " + reference::shellQuoted(path), folder);
    reference::removeFolder(folder);
    return text;
  }();
  return blame;
}

void run(benchmark::State& state, bool native) {
  const std::string& blame = realBlame();
  std::size_t outBytes = 0;
  for (auto _ : state) {
    std::string out;
    if (native) {
      out = reference::fedInPieces(tarnwick::CodeViewRenderer("ffffff", "", SIZE_MAX), blame, blame.size() + 1);
    } else {
      reference::runOnStack([&] { out = reference::renderCodeView(blame, "ffffff", ""); });
    }
    outBytes = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * blame.size()));
  state.counters["in_bytes"] = static_cast<double>(blame.size());
  state.counters["out_bytes"] = static_cast<double>(outBytes);
}

void regexBlame(benchmark::State& s) { run(s, false); }
void nativeBlame(benchmark::State& s) { run(s, true); }

BENCHMARK(regexBlame)->Name("BlameView/std_regex/real_blame")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(nativeBlame)->Name("BlameView/native/real_blame")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
