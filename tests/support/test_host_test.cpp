// The host's accounts are what many tests rest on: each wrong use of the interface has to fail the running test.
#include "tests/support/test_host.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

using namespace support;

namespace {

// One object without memory of its own, so that a test may leave it over.
NPObject ownObject;
NPClass ownClass = [] {
  NPClass table{};
  table.allocate = [](NPP, NPClass*) { return &ownObject; };
  table.deallocate = [](NPObject*) {};
  return table;
}();

NPObject* PluginObject(TestHost& host) {
  return host.Funcs().createobject(host.NewInstance(), &ownClass);
}

NPP EndedInstance(TestHost& host) {
  const NPP npp = host.NewInstance();
  host.EndInstance(npp, nullptr);
  return npp;
}

}  // namespace

TEST(TestHostTest, EveryWrongUseFailsTheTest) {
  const std::pair<const char*, std::function<void(TestHost&)>> cases[] = {
      {"8 bytes of host memory, which were never freed", [](TestHost& host) { host.Funcs().memalloc(8); }},
      {"4 bytes of host memory, which were never freed", [](TestHost& host) { host.Make("text"); }},
      {"that the host did not give, or it was freed twice",
       [](TestHost& host) {
         void* const block = host.Funcs().memalloc(8);
         for (int i = 0; i < 2; ++i) host.Funcs().memfree(block);
       }},
      {"that the host did not give",
       [](TestHost& host) {
         char* const text = static_cast<char*>(std::malloc(4));
         NPVariant variant{NPVariantType_String, {}};
         variant.value.stringValue = {text, 4};
         host.Funcs().releasevariantvalue(&variant);
         std::free(text);
       }},
      {"1 reference(s), which were never released, on an object or function of the page",
       [](TestHost& host) { host.Retain(host.Object()); }},
      {"2 reference(s), which were never released, on an object or function of its own",
       [](TestHost& host) { host.Retain(PluginObject(host)); }},
      {"released that is the host's own", [](TestHost& host) { host.Release(host.Object()); }},
      {"released that has ended",
       [](TestHost& host) {
         NPObject* const object = host.Retain(host.Temporary());
         for (int i = 0; i < 2; ++i) host.Release(object);
       }},
      {"retained that has ended",
       [](TestHost& host) {
         NPObject* const object = PluginObject(host);
         host.Release(object);
         host.Retain(object);
       }},
      {"NPN_HasProperty was called on an object that has ended",
       [](TestHost& host) {
         const NPP npp = host.NewInstance();
         NPObject* const object = host.Retain(host.Temporary());
         host.Release(object);
         host.Funcs().hasproperty(npp, object, host.Id("a"));
       }},
      {"identifier was used that the host did not give",
       [](TestHost& host) { host.Funcs().identifierisstring(&host); }},
      {"for a number", [](TestHost& host) { host.Funcs().utf8fromidentifier(host.Id(7)); }},
      {"for a text", [](TestHost& host) { host.Funcs().intfromidentifier(host.Id("7")); }},
      {"NPN_HasProperty was called for an instance that is gone",
       [](TestHost& host) { host.Funcs().hasproperty(EndedInstance(host), host.Object(), host.Id("a")); }},
      {"NPN_CreateObject was called for an instance that is gone",
       [](TestHost& host) { host.Funcs().createobject(EndedInstance(host), &ownClass); }},
      {"never came", [](TestHost& host) { host.Fail(Fault::Invoke); }},
  };
  for (const auto& [told, wrong] : cases) {
    EXPECT_NONFATAL_FAILURE(
        {
          TestHost host;
          wrong(host);
        },
        told);
  }
}
