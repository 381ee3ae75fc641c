// The file layer: its folder, the paths that it refuses, its operations; and the update gate.
#include "storage/platform_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "storage/update_gate.h"
#include "tests/support/environment.h"
#include "tests/support/outcomes.h"

using namespace NorvoWebAPI;
using std::string;
using support::Data;
using support::ErrorOf;
namespace fs = std::filesystem;

class PlatformFilesTest : public testing::Test {
 protected:
  string At(const string& name) const { return base + name; }

  support::Environment world;
  const string base = Platform::GetBasePath();
};

TEST_F(PlatformFilesTest, PathsOutsideTheBasePathAreRefused) {
  const string refused = "Platform operation attempted outside of base path";
  const string bare = base.substr(0, base.size() - 1);
  const string otherCase = bare.substr(0, bare.size() - 1) + "I\\a";
  string aboveRoot = base;
  for (int folders = 0; folders < 20; ++folders) aboveRoot += "..\\";
  for (const string& path : {base, At("a"), At(".\\a\\..\\b"), At("..\\webapi\\a"), bare + "/a"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::CheckPath(path); }), "") << path;
  }
  for (const string& path :
       {bare, bare + "2\\a", At(".."), At("a\\..\\..\\b"), At("a/../../b"), aboveRoot, otherCase, string("a")}) {
    EXPECT_EQ(ErrorOf([&] { Platform::CheckPath(path); }), refused) << path;
  }
  EXPECT_EQ(ErrorOf([] { Platform::CheckPath(""); }), "Failed to canonicalize path");

  const fs::path there = world.Scratch() / "folder";
  fs::create_directories(there);
  const string folder = At("..\\..\\..\\scratch\\folder");
  std::unique_ptr<uint8_t[]> buffer;
  std::vector<string> names;
  const std::function<void()> operations[] = {[&] { Platform::CreateDirectories(folder + "\\new"); },
                                              [&] { Platform::WriteFile(folder + "\\new", nullptr, 0); },
                                              [&] { Platform::DeleteFile(folder); },
                                              [&] { Platform::ReadFile(folder, &buffer); },
                                              [&] { Platform::FileExists(folder, "a"); },
                                              [&] { Platform::ListDirectory(folder, names); }};
  for (const auto& operation : operations) EXPECT_EQ(ErrorOf(operation), refused);
  EXPECT_TRUE(fs::is_empty(there));
}

TEST_F(PlatformFilesTest, CreateDirectoriesMakesTheFoldersAbove) {
  fs::remove_all(world.Scratch().parent_path() / "LocalLow");
  for (const char* path : {"a\\b\\c", "a\\b\\c", "a\\b\\c\\", "a\\\\d"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::CreateDirectories(At(path)); }), "") << path;
  }
  EXPECT_TRUE(fs::is_directory(world.Path("a/b/c")) && fs::is_directory(world.Path("a/d")));
  world.Write("file", "");
  EXPECT_EQ(ErrorOf([&] { Platform::CreateDirectories(At("file\\a")); }), "Failed to create directory");
}

TEST_F(PlatformFilesTest, FileExistsAndListDirectory) {
  for (const char* file :
       {"a.bin", "noend", ".hidden", "same/same", "deep/deep/deep", "other/below", "[b]", "folded/FOLDED"}) {
    world.Write(string("t/") + file, "");
  }
  fs::create_directories(world.Path("t/empty/empty"));
  for (const char* name : {"a.bin", "noend", "same", "deep", "[b]", "FOLDED"}) {
    EXPECT_TRUE(Platform::FileExists(At("t"), name)) << name;
  }
  for (const char* name :
       {"A.bin", "SAME", "a.*", "*", ".hidden", "empty", "below", "other\\below", "..\\t\\a.bin", ""}) {
    EXPECT_FALSE(Platform::FileExists(At("t"), name)) << name;
  }
  EXPECT_FALSE(Platform::FileExists(At("missing"), "a.bin"));

  std::vector<string> names{"before"};
  EXPECT_FALSE(Platform::ListDirectory(At("missing"), names));
  EXPECT_TRUE(Platform::ListDirectory(At("t"), names));
  EXPECT_EQ(names.front(), "before");
  EXPECT_THAT(names, testing::UnorderedElementsAre("before", "a.bin", "noend", "same", "deep", "other", "empty", "[b]",
                                                   "folded"));
}

TEST_F(PlatformFilesTest, WriteReadAndDeleteFile) {
  std::unique_ptr<uint8_t[]> buffer;
  for (const string& bytes : {string(65535, '\x1A'), string("a\0\r\n\n\x1A\xFF", 7), string()}) {
    Platform::WriteFile(At("f"), Data(bytes), static_cast<uint16_t>(bytes.size()));
    EXPECT_EQ(world.Read("f"), bytes);
    const uint32_t length = Platform::ReadFile(At("f"), &buffer);
    EXPECT_EQ(string(reinterpret_cast<const char*>(buffer.get()), length), bytes);
  }
  Platform::DeleteFile(At("f"));
  EXPECT_FALSE(world.Read("f"));

  fs::create_directories(world.Path("folder"));
  EXPECT_EQ(ErrorOf([&] { Platform::DeleteFile(At("f")); }), "Failed to delete file");
  for (const char* name : {"missing\\f", "folder"}) {
    EXPECT_EQ(ErrorOf([&] { Platform::ReadFile(At(name), &buffer); }), "20") << name;
    EXPECT_EQ(ErrorOf([&] { Platform::WriteFile(At(name), nullptr, 0); }), "21") << name;
  }
  if (!platform::kHasLayerSettings) return;
  const platform::FullDisk full;
  EXPECT_EQ(ErrorOf([&] { Platform::WriteFile(At("full"), Data("1"), 1); }), "13");
}

TEST_F(PlatformFilesTest, UpdateIsOverdueAfter48Hours) {
  const string file = "lastUpdatetest";
  EXPECT_TRUE(Platform::IsUpdateOverdue("test")) << "without the file";
  const auto isOverdue = [&](const string& text) {
    world.Write(file, text);
    return Platform::IsUpdateOverdue("test");
  };
  const auto ago = [now = _time64(nullptr)](int64_t seconds) { return std::to_string(now - seconds); };
  // Half a minute for a machine that is slow; the exact second is asked for below.
  for (const string& text : {ago(0), ago(172'770), ago(-1'000'000), " \t\r\n+" + ago(0) + ".9\nby x"}) {
    EXPECT_FALSE(isOverdue(text)) << text;
  }
  for (const string& text : {ago(172'800), "x" + ago(0), "0x" + ago(0), "-" + ago(0), "9999999999" + ago(0), string(),
                             string("\n"), string("-9223372036854775808")}) {
    EXPECT_TRUE(isOverdue(text)) << text;
  }
  bool exact = false;
  for (__time64_t now = -1; now != _time64(nullptr);) {  // Again when the second has changed meanwhile.
    now = _time64(nullptr);
    exact = isOverdue(std::to_string(now - 172'800)) && !isOverdue(std::to_string(now - 172'799));
  }
  EXPECT_TRUE(exact);
  fs::remove(world.Path(file));
  fs::create_directories(world.Path(file));
  EXPECT_TRUE(Platform::IsUpdateOverdue("test")) << "with a folder in its place";
}
