#include "kit/host/complain.h"

#include <cstdio>

namespace Kit {

void Complain(const std::string& sentence) {
  std::fprintf(stderr, "ksv-host: %s\n", sentence.c_str());
  std::fflush(stderr);
}

}  // namespace Kit
