/// Functions of the page as objects of the module.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <utility>

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

}  // namespace Bridge
