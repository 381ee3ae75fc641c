// The host's accounts are what many tests rest on: each kind of wrong has to show.
#include "tests/support/test_host.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <functional>

using namespace support;

TEST(TestHostTest, EveryWrongFailsTheTest) {
  const std::pair<const char*, std::function<void(TestHost&)>> cases[] = {
      {"never freed", [](TestHost& host) { host.Funcs().memalloc(8); }},
      {"never freed", [](TestHost& host) { host.Make("text"); }},
      {"didn't give, or twice",
       [](TestHost& host) {
         void* const block = host.Funcs().memalloc(8);
         for (int i = 0; i < 2; ++i) host.Funcs().memfree(block);
       }},
      {"didn't give, or twice", [](TestHost& host) { host.Funcs().memfree(&host); }},
      {"never released", [](TestHost& host) { host.Retain(host.Object()); }},
      {"the host's own", [](TestHost& host) { host.Release(host.Object()); }},
      {"has ended",
       [](TestHost& host) {
         NPObject* const object = host.Retain(host.Temporary());
         for (int i = 0; i < 2; ++i) host.Release(object);
       }},
      {"identifier", [](TestHost& host) { host.Funcs().identifierisstring(&host); }},
      {"instance that is gone",
       [](TestHost& host) {
         const NPP npp = host.NewInstance();
         host.EndInstance(npp, nullptr);
         host.Funcs().hasproperty(npp, host.Object(), host.Id("a"));
       }},
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
