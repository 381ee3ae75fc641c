#include "script/js_object.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/outcomes.h"

using NorvoWebAPI::JSObject;
using support::ErrorOf;
using Type = JSObject::Type;

namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();

bool Answer(void* context, std::vector<JSObject>* args, JSObject* result) {
  *result = JSObject(static_cast<int32_t>(args->size()) + *static_cast<int32_t*>(context));
  return true;
}

JSObject ArrayOf(uint32_t count) {
  JSObject array;
  array.ToArray();
  for (uint32_t i = 0; i < count; ++i) array[i] = JSObject(static_cast<int32_t>(i));
  return array;
}

JSObject ObjectOf(const std::vector<std::pair<const char*, int32_t>>& members) {
  JSObject object;
  for (const auto& [key, value] : members) object[key] = JSObject(value);
  return object;
}

}  // namespace

TEST(JSObjectTest, ConversionsByTag) {
  int32_t context = 0;
  const std::tuple<JSObject, int32_t, bool, double> cases[] = {
      {JSObject(kLowest), kLowest, false, kLowest},
      {JSObject(true), 1, true, 1},
      {JSObject(-2147483647.9), -2147483647, false, -2147483647.9},
      {JSObject(2147483647.9), 2147483647, false, 2147483647.9},
      {JSObject(2147483648.0), kLowest, false, 2147483648.0},
      {JSObject("42"), 1, true, 1},
      {JSObject(""), 0, false, 0},
      {JSObject(std::string("\0", 1)), 1, true, 1},
      {JSObject(), 0, false, 0},
      {ObjectOf({{"a", 0}}), 1, true, 1},
      {JSObject(Answer, &context), 1, true, 1},
  };
  for (const auto& [value, asInt, asBool, asDouble] : cases) {
    const std::string which = std::to_string(static_cast<int>(value.GetType())) + ", " + std::to_string(asDouble);
    EXPECT_EQ(value.ToInt(), asInt) << which;
    EXPECT_EQ(value.ToBool(), asBool) << which;
    EXPECT_EQ(value.ToDouble(), asDouble) << which;
    EXPECT_EQ(ErrorOf([&made = value] { static_cast<void>(made.AsString()); }).empty(),
              value.GetType() == Type::String);
  }
  EXPECT_EQ(JSObject(std::nan("")).ToInt(), kLowest);
}

TEST(JSObjectTest, KeysAndIndicesOfArraysAndObjects) {
  JSObject text("abc");
  EXPECT_EQ(ErrorOf([&] { text["a"]; }), "Property request on non-object");
  EXPECT_EQ(ErrorOf([&] { text[0u]; }), "Index request on non-array");
  EXPECT_EQ(ErrorOf([] { ObjectOf({{"a", 1}})[0u]; }), "Index request on non-array");
  EXPECT_TRUE(!text.HasKey("a") && ObjectOf({{"a", 1}}).HasKey("a"));
  JSObject grown;
  EXPECT_EQ(grown[3u].GetType(), Type::Null);
  EXPECT_EQ(grown.ElementCount(), 4u);

  JSObject array = ArrayOf(2);
  EXPECT_EQ(array["length"].ToInt(), 2);
  array["length"] = JSObject(50);
  EXPECT_EQ(array["length"].ToInt(), 2);
  for (const char* key : {"1", " \t1", "+1", "1x", "01", "1.9"}) EXPECT_EQ(array[key].ToInt(), 1) << key;
  EXPECT_EQ(array["5"].GetType(), Type::Null);
  JSObject copy(array);
  EXPECT_EQ(copy["length"].ToInt(), 6);

  EXPECT_EQ(ErrorOf([] { ArrayOf(0)[0xFFFFFFFFu]; }), "Index out of range");
}

TEST(JSObjectTest, ToArrayNeedsIntegerKeys) {
  const std::tuple<JSObject, Type, uint32_t, const char*> cases[] = {
      {JSObject(), Type::Array, 0, ""},
      {ObjectOf({{"1", 7}, {"length", 9}}), Type::Array, 2, ""},
      {ObjectOf({{"length", 9}}), Type::Null, 0, ""},
      {ObjectOf({{"", 7}}), Type::Object, 0, "String not an integer"},
      {ObjectOf({{"99999999999999999999", 7}}), Type::Object, 0, "String not an integer"},
      {ObjectOf({{"100000", 7}}), Type::Object, 0, "Index out of range"},
      {ObjectOf({{"-1", 7}}), Type::Object, 0, "Index out of range"},
      {JSObject("text"), Type::String, 0, "Cannot convert non-object to array"},
  };
  for (auto [value, type, count, thrown] : cases) {
    EXPECT_EQ(ErrorOf([&made = value] { made.ToArray(); }), thrown);
    EXPECT_EQ(value.GetType(), type);
    EXPECT_EQ(value.ElementCount(), count);
  }
  JSObject holed = ObjectOf({{"1", 7}});
  holed.ToArray();
  EXPECT_TRUE(holed[0u].GetType() == Type::Null && holed[1u].ToInt() == 7 && holed["length"].ToInt() == 2);
}

TEST(JSObjectTest, CopiesAreDeepAndShareFunctions) {
  JSObject tree;
  tree["list"].ToArray();
  tree["list"][0u]["text"] = JSObject("a");
  JSObject copy(tree);
  copy["list"][0u]["text"] = JSObject("b");
  EXPECT_EQ(tree["list"][0u]["text"].AsString(), "a");
  JSObject& same = copy;
  copy = same;
  EXPECT_EQ(copy["list"][0u]["text"].AsString(), "b");
  // What is assigned may be a part of the object that it replaces.
  copy = copy["list"];
  copy = std::move(copy[0u]);
  EXPECT_EQ(copy["text"].AsString(), "b");

  int32_t context = 40;
  JSObject function;
  function = JSObject(Answer, &context);
  std::vector<JSObject> args(2);
  JSObject result;
  EXPECT_TRUE(function.Call(args, result));
  EXPECT_EQ(result.ToInt(), 42);
  EXPECT_EQ(ErrorOf([&] { tree.Call(args, result); }), "Function call request on non-function");
  EXPECT_EQ(ErrorOf([&] { JSObject(nullptr, &args); }), "bad typeid");
}
