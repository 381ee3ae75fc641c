#include "tokens/origin.h"

#include <cstddef>

namespace NorvoWebAPI {

void NormalizeOrigin(std::string& url) {
  static constexpr char kAfterScheme[] = "://";
  if (const size_t scheme = url.find(kAfterScheme); scheme != std::string::npos) {
    if (const size_t path = url.find('/', scheme + 3); path != std::string::npos) url.resize(path);
    url.replace(scheme, 3, 1, '_');
  }
  if (const size_t colon = url.find(':'); colon != std::string::npos) url[colon] = '_';
}

}  // namespace NorvoWebAPI
