#pragma once

#include <string>

namespace Kit {

/// Writes one line for the user to standard error.
void Complain(const std::string& sentence);

}  // namespace Kit
