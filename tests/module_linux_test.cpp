#include <gtest/gtest.h>

#include <string_view>

#include "tests/support/module_exports.h"
#include "tests/support/test_host.h"

TEST(ModuleLinuxTest, X11BrowsersLearnTheModulesData) {
  EXPECT_EQ(std::string_view(NP_GetMIMEDescription()),
            "application/x-vnd-norvo-webapi-ksv-5.0.9::Norvo KSV WebApi plugin;"
            "application/x-vnd-norvo-webapi-ksv-5.0.5::Norvo KSV WebApi plugin");
  const char* text = nullptr;
  for (const auto& [variable, expected] :
       {std::pair{NPPVpluginNameString, "ksv"}, std::pair{NPPVpluginDescriptionString, "Norvo KSV WebApi plugin"}}) {
    EXPECT_EQ(NP_GetValue(nullptr, variable, static_cast<void*>(&text)), NPERR_NO_ERROR);
    EXPECT_STREQ(text, expected);
  }
  EXPECT_EQ(NP_GetValue(nullptr, NPPVpluginScriptableNPObject, static_cast<void*>(&text)), NPERR_GENERIC_ERROR);
  EXPECT_EQ(NP_GetValue(nullptr, NPPVpluginNameString, nullptr), NPERR_GENERIC_ERROR);
}

TEST(ModuleLinuxTest, InitialiseNeedsBothTables) {
  support::TestHost host;
  NPNetscapeFuncs funcs = host.Funcs();
  NPPluginFuncs plugin{};
  EXPECT_EQ(NP_Initialize(&funcs, &plugin), NPERR_INVALID_FUNCTABLE_ERROR);
  EXPECT_EQ(NP_Initialize(&funcs, nullptr), NPERR_INVALID_FUNCTABLE_ERROR);
  plugin.size = 160;
  EXPECT_EQ(NP_Initialize(&funcs, &plugin), NPERR_NO_ERROR);
  EXPECT_EQ(plugin.size, sizeof plugin);
}
