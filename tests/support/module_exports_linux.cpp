#include "tests/support/module_exports.h"

namespace support {

NPError InitializeModule(NPNetscapeFuncs* host, InitializeEntry entry) {
  NPPluginFuncs plugin{};
  plugin.size = sizeof plugin;
  return entry(host, &plugin);
}

}  // namespace support
