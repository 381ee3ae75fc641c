#pragma once

#include <gtest/gtest.h>

#include <fstream>

#include "platform/desktop.h"
#include "platform/faults.h"
#include "platform/system_path.h"
#include "tests/support/paths.h"

#define EXPECT_LAST_ERROR(error) EXPECT_EQ(static_cast<LONG>(GetLastError()), error)

namespace support {

/// The platform's calls themselves, which behave alike on each system. A folder of its own for each test, and on Linux
/// the registry's file in it.
class LayerTest : public testing::Test {
 protected:
  ~LayerTest() override { std::filesystem::remove_all(folder_); }

  static std::filesystem::path MakeFolder() {
    const auto name = std::string("ksv_platform_") + testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::create_directories(std::filesystem::temp_directory_path() / name);
    return std::filesystem::temp_directory_path() / name;
  }
  std::string Path(const std::string& name) const { return PlatformPath(folder_ / "") + name; }
  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(SystemPath(Path(name))) << bytes;
  }

  std::filesystem::path folder_ = MakeFolder();
  platform::ScopedVariable registry_{"KSV_REGISTRY", (folder_ / "registry.json").string().c_str()};
};

}  // namespace support
