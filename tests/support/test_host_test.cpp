// The tests with failures rely on the host's accounts: what breaks the interface's rules or is left over fails the
// test.
#include "tests/support/test_host.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "kit/nphost/module.h"

using namespace support;

TEST(TestHostTest, LeaksWrongReleasesAndUnusedFaultsFailTheTest) {
  // One object without memory of its own, so that a test may leave it over.
  static NPObject object;
  static NPClass table{};
  table.allocate = [](NPP, NPClass*) { return &object; };
  table.deallocate = [](NPObject*) {};
  const auto create = [](TestHost& host, NPP npp) { return host.Funcs().createobject(npp, &table); };
  const auto end = [](TestHost& host, NPP npp) { return host.EndInstance(npp, nullptr), npp; };
  const std::pair<const char*, std::function<void(TestHost&)>> rows[] = {
      {"8 bytes of host memory, which were never freed", [](TestHost& host) { host.Funcs().memalloc(8); }},
      {"that the host did not give, or it was freed twice", [](TestHost& host) { host.Funcs().memfree(&host); }},
      {"1 reference(s), which were never released, on an object or function of the page",
       [](TestHost& host) { host.Retain(host.Object()); }},
      {"2 reference(s), which were never released, on an object or function of its own",
       [&](TestHost& host) { host.Retain(create(host, host.NewInstance())); }},
      {"released that is the host's own", [](TestHost& host) { host.Release(host.Object()); }},
      {"retained that has ended",
       [&](TestHost& host) {
         create(host, host.NewInstance());
         host.Release(&object);
         host.Retain(&object);
       }},
      {"NPN_HasProperty was called for an instance that is gone",
       [&](TestHost& host) { host.Funcs().hasproperty(end(host, host.NewInstance()), host.Object(), host.Id("a")); }},
      {"never came", [](TestHost& host) { host.Fail(Fault::Invoke); }},
  };
  for (const auto& [told, wrong] : rows) {
    EXPECT_NONFATAL_FAILURE(
        {
          TestHost host;
          wrong(host);
        },
        told);
  }
}

// Fills the plug-in's table, where it is given one, all the same.
template <typename... Tables>
KSV_EXPORT(NPError)
FillAndRefuse(NPNetscapeFuncs* /*host*/, Tables... plugin) {
  (NP_GetEntryPoints(plugin), ...);
  return NPERR_GENERIC_ERROR;
}

TEST(TestHostTest, AModuleThatSaysItDidNotStartIsNotUsed) {
  TestHost host;
  NPNetscapeFuncs table = host.Funcs();
  EXPECT_THROW(NpHost::Module({NP_GetEntryPoints, FillAndRefuse, nullptr}, table), std::runtime_error);
}

TEST(TestHostTest, ANameIsCountedOnce) {
  TestHost host;
  host.Id("name");
  const size_t bytes = host.NameBytes();
  host.Id("name");
  EXPECT_EQ(host.NameBytes(), bytes);
  host.Id("other");
  EXPECT_GT(host.NameBytes(), bytes + 5);
}
