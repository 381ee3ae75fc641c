#pragma once

#include <string>

/// Turns a path in the layer's form (backslashes) into the form that the system's file streams take: the same text on
/// Windows, slashes elsewhere.
std::string SystemPath(const std::string& path);
