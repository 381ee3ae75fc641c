/// Benchmarks and their floors. A time tells most of the machine it was taken on; its ratio to a floor that is measured
/// in turns with it tells of the code.
#pragma once

#include <benchmark/benchmark.h>

#include <initializer_list>
#include <vector>

namespace Bench {

/// What is measured: the processor's time of all threads, which a neighbour on the machine lengthens less; or the
/// wall's, where another process works too.
enum class Clock { Processor, Wall };

/// A benchmark, and what it is held against: the least that the same outcome takes. What a contract demands (a file
/// read at each call, a mutex) and what others do (the host, the libraries, the system) belongs to the floor; how the
/// plug-in is built doesn't.
struct Pair {
  const char* name;
  void (*benchmark)(benchmark::State& state);
  const char* floorName;
  void (*floor)(benchmark::State& state);
  Clock clock = Clock::Processor;
};

/// Enters pairs into the table. Every file of benchmarks has one at its end.
class Pairs {
 public:
  Pairs(std::initializer_list<Pair> pairs);

  static std::vector<Pair>& All();
};

}  // namespace Bench
