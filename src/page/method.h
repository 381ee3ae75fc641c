/// How a script method is described: the types of a row in api/method_table.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace NorvoWebAPI::KSV {

class ScriptCall;
class Scriptable;

/// How an argument is converted. Numbers and flags are made of any value; text must be text. Functions and unread
/// arguments are left to the operation.
enum class ArgumentKind : uint8_t { Any, Text, Number, Unsigned, Flag, Function, Unread };

struct Argument {
  ArgumentKind kind = ArgumentKind::Any;
  const char* name = nullptr;
};

/// How many arguments a method accepts: those of its row, further ones too (which are ignored), or any number.
enum class Arity : uint8_t { Exact, AllowsExtraArguments, IgnoresArguments };

/// What the page gets. Result: a result object. ResultStartingFailed: the same, with code 13 in it until the operation
/// has another. None: no value; the method throws if its arguments are wrong.
enum class Answer : uint8_t { Result, ResultStartingFailed, None };

struct MethodRow {
  static constexpr size_t kMaxArguments = 14;

  const char* name;
  void (*operation)(ScriptCall& call);
  Argument arguments[kMaxArguments] = {};
  Arity arity = Arity::Exact;
  Answer answer = Answer::Result;
  /// Runs first at every call, also when the number of arguments is wrong.
  void (*atEntry)(Scriptable& object, bool accepted) = nullptr;

  [[nodiscard]] constexpr size_t ArgumentCount() const {
    size_t count = 0;
    while (count < kMaxArguments && arguments[count].name) ++count;
    return count;
  }
  [[nodiscard]] constexpr bool Accepts(size_t count) const {
    if (arity == Arity::IgnoresArguments) return true;
    const size_t expected = ArgumentCount();
    return count == expected || (arity == Arity::AllowsExtraArguments && count > expected);
  }
};

/// The method table and the handler of the page's end. The object is given them, so that this room needs nothing of the
/// operations' rooms.
struct ScriptApi {
  std::span<const MethodRow> methods;
  /// The host destroys the instance: gives back what the page has initialised and registered. Must not throw.
  void (*onPageEnd)(Scriptable& object);
};

}  // namespace NorvoWebAPI::KSV
