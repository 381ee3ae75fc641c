#include <gtest/gtest.h>

#include <stdexcept>

#include "script/np_scriptable.h"
#include "tests/support/page.h"

using namespace support;

namespace {

class Probe : public NorvoWebAPI::NPScriptable<Probe> {
 public:
  explicit Probe(const NPNetscapeFuncs* funcs) : NPScriptable(funcs) {
    const Getter read = [this](NPVariant* result) {
      *result = {NPVariantType_Int32, {}};
      return result->value.intValue = value, true;
    };
    const auto throws = [](auto...) -> bool { throw std::runtime_error("x"); };
    const Setter write = [this](const NPVariant* given) { return value = given->value.intValue, true; };
    RegisterMethod("kept", throws);
    RegisterMethod("kept", [this, read](const NPVariant*, uint32_t count, NPVariant* result) {
      value = static_cast<int32_t>(count) + 100;
      return read(result);
    });
    RegisterMethod("kept", nullptr);
    RegisterMethod("none", nullptr);
    RegisterMethod("throws", throws);
    RegisterProperty("both", read, write);
    RegisterProperty("readOnly", read, nullptr);
    RegisterProperty("writeOnly", nullptr, write);
    RegisterProperty("throws", throws, throws);
  }
  bool HasMethod(NPIdentifier id) override {
    if (failsLookUp) throw 1;
    return NPScriptable::HasMethod(id);
  }

  bool failsLookUp = false;
  int32_t value = 7;
};

}  // namespace

class DispatchTest : public testing::Test {
 protected:
  ~DispatchTest() override { host.Release(object); }

  std::string Call(const char* method) {
    NPVariant result{NPVariantType_Void, {}};
    return Result{host, host.Call(object, method, {1, "two"}, &result), result}.Show();
  }
  std::string Read(const char* property) {
    NPVariant value{NPVariantType_Void, {}};
    return Result{host, host.Get(object, property, &value), value}.Show();
  }
  bool Write(const char* property, int32_t number) {
    const NPVariant value = host.Make(number);
    return object->_class->setProperty(object, host.Id(property), &value);
  }

  TestHost host;
  NPP npp = host.NewInstance();
  std::shared_ptr<Probe> probe = std::make_shared<Probe>(&host.Funcs());
  NPObject* object = Probe::CreateObject(npp, &host.Funcs(), probe);
};

TEST_F(DispatchTest, NamesLeadToTheirFunctions) {
  for (const char* method : {"none", "both", "gone", "Kept", "", "throws"}) EXPECT_EQ(Call(method), "failed") << method;
  EXPECT_EQ(Read("readOnly"), "7");
  EXPECT_EQ(Call("kept"), "102");
  for (const char* property : {"writeOnly", "throws", "gone", "kept"}) EXPECT_EQ(Read(property), "failed") << property;
  EXPECT_TRUE(Write("both", 8) && Write("writeOnly", 9));
  for (const char* property : {"readOnly", "throws", "gone"}) EXPECT_FALSE(Write(property, 1)) << property;
  EXPECT_EQ(probe->value, 9);
  EXPECT_TRUE(object->_class->removeProperty(object, host.Id("both")));
  EXPECT_EQ(Read("both"), "9");
  probe->failsLookUp = true;
  EXPECT_FALSE(object->_class->hasMethod(object, host.Id("kept")));
  NPVariant result{NPVariantType_Void, {}};
  EXPECT_FALSE(object->_class->invoke(object, host.Id("kept"), nullptr, 0, &result));
  EXPECT_EQ(result.type, NPVariantType_Void);
}

TEST_F(DispatchTest, EntriesWithoutAnObjectFail) {
  const NPClass& table = *object->_class;
  const NPIdentifier id = host.Id("kept");
  NPVariant value{NPVariantType_Void, {}};
  NPIdentifier* ids = nullptr;
  uint32_t count = 0;
  for (NPObject* asked : {static_cast<NPObject*>(nullptr), object}) {
    EXPECT_FALSE(table.invokeDefault(asked, nullptr, 0, &value) || table.enumerate(asked, &ids, &count) ||
                 table.construct(asked, nullptr, 0, &value));
    table.invalidate(asked);
  }
  EXPECT_FALSE(table.hasMethod(nullptr, id) || table.invoke(nullptr, id, nullptr, 0, &value) ||
               table.hasProperty(nullptr, id) || table.getProperty(nullptr, id, &value) ||
               table.setProperty(nullptr, id, &value) || table.removeProperty(nullptr, id));
  EXPECT_EQ(Call("kept"), "102") << "an invalidated object still answers";
  EXPECT_EQ(table.allocate(npp, object->_class), nullptr) << "no object is waiting to be handed over";
  NPNetscapeFuncs bare = host.Funcs();
  bare.getstringidentifier = nullptr;
  EXPECT_THROW(Probe{&bare}, std::runtime_error);
  EXPECT_THROW(Probe{nullptr}, std::runtime_error);
}
