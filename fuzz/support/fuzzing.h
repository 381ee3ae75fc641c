/// What the fuzz targets share. Each input is read as a row of choices, so that every input means something; what is
/// worth choosing stands in the program, so that no file of seeds is needed.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <iterator>
#include <set>

#include "tests/support/environment.h"

namespace fuzz {

/// One input of the engine's.
class Input : public FuzzedDataProvider {
 public:
  using FuzzedDataProvider::FuzzedDataProvider;

  [[nodiscard]] bool Done() const { return const_cast<Input*>(this)->remaining_bytes() == 0; }
  /// True once in `count` times.
  bool OnceIn(uint8_t count) { return ConsumeIntegralInRange<uint8_t>(1, count) == count; }
  template <typename Choices>
  auto Pick(const Choices& choices) {
    return std::data(choices)[ConsumeIntegralInRange<size_t>(0, std::size(choices) - 1)];
  }
  /// Any, but a number at which something changes more often than chance has it.
  int32_t Number();
  /// A number that might be an address or a handle.
  uint32_t Word() { return static_cast<uint32_t>(Number()); }
  /// The same for what pages and libraries give as text.
  std::string Text();
};

/// The world of the process. A failed check of the tests' support ends it, as a finding has to.
support::Environment& World();

/// Ends the process when a check fails, with what was wrong.
void Demand(bool holds, const char* what);

/// Every file and folder below a place, by its path in there.
std::set<std::string> Everything(const std::filesystem::path& place);

/// Takes away what one input left in the base folder: the next one has to find what it would find alone.
void CleanBaseFolder();

}  // namespace fuzz
