// Times the changed-word matcher as the diff view would run it: every change block of a real
// `git log -p` (this project's own history, or the file UTILS_BENCH_GIT_LOG names) and of a
// generated sample diff, matched one after another with one matcher, its colour codes kept whole.
// Bytes per second count the whole diff, so that they compare with the diff view's own speed,
// timed beside it on the same text. Then hostile blocks: long lines of distinct tokens (ruled out
// by the token counts), the same tokens in reverse order (searched until out of reach) at sizes
// up to the bound, and one past it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "changed_words_reference.h"
#include "diff/changed_words.h"
#include "diff/color_diff.h"
#include "git_samples.h"
#include "sample_repository.h"

namespace {

struct BlockLine {
  const char* text;
  std::size_t size;
  bool added;
  std::vector<tarnwick::TextRange> wholes;
};

// A diff and its change blocks, each a run of lines that point into the diff.
struct Diff {
  std::string text;
  std::vector<std::vector<BlockLine>> blocks;
  std::size_t blockBytes = 0;
};

// Returns `text` cut into change blocks: inside hunks, a run of removed lines and the run of added
// lines right after it, both there.
Diff parse(std::string text) {
  Diff diff{std::move(text), {}, 0};
  const std::string& t = diff.text;
  std::vector<BlockLine> block;
  bool inHunk = false;
  const auto close = [&] {
    const bool both = !block.empty() && !block.front().added && block.back().added;
    if (both) {
      for (const BlockLine& line : block) diff.blockBytes += line.size + 2;
      diff.blocks.push_back(std::move(block));
    }
    block.clear();
  };
  for (std::size_t at = 0, end; at < t.size(); at = end + 1) {
    end = std::min(t.find('\n', at), t.size());
    const char sign = end > at ? t[at] : ' ';
    if (t.compare(at, 2, "@@") == 0) inHunk = true;
    else if (sign != ' ' && sign != '-' && sign != '+' && sign != '\\') inHunk = false;
    if (!inHunk || (sign != '-' && sign != '+')) {
      close();
      continue;
    }
    if (sign == '-' && !block.empty() && block.back().added) close();
    if (sign == '+' && block.empty()) continue;  // added lines alone
    block.push_back(BlockLine{t.data() + at + 1, end - at - 1, sign == '+',
                              reference::colourCodes(t.substr(at + 1, end - at - 1))});
  }
  close();
  return diff;
}

std::string readFile(const char* path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

const Diff& projectLog() {
  static const Diff diff = [] {
    const char* file = std::getenv("UTILS_BENCH_GIT_LOG");
    std::string text = file != nullptr && *file != 0 ? readFile(file)
                                       : reference::runShell("git log -p --no-color", UTILS_SOURCE_DIR);
    if (text.empty()) text = bench::makeGitDiff(20260101, 60, 900);  // no history here (a bare export)
    return parse(std::move(text));
  }();
  return diff;
}

const Diff& sampleDiff() {
  static const Diff diff = parse(bench::makeGitDiff(20260101, 60, 900));
  return diff;
}

// Returns the number of marks the block gets.
std::size_t marksOf(tarnwick::ChangedWords& words, const std::vector<BlockLine>& block) {
  words.clear();
  for (const BlockLine& line : block) {
    words.addLine(line.added, line.text, line.size, line.wholes.data(), line.wholes.size());
  }
  std::size_t marks = 0;
  if (words.match()) {
    for (std::size_t l = 0; l < block.size(); ++l) marks += words.marks(l).size();
  }
  return marks;
}

void matchAll(benchmark::State& state, const Diff& diff) {
  tarnwick::ChangedWords words;
  std::size_t marks = 0, marked = 0;
  for (auto _ : state) {
    marks = marked = 0;
    for (const auto& block : diff.blocks) {
      const std::size_t made = marksOf(words, block);
      marks += made;
      marked += made > 0;
    }
    benchmark::DoNotOptimize(marks);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * diff.text.size()));
  state.counters["diff_bytes"] = static_cast<double>(diff.text.size());
  state.counters["block_share"] = static_cast<double>(diff.blockBytes) / static_cast<double>(diff.text.size());
  state.counters["blocks"] = static_cast<double>(diff.blocks.size());
  state.counters["marked_blocks"] = static_cast<double>(marked);
  state.counters["marks"] = static_cast<double>(marks);
}

// The diff view without words on the same text, as the add-on runs it (see color_diff_bench.cc).
void colourAll(benchmark::State& state, const Diff& diff) {
  const std::string& text = diff.text;
  std::string out(tarnwick::measureColorDiff(text.data(), text.size(), true, true).total + tarnwick::kColorDiffSlack, '\0');
  for (auto _ : state) {
    tarnwick::measureColorDiff(text.data(), text.size(), true, true);
    benchmark::DoNotOptimize(tarnwick::writeColorDiff(&out[0], text.data(), text.size(), true, true));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

// How the real blocks spread over sizes: the share of blocks, and of their bytes, past each size
// in units (tokens and lines), the measure of the bound.
void blockSizes(benchmark::State& state, const Diff& diff) {
  std::vector<std::pair<std::size_t, std::size_t>> sizes;  // units, bytes
  for (const auto& block : diff.blocks) {
    std::size_t units = 0, bytes = 0;
    for (const BlockLine& line : block) {
      units += 1 + reference::tokensOf(std::string(line.text, line.size), line.wholes).size();
      bytes += line.size + 2;
    }
    sizes.emplace_back(units, bytes);
  }
  for (auto _ : state) benchmark::DoNotOptimize(sizes.data());
  std::size_t largest = 0;
  for (const auto& size : sizes) largest = std::max(largest, size.first);
  state.counters["largest_units"] = static_cast<double>(largest);
  for (std::size_t past : {256u, 1024u, 2048u, 4096u}) {
    std::size_t blocks = 0, bytes = 0;
    for (const auto& size : sizes) {
      if (size.first <= past) continue;
      ++blocks;
      bytes += size.second;
    }
    state.counters["blocks_past_" + std::to_string(past)] = static_cast<double>(blocks) / sizes.size();
    state.counters["bytes_past_" + std::to_string(past)] = static_cast<double>(bytes) / diff.blockBytes;
  }
}

// Returns a block of one removed and one added line of `words` distinct words each (two units a
// word with its blank): the added line the removed one's words reversed when `reversed` (its
// blanks alone reach the threshold), else words of its own and commas, none the removed side has.
Diff hostile(std::size_t words, bool reversed) {
  std::string removed, added;
  for (std::size_t i = 0; i < words; ++i) {
    removed += "w" + std::to_string(i) + " ";
    added += reversed ? "w" + std::to_string(words - 1 - i) + " " : "v" + std::to_string(i) + ",";
  }
  return parse("@@ -1 +1 @@\n-" + removed + "\n+" + added + "\n");
}

void projectLogWords(benchmark::State& s) { matchAll(s, projectLog()); }
void projectLogColours(benchmark::State& s) { colourAll(s, projectLog()); }
void projectLogSizes(benchmark::State& s) { blockSizes(s, projectLog()); }
void sampleWords(benchmark::State& s) { matchAll(s, sampleDiff()); }
void sampleColours(benchmark::State& s) { colourAll(s, sampleDiff()); }
void sampleSizes(benchmark::State& s) { blockSizes(s, sampleDiff()); }
void distinctWords(benchmark::State& s) {
  static const Diff diff = hostile(1023, false);
  matchAll(s, diff);
}
void reversedWords(benchmark::State& s) {
  const Diff diff = hostile(static_cast<std::size_t>(s.range(0)), true);
  matchAll(s, diff);
}

BENCHMARK(projectLogWords)->Name("ChangedWords/words/git_log")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(projectLogColours)->Name("ChangedWords/colours/git_log")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(projectLogSizes)->Name("ChangedWords/sizes/git_log")->Iterations(1);
BENCHMARK(sampleWords)->Name("ChangedWords/words/sample_diff")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(sampleColours)->Name("ChangedWords/colours/sample_diff")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(sampleSizes)->Name("ChangedWords/sizes/sample_diff")->Iterations(1);
BENCHMARK(distinctWords)->Name("ChangedWords/words/distinct_long_lines")->Unit(benchmark::kMillisecond)->UseRealTime();
// Two units a word: 1023 words a side make 4094 units with the two lines, the bound's worst;
// 2047 are past it.
BENCHMARK(reversedWords)->Name("ChangedWords/words/reversed")->Arg(127)->Arg(511)->Arg(1023)->Arg(2047)
    ->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
