#include "tests/support/module_exports.h"

namespace support {

NPError InitializeModule(NPNetscapeFuncs* host, InitializeEntry entry) {
  return entry(host);
}

}  // namespace support
