#pragma once
// The benchmarks compare the fastest repetition of each measurement: other
// work on the machine only ever adds time, so the minimum is the measure least
// disturbed by it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace nv::bench {

inline double fastest(const std::vector<double>& times) {
  return *std::min_element(times.begin(), times.end());
}

// Prints as usual and keeps each benchmark's "min" aggregate, in milliseconds.
class FastestReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "min" && !run.error_occurred)
        milliseconds[run.run_name.function_name] = run.GetAdjustedRealTime();
    }
  }
  std::map<std::string, double> milliseconds;
};

}  // namespace nv::bench
