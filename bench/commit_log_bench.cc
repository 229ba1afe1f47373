// Times the commit list options against their std::regex formulation on the same `git log`
// output of a generated repository (over 100 KB), and reports how many times faster the
// production parser and options are, parsing alone and with the markup.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <string>

#include "git_samples.h"
#include "command/shell_quote.h"
#include "commit_log_reference.h"
#include "in_pieces.h"
#include "command/git_invocation.h"
#include "mergetool/commit_list.h"
#include "mergetool/log_format.h"

namespace {

const char kFile[] = "docs/guide.txt";

// Returns a fast-import stream of `count` commits on one file, renamed now and then, with
// subjects of every length up to 160 bytes, some holding HTML characters.
std::string importStream(int count) {
  std::string stream;
  std::string path = "guide.txt";
  for (int i = 1; i <= count; ++i) {
    std::string subject = "Change " + std::to_string(i) + (i % 7 == 0 ? " <b>&'quoted'</b>" : "") + " ";
    subject += std::string(static_cast<std::size_t>(i * 37 % 120), 'x');
    const std::string content = "line " + std::to_string(i) + "\nshared line one\nshared line two\n";
    const std::string time = std::to_string(1500000000 + i * 3600) + " +0000";
    stream += "commit refs/heads/main\nauthor A <a@example.com> " + time + "\ncommitter C <c@example.com> " + time +
              "\ndata " + std::to_string(subject.size()) + "\n" + subject + "\n";
    if (i % 500 == 0 || i == count) {
      const std::string renamed = i == count ? kFile : "guide-" + std::to_string(i) + ".txt";
      stream += "R " + path + " " + renamed + "\n";
      path = renamed;
    }
    stream += "M 100644 inline " + path + "\ndata " + std::to_string(content.size()) + "\n" + content + "\n";
  }
  return stream;
}

// Returns `git log --follow` output of a repository made once in a temporary folder.
const std::string& logOutput() {
  static const std::string log = [] {
    char folder[] = "/tmp/utils-bench-log-XXXXXX";
    const std::string repo = mkdtemp(folder);
    const std::string cd = "cd " + tarnwick::quoteForShell(repo) + " && ";
    reference::runShell(cd + "git init -q -b main");
    FILE* import = popen((cd + "git fast-import --quiet").c_str(), "w");
    const std::string stream = importStream(1500);
    std::fwrite(stream.data(), 1, stream.size(), import);
    pclose(import);
    reference::runShell(cd + "git reset -q --hard");  // git log needs the path in the work tree
    std::string out = reference::runShell(tarnwick::gitCommandLine({"log", "--no-ext-diff", "--no-color", "--follow",
                                                                    "--pretty=%h %H %at %s", "--name-status", "--", kFile}),
                                          repo);
    reference::runShell("rm -rf " + tarnwick::quoteForShell(repo));
    return out;
  }();
  return log;
}

void production(benchmark::State& state) {
  const std::string& log = logOutput();
  for (auto _ : state) benchmark::DoNotOptimize(reference::fedInPieces(tarnwick::CommitOptionsRenderer(kFile, "0000000", SIZE_MAX), log, log.size() + 1));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * log.size()));
  state.counters["log_bytes"] = static_cast<double>(log.size());
}

void regex(benchmark::State& state) {
  const std::string& log = logOutput();
  for (auto _ : state) benchmark::DoNotOptimize(reference::renderCommitOptions(log, kFile, "0000000"));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * log.size()));
  state.counters["log_bytes"] = static_cast<double>(log.size());
}

BENCHMARK(production)->Name("CommitLog/native/options")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(regex)->Name("CommitLog/std_regex/options")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
