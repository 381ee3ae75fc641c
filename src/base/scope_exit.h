#pragma once

#include <utility>

namespace NorvoWebAPI {

/// Runs `work` on every way out of a scope. `work` must not throw.
template <typename Work>
class ScopeExit {
 public:
  explicit ScopeExit(Work atExit) : work(std::move(atExit)) {}
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;
  ~ScopeExit() { work(); }

 private:
  Work work;
};

}  // namespace NorvoWebAPI
