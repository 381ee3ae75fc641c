// The machine's identity from the firmware's files, played by a folder of the test's own.
#include <array>
#include <fstream>

#include "tests/support/agent_fixture.h"

using namespace support;
using namespace std::string_literals;

class PlatformIdentityTest : public AgentTest {
 protected:
  void Put(const std::string& name, const std::string& content) const {
    std::ofstream(environment.Scratch() / name, std::ios::binary) << content;
  }
  std::string Shown() const { return page.Call("getPlatformInfo").Show(); }

  platform::ScopedVariable folder{"KSV_DMI_FOLDER", environment.Scratch().c_str()};
};

TEST_F(PlatformIdentityTest, FilesAreOneLineEach) {
  const std::string codes = "pluginRetCode=0 fnRetCode=0 manufacturer=";
  const std::array<std::string, 4> rows[] = {
      {"Norvo\n", "Model 5\n", "S-1\n", codes + "'Norvo' model='Model 5' serialNumber='S-1'"},
      {"", "\n", "", codes + "'' model='' serialNumber=''"},
      {" a ", "b\nc\n", "\n", codes + "' a ' model='b' serialNumber=''"},
      {"a\0b"s, "\xC3\xA9", "\xFF", codes + "'a' model='\xC3\xA9' serialNumber='\xEF\xBF\xBD'"},
      {"v", "m", std::string(9000, 's'), codes + "'v' model='m' serialNumber='" + std::string(4095, 's') + "'"},
  };
  for (const auto& [vendor, model, serial, shown] : rows) {
    Put("sys_vendor", vendor);
    Put("product_name", model);
    Put("chassis_serial", serial);
    EXPECT_EQ(Shown(), shown);
  }
}

TEST_F(PlatformIdentityTest, TheSerialNumberDecides) {
  const std::string failed = "pluginRetCode=13 fnRetCode=0";
  EXPECT_EQ(Shown(), failed) << "no files";
  Put("sys_vendor", "v");
  Put("product_name", "m");
  EXPECT_EQ(Shown(), failed) << "no serial number";
  std::filesystem::create_directory(environment.Scratch() / "chassis_serial");
  EXPECT_EQ(Shown(), failed) << "a folder opens and can't be read";
  std::filesystem::remove(environment.Scratch() / "chassis_serial");
  Put("chassis_serial", "");
  std::filesystem::remove(environment.Scratch() / "sys_vendor");
  std::filesystem::remove(environment.Scratch() / "product_name");
  EXPECT_EQ(Shown(), "pluginRetCode=0 fnRetCode=0 manufacturer='' model='' serialNumber=''");
  const platform::FailCall failing("MultiByteToWideChar", ERROR_GEN_FAILURE);
  EXPECT_EQ(Shown(), failed) << "a text that can't be converted";
}
