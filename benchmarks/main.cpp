// Measures each benchmark in turns with its floor and prints one table of their ratios, the worst first.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "benchmarks/pairs.h"

namespace Bench {

Pairs::Pairs(std::initializer_list<Pair> pairs) {
  All().insert(All().end(), pairs);
}

std::vector<Pair>& Pairs::All() {
  static std::vector<Pair> all;
  return all;
}

namespace {

constexpr char kBenchmark[] = "benchmark";
constexpr char kFloor[] = "floor";

// Keeps the time of each name: of several repetitions the median, which is reported after them.
class Times : public benchmark::BenchmarkReporter {
 public:
  explicit Times(Clock measured) : clock(measured) {}

  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) throw std::runtime_error(run.error_message);
      if (run.run_type == Run::RT_Iteration || run.aggregate_name == "median") {
        nanoseconds[run.run_name.function_name] =
            clock == Clock::Wall ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
      }
    }
  }

  std::map<std::string, double> nanoseconds;

 private:
  const Clock clock;
};

struct Row {
  Pair pair;
  double time;
  double floorTime;

  [[nodiscard]] double Ratio() const { return time / floorTime; }
};

Row Measure(const Pair& pair) {
  for (const auto& [name, function] : {std::pair(kFloor, pair.floor), std::pair(kBenchmark, pair.benchmark)}) {
    auto* const registered = benchmark::RegisterBenchmark(name, function)->MeasureProcessCPUTime();
    if (pair.clock == Clock::Wall) registered->UseRealTime();
  }
  Times times(pair.clock);
  benchmark::RunSpecifiedBenchmarks(&times, "all");
  benchmark::ClearRegisteredBenchmarks();
  return {pair, times.nanoseconds.at(kBenchmark), times.nanoseconds.at(kFloor)};
}

std::string Readable(double nanoseconds) {
  static constexpr const char* kUnits[] = {"ns", "us", "ms"};
  size_t unit = 0;
  for (; nanoseconds >= 1000 && unit + 1 < std::size(kUnits); ++unit) nanoseconds /= 1000;
  char text[32];
  std::snprintf(text, sizeof text, "%.*f %s", nanoseconds < 100 ? 1 : 0, nanoseconds, kUnits[unit]);
  return text;
}

void Print(std::vector<Row> rows) {
  std::ranges::sort(rows, std::ranges::greater(), &Row::Ratio);
  size_t width = 0;
  for (const Row& row : rows) width = std::max(width, std::strlen(row.pair.name));
  const int nameWidth = static_cast<int>(width);
  std::printf("%6s  %-*s  %8s  %8s  %s\n", "ratio", nameWidth, "benchmark", "time", "floor", "what the floor is");
  for (const Row& row : rows) {
    std::printf("%6.2f  %-*s  %8s  %8s  %s\n", row.Ratio(), nameWidth, row.pair.name, Readable(row.time).c_str(),
                Readable(row.floorTime).c_str(), row.pair.floorName);
  }
}

int Run(std::string_view part) {
  std::vector<Pair> pairs;
  std::ranges::copy_if(Pairs::All(), std::back_inserter(pairs),
                       [&](const Pair& pair) { return std::string_view(pair.name).find(part) != part.npos; });
  if (pairs.empty()) {
    std::fprintf(stderr, "bench: no benchmark's name has '%s' in it\n", std::string(part).c_str());
    return 2;
  }
  std::vector<Row> rows;
  for (const Pair& pair : pairs) {
    std::fprintf(stderr, "bench: %zu of %zu, %s\n", rows.size() + 1, pairs.size(), pair.name);
    rows.push_back(Measure(pair));
  }
  Print(std::move(rows));
  return 0;
}

}  // namespace
}  // namespace Bench

// Takes the options of Google Benchmark, and a part of the names to be measured.
int main(int argc, char** argv) {
  // In turns and many times: what else the machine does then hits a benchmark and its floor alike.
  std::string defaults[] = {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=15",
                            "--benchmark_min_time=0.03"};
  std::vector<char*> arguments{argv[0]};
  for (std::string& option : defaults) arguments.push_back(option.data());
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  try {
    return Bench::Run(count > 1 ? arguments[1] : "");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "bench: %s\n", failure.what());
    return 1;
  }
}
