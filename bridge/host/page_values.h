/// Values of the page: from messages into variants of the module, and back.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>

#include "kit/nphost/variants.h"

namespace Bridge {

/// The page's functions that the module holds, by the extension's numbers.
class PageFunctions {
 public:
  /// `send` takes the messages "run" and "forget".
  explicit PageFunctions(std::function<void(const nlohmann::json&)> send) : send(std::move(send)) {}
  PageFunctions(const PageFunctions&) = delete;
  PageFunctions& operator=(const PageFunctions&) = delete;

  /// The function's object, with a reference for the caller: the same one while the module holds it.
  NPObject* Take(uint32_t number);
  /// Sends "forget" for all functions that the module has let go since the last time.
  void TellForgotten();

 private:
  struct Function;
  static NPClass functionClass;
  static void Deallocate(NPObject* object) noexcept;
  static bool Run(NPObject* object, const NPVariant* arguments, uint32_t count, NPVariant* result);
  static bool ListNothing(NPObject* object, NPIdentifier** keys, uint32_t* count);

  const std::function<void(const nlohmann::json&)> send;
  std::unordered_map<uint32_t, Function*> held;
  nlohmann::json forgotten = nlohmann::json::array();
};

/// What a value of a message may name.
struct PageContext {
  PageFunctions& functions;
  /// The object for script of an instance; null when there is none of that number.
  std::function<NPObject*(uint32_t)> pluginObject;
};

/// The arguments of a call, or one value as a list of one. Throws `ProtocolError` for what is no value, for objects in
/// more than 64 levels and for more than 100,000 values in all.
void ReadValues(const nlohmann::json& values, const PageContext& context, NpHost::VariantList& list);

/// What the module gave. Its objects are read at once: the keys of the page API, or the elements of an array.
nlohmann::json WriteValue(const NPVariant& value);

/// A page's window, which has its address only; with a reference for the caller. Throws `std::bad_alloc`.
NPObject* MakeWindow(const std::string& address);

}  // namespace Bridge
