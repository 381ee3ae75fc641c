#include <gtest/gtest.h>

#include "script/variant_conversion.h"
#include "tests/support/page.h"

using namespace support;
using NorvoWebAPI::JSObject;
using NorvoWebAPI::NPJSConverter::fromNPVariant;
using NorvoWebAPI::NPJSConverter::toNPVariant;
using Type = JSObject::Type;

class ConversionTest : public testing::Test {
 protected:
  JSObject In(const Value& value) {
    NPVariant variant = host.Make(value);
    JSObject read = fromNPVariant(npp, &host.Funcs(), &variant, *life);
    host.Release(variant);
    return read;
  }
  Result Out(const JSObject& value) { return {host, true, toNPVariant(npp, &host.Funcs(), value, life)}; }

  TestHost host;
  NPP npp = host.NewInstance();
  const std::shared_ptr<const NorvoWebAPI::InstanceLife> life = std::make_shared<NorvoWebAPI::InstanceLife>();
};

TEST_F(ConversionTest, PlainValuesCrossBothWays) {
  const std::tuple<Value, Type, Value> cases[] = {
      {{}, Type::Null, nullptr},
      {nullptr, Type::Null, nullptr},
      {true, Type::Bool, true},
      {false, Type::Bool, false},
      {-5, Type::Int, -5},
      {5.0, Type::Double, 5.0},
      {1e300, Type::Double, 1e300},
      {"", Type::String, ""},
      {"caf\xC3\xA9 \xFF", Type::String, "caf\xC3\xA9 \xFF"},
      {std::string("a\0b", 3), Type::String, "a"},
      {host.Object(), Type::Null, nullptr},
      {host.NewFunction([](const auto&, Value&) { return true; }), Type::Null, nullptr},
  };
  for (const auto& [in, type, out] : cases) {
    const JSObject read = In(in);
    EXPECT_EQ(read.GetType(), type) << "value of type " << in.index();
    EXPECT_EQ(Out(read).Get(), out) << "value of type " << in.index();
  }
  EXPECT_EQ(In(std::string("a\0b", 3)).AsString(), std::string("a\0b", 3));
}

TEST_F(ConversionTest, ObjectsAreReadWholeAndGoOutAsViewsOfTheirOwn) {
  JSObject read = In(host.Object({{"a", 1}, {"b", host.Object({{0, 3}, {-4, "x"}})}, {"", "empty"}, {"length", 9}}));
  EXPECT_TRUE(read["a"].ToInt() == 1 && read["b"]["0"].ToInt() == 3);
  EXPECT_EQ(read["b"]["-4"].AsString() + read[""].AsString(), "xempty");
  JSObject outer;
  outer["list"].ToArray();
  outer["list"][1u] = JSObject("text");
  outer["call"] = JSObject([](void*, auto*, auto*) { return true; }, nullptr);
  const Result view = Out(outer);
  EXPECT_NE(view.Get(), Out(outer).Get());
  EXPECT_EQ(view.Member("list").Show(), "[null 'text']");
  EXPECT_TRUE(view.Has("call") && !view.Member("call").Answered());
  EXPECT_THROW(Out(outer["call"]), std::invalid_argument);

  NPVariant variant{NPVariantType_String, {}};
  variant.value.stringValue = {nullptr, 0};
  EXPECT_EQ(fromNPVariant(npp, &host.Funcs(), &variant, *life).AsString(), "");
  EXPECT_THROW(fromNPVariant(npp, nullptr, &variant, *life), std::bad_typeid);
  EXPECT_THROW(toNPVariant(npp, nullptr, JSObject(1), life), std::bad_typeid);
}
