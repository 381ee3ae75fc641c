/// The page's script: the engine, its global names, its uncaught errors.
#pragma once

#include <duktape.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "kit/host/page_source.h"
#include "npapi/npruntime.h"

namespace Kit {

/// What page script asks of its host.
class PageServices {
 public:
  PageServices() = default;
  PageServices(const PageServices&) = delete;
  PageServices& operator=(const PageServices&) = delete;
  virtual ~PageServices() = default;

  virtual void Print(const std::string& line) = 0;
  virtual void Finish(bool succeeded) = 0;
  virtual void Click(int x, int y) = 0;
  virtual uint32_t StartTimer(std::chrono::milliseconds delay, bool repeats) = 0;
  virtual void StopTimer(uint32_t timer) = 0;
  /// An error that no script caught, wherever it came from.
  virtual void Uncaught(const std::string& error) = 0;
};

/// One a process at a time, on one thread. With its end all references end that script holds.
class ScriptEngine {
 public:
  /// `services` outlives the engine.
  ScriptEngine(PageServices& services, const std::string& address);
  ~ScriptEngine();
  ScriptEngine(const ScriptEngine&) = delete;
  ScriptEngine& operator=(const ScriptEngine&) = delete;

  /// Null before the engine's time and from its end on.
  static ScriptEngine* Current();

  /// Makes `object` the page's global `plugin`. Takes a reference of its own.
  void SetPlugin(NPObject* object);
  void Run(const Script& script);
  void Fire(uint32_t timer);
  /// The page's `window`, with a reference for the caller; null when memory ran out.
  NPObject* Window();

  /// Runs `work` and leaves the stack as it was. An error that ends it counts as uncaught.
  void Protect(const std::function<void(duk_context*)>& work);

  [[nodiscard]] PageServices& Services() const { return services; }

 private:
  PageServices& services;
  duk_context* context;
};

}  // namespace Kit
