// The module's exports, the table of its entries, and the life of an instance as the host leads it.

#include "page/plugin.h"
#include "page/plugin_windows.h"
#include "page/scriptable.h"
#include "tests/support/agent_fixture.h"
#include "tests/support/module_exports.h"
#include "tests/support/paths.h"

using namespace support;
using NorvoWebAPI::KSV::FindScriptableByWindow;
using NorvoWebAPI::KSV::Plugin;

class ModuleTest : public testing::Test {
 protected:
  Environment environment;
  TestHost host;
};

TEST_F(ModuleTest, HostTableIsTestedBeforeItIsTaken) {
  constexpr auto kSize = static_cast<uint16_t>(sizeof(NPNetscapeFuncs));
  const std::tuple<uint16_t, uint16_t, NPError> cases[] = {
      {kSize, 27, NPERR_NO_ERROR},
      {0xFFFF, 0x00FF, NPERR_NO_ERROR},
      {kSize - 1, 27, NPERR_INVALID_FUNCTABLE_ERROR},
      {0, 0x0100, NPERR_INCOMPATIBLE_VERSION_ERROR},
      {kSize, 0xFFFF, NPERR_INCOMPATIBLE_VERSION_ERROR},
  };
  for (const auto& [size, version, expected] : cases) {
    NPNetscapeFuncs table = host.Funcs();
    table.size = size;
    table.version = version;
    EXPECT_EQ(InitializeModule(&table), expected) << size << " " << version;
  }
  EXPECT_EQ(InitializeModule(nullptr), NPERR_INVALID_FUNCTABLE_ERROR);
  // A table refused leaves the one before it standing, and the end of a session too.
  EXPECT_EQ(NP_Shutdown(), NPERR_NO_ERROR);
  EXPECT_EQ(Page(host).Read("version").Show(), "'5.0.5'");
}

TEST_F(ModuleTest, PluginTableIsFilledWhole) {
  NPPluginFuncs table{};
  table.size = sizeof table - 1;
  EXPECT_EQ(NP_GetEntryPoints(&table), NPERR_INVALID_FUNCTABLE_ERROR);
  EXPECT_EQ(table.newp, nullptr);
  EXPECT_EQ(NP_GetEntryPoints(nullptr), NPERR_INVALID_FUNCTABLE_ERROR);
  table.size = 500;
  EXPECT_EQ(NP_GetEntryPoints(&table), NPERR_NO_ERROR);
  EXPECT_TRUE(table.size == sizeof table && table.version == 19 && !table.javaClass);
}

TEST_F(ModuleTest, EntriesAnswerWithoutAnInstance) {
  NPP_t empty{};
  const NPPluginFuncs& module = Module();
  NPWindow window{};
  NPStream stream{};
  uint16_t stype = 0;
  void* out = nullptr;
  EXPECT_EQ(module.newp(nullptr, nullptr, NP_EMBED, 0, nullptr, nullptr, nullptr), NPERR_INVALID_INSTANCE_ERROR);
  EXPECT_EQ(module.destroy(nullptr, nullptr), NPERR_INVALID_INSTANCE_ERROR);
  EXPECT_EQ(module.destroy(&empty, nullptr), NPERR_NO_ERROR);
  for (const NPP npp : {NPP(nullptr), &empty}) {
    for (const NPError answer :
         {module.setwindow(npp, &window), NP_SetWindow(npp, &window),
          module.newstream(npp, nullptr, &stream, 0, &stype), module.destroystream(npp, &stream, NPRES_DONE),
          module.getvalue(npp, NPPVpluginNameString, &out), module.getvalue(npp, NPPVpluginScriptableNPObject, &out),
          module.setvalue(npp, NPNVWindowNPObject, &out)}) {
      EXPECT_EQ(answer, NPERR_INVALID_INSTANCE_ERROR);
    }
    EXPECT_EQ(module.writeready(npp, &stream), 0);
    EXPECT_EQ(module.write(npp, &stream, 0, 77, &out), 77);
    EXPECT_EQ(module.event(npp, &out) + NP_HandleEvent(npp, &out), 0);
    module.asfile(npp, &stream, "");
    module.print(npp, nullptr);
    module.urlnotify(npp, "", NPRES_DONE, nullptr);
  }
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(FindScriptableByWindow(nullptr), nullptr);
}

TEST_F(ModuleTest, InstanceAnswersForItself) {
  Page page(host);
  const NPP npp = page.Instance();
  const char* text = nullptr;
  for (const auto& [variable, expected] :
       {std::pair{NPPVpluginNameString, "ksv"}, std::pair{NPPVpluginDescriptionString, "Norvo KSV WebApi plugin"}}) {
    EXPECT_EQ(Module().getvalue(npp, variable, static_cast<void*>(&text)), NPERR_NO_ERROR);
    EXPECT_STREQ(text, expected);
  }
  NPBool xembed = 0;
  EXPECT_EQ(Module().getvalue(npp, NPPVpluginNeedsXEmbed, &xembed), NPERR_NO_ERROR);
  EXPECT_EQ(xembed, 1);
  EXPECT_EQ(Module().getvalue(npp, static_cast<NPPVariable>(19), &text), NPERR_GENERIC_ERROR);
  EXPECT_EQ(Module().setvalue(npp, NPNVWindowNPObject, nullptr), NPERR_NO_ERROR);
  EXPECT_EQ(NP_HandleEvent(npp, nullptr), 1);
  EXPECT_EQ(Module().setwindow(npp, nullptr), NPERR_GENERIC_ERROR);

  const uint32_t references = host.References(page.Object());
  NPObject* again = nullptr;
  EXPECT_EQ(Module().getvalue(npp, NPPVpluginScriptableNPObject, static_cast<void*>(&again)), NPERR_NO_ERROR);
  EXPECT_EQ(again, page.Object());
  EXPECT_EQ(host.References(again), references + 1);
  EXPECT_EQ(host.PluginObjects(), 1u);

  NPVariant value = host.Make(6);
  EXPECT_FALSE(again->_class->setProperty(again, host.Id("version"), &value));
  EXPECT_EQ(page.Read("version").Show(), "'5.0.5'");
  for (const char* name : {"zubinit", "version"}) {
    EXPECT_FALSE(again->_class->invoke(again, host.Id(name), nullptr, 0, &value)) << name;
  }
  EXPECT_FALSE(again->_class->getProperty(again, host.Id("zubInit"), &value));
}

TEST_F(ModuleTest, WindowsLeadToTheirPages) {
  int first = 0;
  int second = 0;
  const auto handle = [](int& place) { return reinterpret_cast<HWND>(&place); };
  Page other(host);
  {
    Page page(host, "https://page.example/", &first);
    const auto scriptable = static_cast<Plugin*>(page.Instance()->pdata)->GetScriptable();
    NPWindow window{};
    window.window = &second;
    EXPECT_EQ(Module().setwindow(page.Instance(), &window), NPERR_NO_ERROR);
    EXPECT_EQ(FindScriptableByWindow(handle(first)), scriptable);
    EXPECT_EQ(FindScriptableByWindow(handle(second)), scriptable);
    page.Destroy();
    EXPECT_EQ(FindScriptableByWindow(handle(first)), nullptr);
    EXPECT_EQ(page.Read("version").Show(), "'5.0.5'");
    EXPECT_EQ(Module().destroy(page.Instance(), nullptr), NPERR_NO_ERROR);
  }
  for (int* const window : {&first, &second}) {
    EXPECT_EQ(FindScriptableByWindow(handle(*window)), nullptr) << "no entry may lead to an ended page";
  }
}
