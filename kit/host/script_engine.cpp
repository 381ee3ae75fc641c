#include "kit/host/script_engine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "kit/host/page_globals.h"
#include "kit/host/plugin_objects.h"
#include "kit/host/script_objects.h"
#include "kit/host/script_values.h"
#include "kit/program/exit_status.h"
#include "kit/program/paths.h"

namespace Kit {
namespace {

constexpr const char* kFire = DUK_HIDDEN_SYMBOL("fire");
// A day is as good as never.
constexpr double kLongestDelay = 86'400'000;

ScriptEngine* current = nullptr;

PageServices& Services() {
  return ScriptEngine::Current()->Services();
}

[[noreturn]] void EndOnFatalError(void* /*context*/, const char* message) {
  std::fprintf(stderr, "ksv-host: The script engine gave up: %s.\n", message ? message : "no reason given");
  std::_Exit(kExitNoAnswer);
}

// --- what page_globals.js builds the page's names from

duk_ret_t Print(duk_context* context) {
  Services().Print(TextAt(context, 0));
  return 0;
}

duk_ret_t Finish(duk_context* context) {
  Services().Finish(duk_to_boolean(context, 0) != 0);
  return 0;
}

duk_ret_t Click(duk_context* context) {
  Services().Click(duk_to_int(context, 0), duk_to_int(context, 1));
  return 0;
}

duk_ret_t Read(duk_context* context) {
  const std::string file = TextAt(context, 0);
  std::string text;
  try {
    text = ReadFile(PathOf(file));
  } catch (const std::runtime_error& error) {
    ThrowError(context, error.what());
  }
  PushText(context, text);
  return 1;
}

duk_ret_t StartTimer(duk_context* context) {
  const double asked = duk_to_number(context, 0);
  const double delay = asked > 0 ? std::min(asked, kLongestDelay) : 0;  // NaN and what is negative: at once.
  const bool repeats = duk_to_boolean(context, 1) != 0;
  duk_push_uint(context, Services().StartTimer(std::chrono::milliseconds(static_cast<int64_t>(delay)), repeats));
  return 1;
}

duk_ret_t StopTimer(duk_context* context) {
  Services().StopTimer(duk_to_uint32(context, 0));
  return 0;
}

// A text whose characters are bytes, as btoa takes it, to Base64 and back.
duk_ret_t EncodeBase64(duk_context* context) {
  duk_to_string(context, 0);
  const duk_size_t length = duk_get_length(context, 0);
  auto* const bytes = static_cast<unsigned char*>(duk_push_fixed_buffer(context, length));
  for (duk_size_t at = 0; at < length; ++at) {
    const duk_codepoint_t character = duk_char_code_at(context, 0, at);
    if (character > 0xFF) ThrowError(context, "btoa takes characters up to U+00FF");
    bytes[at] = static_cast<unsigned char>(character);
  }
  duk_base64_encode(context, -1);
  return 1;
}

duk_ret_t DecodeBase64(duk_context* context) {
  duk_to_string(context, 0);
  duk_base64_decode(context, 0);
  duk_size_t size = 0;
  const auto* const bytes = static_cast<const unsigned char*>(duk_get_buffer_data(context, 0, &size));
  std::string text;
  for (duk_size_t at = 0; at < size; ++at) {
    if (bytes[at] >= 0x80) text += static_cast<char>(0xC0 | bytes[at] >> 6);
    text += static_cast<char>(bytes[at] < 0x80 ? bytes[at] : 0x80 | (bytes[at] & 0x3F));
  }
  duk_push_lstring(context, text.data(), text.size());
  return 1;
}

constexpr duk_function_list_entry kNatives[] = {{"print", Print, 1},
                                                {"finish", Finish, 1},
                                                {"click", Click, 2},
                                                {"read", Read, 1},
                                                {"startTimer", StartTimer, 2},
                                                {"stopTimer", StopTimer, 1},
                                                {"encodeBase64", EncodeBase64, 1},
                                                {"decodeBase64", DecodeBase64, 1},
                                                {nullptr, nullptr, 0}};

// Writes the text of the error on the stack's top to `text`. It may throw itself, when memory runs out.
duk_ret_t TellError(duk_context* context, void* text) {
  duk_safe_to_stacktrace(context, -1);
  *static_cast<std::string*>(text) = TextAt(context, -1);
  return 0;
}

void RunSource(duk_context* context, const std::string& name, const std::string& source) {
  PushText(context, source);
  PushText(context, name);
  duk_compile(context, 0);
  duk_call(context, 0);
}

}  // namespace

ScriptEngine* ScriptEngine::Current() {
  return current;
}

ScriptEngine::ScriptEngine(PageServices& services, const std::string& address)
    : services(services), context(duk_create_heap(nullptr, nullptr, nullptr, nullptr, EndOnFatalError)) {
  if (!context) throw std::bad_alloc();
  current = this;
  Protect([&](duk_context* context) {
    RunSource(context, "page_globals.js", kPageGlobals);
    duk_push_global_object(context);
    duk_push_object(context);
    duk_put_function_list(context, -1, kNatives);
    PushText(context, address);
    duk_call(context, 3);
    duk_push_global_stash(context);
    duk_swap_top(context, -2);
    duk_put_prop_string(context, -2, kFire);
  });
}

ScriptEngine::~ScriptEngine() {
  DetachScriptObjects();
  current = nullptr;
  duk_destroy_heap(context);
}

void ScriptEngine::SetPlugin(NPObject* object) {
  Protect([&](duk_context* context) {
    PushPluginObject(context, object);
    duk_put_global_string(context, "plugin");
  });
}

void ScriptEngine::Run(const Script& script) {
  Protect([&](duk_context* context) { RunSource(context, script.name, script.source); });
}

void ScriptEngine::Fire(uint32_t timer) {
  Protect([&](duk_context* context) {
    duk_push_global_stash(context);
    duk_get_prop_string(context, -1, kFire);
    duk_push_uint(context, timer);
    duk_call(context, 1);
  });
}

NPObject* ScriptEngine::Window() {
  NPObject* window = nullptr;
  Protect([&](duk_context* context) {
    duk_push_global_object(context);
    window = ScriptObjectAt(context, -1);
  });
  return window;
}

void ScriptEngine::Protect(const std::function<void(duk_context*)>& work) {
  // The plug-in's frames may lie below: nothing here may throw, so that room on the stack is asked for, not demanded.
  constexpr duk_idx_t kRoom = 16;
  if (!duk_check_stack(context, kRoom)) {
    services.Uncaught("the script engine's stack is full");
    return;
  }
  const duk_idx_t top = duk_get_top(context);
  const auto run = [](duk_context* inner, void* data) -> duk_ret_t {
    (*static_cast<const std::function<void(duk_context*)>*>(data))(inner);
    return 0;
  };
  const bool done = duk_safe_call(context, run, const_cast<std::function<void(duk_context*)>*>(&work), 0, 1) == 0;
  if (!done) {
    std::string error = "an error without a text";
    duk_safe_call(context, TellError, &error, 1, 1);
    services.Uncaught(error);
  }
  duk_set_top(context, top);
}

}  // namespace Kit
