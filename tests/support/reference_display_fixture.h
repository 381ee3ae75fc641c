#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kit/display/display_entries.h"
#include "platform/desktop.h"
#include "platform/faults.h"
#include "platform/system_path.h"
#include "tests/support/paths.h"

namespace support {

/// An image's description, as pages give it; `Block` lays it out.
struct ImageRequest {
  uint8_t type = 1;
  uint32_t id = 77;
  KsvDisplay::Point size{320, 420};
  KsvDisplay::Point logoAt{};
  uint8_t theme = 0;
  uint32_t least = 4;
  uint32_t greatest = 6;
  uint32_t options = 0;
  KsvDisplay::Point logo{};
  size_t logoBytes = 0;

  [[nodiscard]] std::string Block() const {
    std::string block;
    const auto add = [&block](uint32_t value, int bytes) {
      for (int i = 0; i < bytes; ++i) block += static_cast<char>(value >> (8 * i));
    };
    const std::pair<uint32_t, int> fields[] = {{0, 1},      {type, 1},    {0, 4},        {id, 4},       {size.x, 2},
                                               {size.y, 2}, {0, 1},       {logoAt.x, 2}, {logoAt.y, 2}, {0, 2},
                                               {theme, 1},  {least, 4},   {0, 4},        {0, 4},        {greatest, 4},
                                               {0, 4},      {options, 4}, {logo.x, 2},   {logo.y, 2}};
    for (const auto& [value, bytes] : fields) add(value, bytes);
    return block + std::string(logoBytes, '\x40');
  }
};

inline uint32_t Code(KsvDisplay::Status status) {
  return static_cast<uint32_t>(status);
}

inline std::string BigEndian(uint64_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) text += static_cast<char>(value >> shift);
  return text;
}
/// A remote image; with `tag` 1 the tag itself is still missing.
inline std::string FrameBytes(uint16_t width, uint16_t height, char tag = 0) {
  const size_t size = size_t{3} * width * height;
  return std::string("KSVF\1") + tag + BigEndian(width, 2) + BigEndian(height, 2) + BigEndian(size, 4) +
         std::string(size, '\x55');
}

/// The display library in a window, with a context and a session, and a folder of its own.
class ReferenceDisplayTest : public testing::Test {
 protected:
  ReferenceDisplayTest() {
    EXPECT_EQ(wys_.Init(0, "Norvo Bank", &context_), 0U);
    EXPECT_EQ(Establish(), 0U);
  }
  ~ReferenceDisplayTest() override {
    wys_.DeInit(context_);
    FreeLibrary(library_);
    std::filesystem::remove_all(folder_);
  }

  static std::filesystem::path MakeFolder() {
    const auto name = "ksv-display-" + std::to_string(std::random_device()());
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directory(folder);
    return folder;
  }
  static HMODULE Load() { return LoadLibraryW(PlatformPath<KsvKit::WideChar>(KSV_DISPLAY_LIBRARY).c_str()); }
  static uint32_t Word(HWND window) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window)); }
  uint32_t Establish() {
    const KsvDisplay::SessionRequest request{Word(window_.handle()), 0xFFFF, context_};
    return wys_.EstablishSession(&request, &session_);
  }
  uint32_t Create(std::string block) {
    const KsvDisplay::Point origin{10, 5};
    const uint32_t status = wys_.CreateStdImage(session_, &origin, reinterpret_cast<uint8_t*>(block.data()),
                                                static_cast<uint32_t>(block.size()), 0, 0);
    block_ = block;
    return status;
  }
  uint32_t Create(const ImageRequest& image) { return Create(image.Block()); }
  uint32_t Frame(const std::string& bytes, uint32_t id = 9) {
    const KsvDisplay::Point at{10, 5};
    return wys_.SubmitFrame(session_, id, &at, static_cast<uint32_t>(bytes.size()), Data(bytes));
  }

  /// Where the keys stand, as the library tells it on a repaint.
  std::map<std::string, KsvDisplay::Rect> Keys() {
    const auto file = folder_ / "keys";
    const platform::ScopedVariable variable("KSV_DISPLAY_LAYOUT", file.string().c_str());
    EXPECT_EQ(wys_.RepaintImage(session_, 0), 0U);
    std::ifstream lines(file);
    std::map<std::string, KsvDisplay::Rect> keys;
    std::string label;
    for (KsvDisplay::Rect area; lines >> label >> area.x >> area.y >> area.width >> area.height;) keys[label] = area;
    return keys;
  }
  static KsvDisplay::Point MiddleOf(const KsvDisplay::Rect& area) {
    return {static_cast<uint16_t>(area.x + area.width / 2), static_cast<uint16_t>(area.y + area.height / 2)};
  }
  uint32_t Click(KsvDisplay::Point down, KsvDisplay::Point up) {
    const uint32_t status = wys_.MouseDown(session_, 0, &down);
    const uint32_t second = wys_.MouseUp(session_, 0, &up);
    return status != 0 ? status : second;
  }
  uint32_t Tap(const std::string& key) {
    const KsvDisplay::Point at = MiddleOf(Keys().at(key));
    return Click(at, at);
  }
  /// The sealed input, or nothing and the status.
  std::pair<uint32_t, std::string> Respond() {
    uint32_t length = 0;
    const uint32_t first = wys_.SubmitInputAndGetResponse(session_, 0, &length, nullptr);
    if (length == 0) return {first, {}};
    std::string sealed(length, '\0');
    const uint32_t status =
        wys_.SubmitInputAndGetResponse(session_, 0, &length, reinterpret_cast<uint8_t*>(sealed.data()));
    return {status, sealed};
  }
  static const uint8_t* Data(const std::string& bytes) { return reinterpret_cast<const uint8_t*>(bytes.data()); }

  const std::filesystem::path folder_ = MakeFolder();
  const platform::ScopedVariable home_{"KSV_DISPLAY_HOME", folder_.string().c_str()};
  const HMODULE library_ = Load();

#define KSV_ENTRY(name)             \
  const decltype(&WYS##name) name = \
      reinterpret_cast<decltype(&WYS##name)>(reinterpret_cast<void*>(GetProcAddress(library, "WYS" #name)))
  struct Entries {
    HMODULE library;
    KSV_ENTRY(Init);
    KSV_ENTRY(DeInit);
    KSV_ENTRY(EstablishSession);
    KSV_ENTRY(CloseSession);
    KSV_ENTRY(CreateStdImage);
    KSV_ENTRY(MouseDown);
    KSV_ENTRY(MouseUp);
    KSV_ENTRY(SubmitInput);
    KSV_ENTRY(SubmitInputAndGetResponse);
    KSV_ENTRY(ReleaseImage);
    KSV_ENTRY(ClearInput);
    KSV_ENTRY(SetStreamKey);
    KSV_ENTRY(SubmitFrame);
    KSV_ENTRY(SendRecv);
    KSV_ENTRY(RepaintImage);
    KSV_ENTRY(GetVersion);
    KSV_ENTRY(StatusToString);
    KSV_ENTRY(RegisterEvents);
  };
#undef KSV_ENTRY
  const Entries wys_{library_};
  platform::TestWindow window_{{20, 20}, 400, 460};
  uint32_t context_ = 0;
  uint32_t session_ = 0;
  /// The last description, as the library left it.
  std::string block_;
};

}  // namespace support
