// What a browser reads of the module's file before it loads it, by the system's own calls.
#include <gtest/gtest.h>

#include <vector>

#include "platform/win32.h"

TEST(ModuleVersionTest, TheResourceTellsTypeAndVersions) {
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeA(KSV_MODULE, &ignored);
  ASSERT_GT(size, 0u);
  std::vector<char> block(size);
  ASSERT_TRUE(GetFileVersionInfoA(KSV_MODULE, 0, size, block.data()));
  const auto query = [&block](const std::string& name) -> void* {
    void* value = nullptr;
    UINT length = 0;
    return VerQueryValueA(block.data(), name.c_str(), &value, &length) && length > 0 ? value : nullptr;
  };
  const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(query("\\"));
  ASSERT_NE(fixed, nullptr);
  for (const auto& [high, low] : {std::pair{fixed->dwFileVersionMS, fixed->dwFileVersionLS},
                                  std::pair{fixed->dwProductVersionMS, fixed->dwProductVersionLS}}) {
    EXPECT_TRUE(high == MAKELONG(0, 5) && low == MAKELONG(0, 9)) << high << ' ' << low;
  }
  const std::pair<const char*, const char*> rows[] = {
      {"MIMEType", "application/x-vnd-norvo-webapi-ksv-5.0.9"},
      {"FileVersion", "5.0.9.0"},
      {"ProductVersion", "5.0.9.0"},
      {"InternalName", "npNorvoWebAPIksv-5-0"},
      {"FileOpenName", "npNorvoWebAPIksv-5-0"},
      {"OriginalFilename", "npNorvoWebAPIKSV"},
  };
  for (const auto& [name, expected] : rows) {
    const void* value = query(std::string("\\StringFileInfo\\040904e4\\") + name);
    ASSERT_NE(value, nullptr) << name;
    EXPECT_STREQ(static_cast<const char*>(value), expected) << name;
  }
}
