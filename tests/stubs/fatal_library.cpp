// A library that doesn't let itself be loaded: what it does then is said by its compile definition.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

[[maybe_unused]] const bool loaded = (KSV_AT_LOAD, true);

}  // namespace
