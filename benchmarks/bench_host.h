/// A host without accounts in a browser's place, so that what is measured is the plug-in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kit/nphost/instance.h"
#include "kit/nphost/module.h"

namespace Bench {

/// A script object that lists its members and can be called; numbers and texts are the caller's.
struct ListedObject : NPObject {
  ListedObject();

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
  NPP Instance() { return instance.Record(); }
  /// Calls a method through the class table, reads "fnRetCode" and lets the result go. Throws when the call fails.
  int32_t Call(NPIdentifier method, const std::vector<NPVariant>& args);

 private:
  NpHost::Module module;
  NpHost::Instance instance;
  NPObject* object;
};

Page& ThePage();

/// How often a `ListedObject` was called.
extern size_t functionCalls;

}  // namespace Bench
