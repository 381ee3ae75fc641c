#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace NorvoWebAPI {

class JSObject;

/// A native function that a script value can hold. `context` is not owned. True when it has filled `*result`.
using JSFunction = bool (*)(void* context, std::vector<JSObject>* args, JSObject* result);

/// A script value: a number, text, array, object or function. Copies are deep. One thread at a time.
///
/// Strings are byte strings without an encoding of their own: UTF-8 at the script border, Base64 text for binary data.
/// Failures are `std::runtime_error` unless said otherwise, and leave the value as it was.
class JSObject {
 public:
  enum class Type : int32_t { Int, Bool, Double, String, Null, Array, Function, Object };

  /// The largest element count of an Array. A page can name any index of a result.
  static constexpr uint32_t kMaxElements = 100'000;

  JSObject() = default;
  explicit JSObject(int32_t value);
  explicit JSObject(bool value);
  explicit JSObject(double value);
  explicit JSObject(std::string value);
  explicit JSObject(const char* value);
  /// Throws `std::bad_typeid` for a null function.
  JSObject(JSFunction function, void* context);
  JSObject(const JSObject& other);
  JSObject(JSObject&& other) noexcept;
  /// `other` may be this object or a part of it.
  JSObject& operator=(JSObject other) noexcept;
  ~JSObject();

  /// The member under a key, made if absent; a Null becomes an Object first. On an Array the key is an index, or
  /// "length", which reads the element count and changes nothing when written.
  JSObject& operator[](const std::string& key);
  JSObject& operator[](const char* key) { return (*this)[std::string(key)]; }
  /// The element at an index below `kMaxElements`; the Array grows up to it, a Null becomes an Array first.
  JSObject& operator[](uint32_t index);

  /// Makes an Array, in place, of a Null or of an Object whose keys are integers.
  void ToArray();
  /// Calls a Function; any other tag throws.
  bool Call(std::vector<JSObject>& args, JSObject& result);

  [[nodiscard]] Type GetType() const { return type; }
  [[nodiscard]] int32_t ToInt() const;
  [[nodiscard]] bool ToBool() const;
  [[nodiscard]] double ToDouble() const;
  /// Never converts: throws `std::bad_cast` for any other tag than String.
  [[nodiscard]] const std::string& AsString() const;
  /// Whether an Object has the key; for an Array, whether the key is "length" or can be an index. Never throws.
  [[nodiscard]] bool HasKey(const std::string& key) const;
  /// The number of elements of an Array, else 0.
  [[nodiscard]] uint32_t ElementCount() const;

  void Swap(JSObject& other) noexcept;

 private:
  using Members = std::unordered_map<std::string, JSObject>;

  Type type = Type::Null;
  int32_t intValue = 0;
  bool boolValue = false;
  double doubleValue = 0;
  std::unique_ptr<std::string> stringValue;
  std::unique_ptr<std::vector<JSObject>> arrayValue;
  JSFunction function = nullptr;
  void* functionContext = nullptr;
  std::unique_ptr<Members> objectValue;  ///< The members of an Object; of an Array, "length" alone.
};

}  // namespace NorvoWebAPI
