/// The cheapest host that a benchmark can have in a browser's place: it interns identifiers, counts references and
/// keeps no accounts, so that what is measured is the plug-in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "npapi/npfunctions.h"

namespace Bench {

/// A script object that lists its members; numbers and texts are the caller's.
struct ListedObject : NPObject {
  std::vector<NPIdentifier> ids;
  std::vector<NPVariant> values;
};

const NPNetscapeFuncs& HostFuncs();
NPIdentifier Identifier(const std::string& name);

NPVariant Number(double value);
/// The text has to outlive the variant.
NPVariant Text(const std::string& value);

/// A page with the plug-in in it, whose agent is the reference one and whose update is fresh. One a process.
class Page {
 public:
  Page();
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  NPObject* Object() { return object; }
  NPP Instance() { return &instance; }
  /// Calls a method through the class table, reads "fnRetCode" and lets the result go. Throws when the call fails.
  int32_t Call(NPIdentifier method, const std::vector<NPVariant>& args);

 private:
  NPP_t instance{};
  NPObject* object = nullptr;
};

Page& ThePage();

/// How often a page's function was called.
extern size_t functionCalls;

}  // namespace Bench
