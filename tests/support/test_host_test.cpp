// The host's accounts are what many tests rest on: each kind of wrong has to show.
#include "tests/support/test_host.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <functional>

using namespace support;

TEST(TestHostTest, EveryWrongFailsTheTest) {
  const struct {
    const char* told;
    std::function<void(TestHost&, const NPNetscapeFuncs&)> wrong;
  } cases[] = {
      {"never freed", [](TestHost&, const NPNetscapeFuncs& funcs) { funcs.memalloc(8); }},
      {"never freed", [](TestHost& host, const NPNetscapeFuncs&) { host.Make("text"); }},
      {"didn't give, or twice",
       [](TestHost&, const NPNetscapeFuncs& funcs) {
         void* const block = funcs.memalloc(8);
         funcs.memfree(block);
         funcs.memfree(block);
       }},
      {"didn't give, or twice", [](TestHost& host, const NPNetscapeFuncs& funcs) { funcs.memfree(&host); }},
      {"never released", [](TestHost& host, const NPNetscapeFuncs& funcs) { funcs.retainobject(host.Object()); }},
      {"the host's own", [](TestHost& host, const NPNetscapeFuncs& funcs) { funcs.releaseobject(host.Object()); }},
      {"has ended",
       [](TestHost& host, const NPNetscapeFuncs& funcs) {
         NPObject* const object = funcs.retainobject(host.Temporary());
         funcs.releaseobject(object);
         funcs.releaseobject(object);
       }},
      {"identifier", [](TestHost& host, const NPNetscapeFuncs& funcs) { funcs.identifierisstring(&host); }},
      {"instance that is gone",
       [](TestHost& host, const NPNetscapeFuncs& funcs) {
         const NPP npp = host.NewInstance();
         host.EndInstance(npp, nullptr);
         funcs.hasproperty(npp, host.Object(), host.Id("a"));
       }},
      {"never came", [](TestHost& host, const NPNetscapeFuncs&) { host.Fail(Fault::Invoke); }},
  };
  for (const auto& [told, wrong] : cases) {
    EXPECT_NONFATAL_FAILURE(
        {
          TestHost host;
          wrong(host, host.Funcs());
        },
        told);
  }
}
