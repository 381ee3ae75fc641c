#pragma once

#include <functional>
#include <string>

namespace NpHost {

/// Whether a host records what it hands out. Without accounts nothing is checked and nothing poisoned, which costs the
/// least: for measuring.
enum class Accounts { Kept, None };

/// Takes one sentence about a use of the interface that breaks its rules.
using Report = std::function<void(const std::string& misuse)>;

/// What fills memory from its start to its first use, and again from its end.
constexpr unsigned char kPoison = 0xDD;

}  // namespace NpHost
