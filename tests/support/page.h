#pragma once

#include <initializer_list>

#include "kit/nphost/instance.h"
#include "tests/support/test_host.h"

namespace support {

using Calls = std::vector<std::string>;

/// What a script call or a read gave; read as page script reads it, and released at the end.
class Result {
 public:
  Result(TestHost& host, bool answered, NPVariant variant) : host(&host), answered(answered), variant(variant) {}
  Result(Result&& other) noexcept;
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  Result& operator=(Result&&) = delete;
  ~Result();

  /// False when the script call or the read failed.
  [[nodiscard]] bool Answered() const { return answered; }
  [[nodiscard]] Value Get() const { return TestHost::Read(variant); }
  [[nodiscard]] bool Has(const Key& key) const;
  [[nodiscard]] Result Member(const Key& key) const;
  /// The member's value; a missing one or another type fails the test.
  [[nodiscard]] int32_t Int(const Key& key) const;
  [[nodiscard]] std::string Text(const Key& key) const;
  /// Every key of a result object that has a value, as in "pluginRetCode=0 fnRetCode=11 requiredDataLen=40"; Base64 and
  /// texts stand in quotes, a list in brackets. "failed" for a failed call, "null" for null.
  [[nodiscard]] std::string Show() const;

 private:
  [[nodiscard]] NPObject* Object() const;

  TestHost* host;
  bool answered;
  NPVariant variant;
};

/// One embedded object, through the module's entries. It ends as a browser ends it: `NPP_Destroy`, then the scriptable
/// object whoever refers to it.
class Page {
 public:
  explicit Page(TestHost& host, const std::string& address = "https://page.example/", void* window = nullptr);
  ~Page() { End(); }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  Result Call(const std::string& method, const std::vector<Value>& args = {}) const;
  [[nodiscard]] Result Read(const Key& key) const;

  /// Both halves of the end, or one after the other. `End` may run inside a call on the page.
  void Destroy();
  void End();

  [[nodiscard]] NPP Instance() const { return instance.Record(); }
  /// Null from the end on.
  [[nodiscard]] NPObject* Object() const { return object; }
  /// The page's window object, for tests that bend it.
  [[nodiscard]] ScriptObject& Window() const { return host.Window(instance.Record()); }

 private:
  TestHost& host;
  NpHost::Instance instance;
  NPObject* object;
};

/// The module's table.
const NPPluginFuncs& Module();

}  // namespace support
