#include "fuzz/support/fuzzing.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace fs = std::filesystem;

namespace fuzz {
namespace {

class EndOnFailure : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) Demand(false, result.message());
  }
};

constexpr int32_t kNumbers[] = {0,   1,   2,   7,    9,    11,    15,    16,    70,       101,     255,
                                256, 512, 999, 4096, 9999, 32767, 32768, 65535, 0x7FFFFF, INT_MAX, -1};
// clang-format off
constexpr const char* kTexts[] = {"app", "", "aGk=", "{3,4}", "{100,50}", "{65536,-1}", "token", "..\\x", "..\\..\\..\\x",
                                  "https_page.example", "https://other.example:81/", "*", "\xFF\xC0", "%s%n"};
// clang-format on

}  // namespace

int32_t Input::Number() {
  return ConsumeBool() ? Pick(kNumbers) : ConsumeIntegral<int32_t>();
}

std::string Input::Text() {
  // Most are short: one that takes all that is left ends the input.
  return ConsumeBool() ? Pick(kTexts) : ConsumeRandomLengthString(OnceIn(16) ? remaining_bytes() : 12);
}

support::Environment& World() {
  static support::Environment* const world = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new EndOnFailure);  // Owned by the listeners.
    return new support::Environment;  // Lives as long as the process, since the libraries' stand-ins may look at it.
  }();
  return *world;
}

void Demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "a rule is broken: %s\n", what);
  std::abort();
}

std::set<std::string> Everything(const fs::path& place) {
  std::set<std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(place)) {
    found.insert(fs::relative(entry.path(), place).string());
  }
  return found;
}

void CleanBaseFolder() {
  const std::string kept = "lastUpdatewin32-npapi";
  bool isThere = false;
  for (const auto& entry : fs::directory_iterator(World().Path(""))) {
    if (entry.path().filename() == kept && entry.file_size() == 10) {
      isThere = true;
    } else {
      fs::remove_all(entry.path());
    }
  }
  if (!isThere) World().SetLastUpdate(0);
}

}  // namespace fuzz
