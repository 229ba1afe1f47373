// The benchmark runner: every benchmark named "<what>/native/<input>" that has a partner
// "<what>/std_regex/<input>" gets a line with the speed ratio of the two after the table.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

namespace {

const char kNative[] = "/native/";
const char kRegex[] = "/std_regex/";

// Keeps each run's real time per iteration, by benchmark name, for the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.iterations <= 0) continue;
      const std::string name = run.benchmark_name();
      seconds_[name.substr(0, name.find("/real_time"))] = run.real_accumulated_time / static_cast<double>(run.iterations);
    }
  }

  void printRatios() const {
    for (const auto& [name, native] : seconds_) {
      const auto at = name.find(kNative);
      if (at == std::string::npos || native <= 0) continue;
      const std::string partner = name.substr(0, at) + kRegex + name.substr(at + sizeof kNative - 1);
      const auto regex = seconds_.find(partner);
      if (regex == seconds_.end()) continue;
      std::printf("%s: native is %.0fx the speed of std::regex\n", name.c_str(), regex->second / native);
    }
  }

 private:
  std::map<std::string, double> seconds_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatios();
  benchmark::Shutdown();
  return 0;
}
