#include "script/host_values.h"

#include <stdexcept>

namespace NorvoWebAPI {

std::string TextOf(const NPString& text) {
  return {text.UTF8Characters, text.UTF8Length};
}

std::string IdentifierText(const NPNetscapeFuncs* npnFuncs, NPIdentifier id) {
  const HostMemory<NPUTF8> text(npnFuncs, npnFuncs->utf8fromidentifier(id));
  if (!text.Get()) throw std::runtime_error("Identifier without a text");
  return text.Get();
}

}  // namespace NorvoWebAPI
