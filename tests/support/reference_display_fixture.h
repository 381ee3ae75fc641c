#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "base/owner.h"
#include "display/display_entries.h"
#include "kit/display/display_status.h"
#include "kit/display/geometry.h"
#include "platform/desktop.h"
#include "platform/faults.h"
#include "platform/system_path.h"
#include "tests/support/paths.h"

namespace support {

/// An image's description, as pages give it; `Block` lays it out.
struct ImageRequest {
  uint8_t type = 1;
  uint32_t id = 77;
  WysPoint size{320, 420};
  WysPoint logoAt{};
  uint8_t theme = 0;
  uint32_t least = 4;
  uint32_t greatest = 6;
  uint32_t options = 0;
  WysPoint logo{};
  size_t logoBytes = 0;

  [[nodiscard]] std::string Block() const {
    std::string block;
    const std::pair<uint32_t, int> fields[] = {{0, 1},      {type, 1},    {0, 4},        {id, 4},       {size.x, 2},
                                               {size.y, 2}, {0, 1},       {logoAt.x, 2}, {logoAt.y, 2}, {0, 2},
                                               {theme, 1},  {least, 4},   {0, 4},        {0, 4},        {greatest, 4},
                                               {0, 4},      {options, 4}, {logo.x, 2},   {logo.y, 2}};
    for (const auto& [value, bytes] : fields) {
      for (int i = 0; i < bytes; ++i) block += static_cast<char>(value >> (8 * i));
    }
    return block + std::string(logoBytes, '\x40');
  }
};

inline int32_t Code(KsvDisplay::Status status) {
  return static_cast<int32_t>(status);
}

inline std::string BigEndian(uint64_t value, int bytes) {
  std::string text;
  while (bytes-- > 0) text += static_cast<char>(value >> (8 * bytes));
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
    EXPECT_TRUE(wys_.Bind(library_).empty());
    EXPECT_EQ(wys_.Init(0, "Norvo Bank", &context_), 0);
    EXPECT_EQ(Establish(), 0);
  }
  ~ReferenceDisplayTest() override {
    wys_.DeInit(context_);
    FreeLibrary(library_);
    std::filesystem::remove_all(folder_);
  }

  static HMODULE Load() { return LoadLibraryW(PlatformPath<WCHAR>(KSV_DISPLAY_LIBRARY).c_str()); }
  int32_t Establish(const platform::TestWindow& window) {
    const auto word = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window.handle()));
    const WysSessionRequest request{word, 0xFFFF, context_};
    return wys_.EstablishSession(&request, &session_);
  }
  int32_t Establish() { return Establish(window_); }
  int32_t Create(std::string block) {
    const WysPoint origin{10, 5};
    const int32_t status = wys_.CreateStdImage(session_, &origin, reinterpret_cast<uint8_t*>(block.data()),
                                               static_cast<uint32_t>(block.size()), 0, 0);
    block_ = block;
    return status;
  }
  int32_t Create(const ImageRequest& image) { return Create(image.Block()); }
  int32_t Frame(const std::string& bytes, uint32_t id = 9) {
    const WysPoint at{10, 5};
    return wys_.SubmitFrame(session_, id, &at, static_cast<uint32_t>(bytes.size()), Data(bytes));
  }

  /// Where the keys stand, as the library tells it on a repaint.
  std::map<std::string, KsvDisplay::Rect> Keys() {
    const auto file = folder_ / "keys";
    const platform::ScopedVariable variable("KSV_DISPLAY_LAYOUT", file.string().c_str());
    EXPECT_EQ(wys_.RepaintImage(session_, 0), 0);
    std::ifstream lines(file);
    std::map<std::string, KsvDisplay::Rect> keys;
    std::string label;
    for (KsvDisplay::Rect area; lines >> label >> area.x >> area.y >> area.width >> area.height;) keys[label] = area;
    return keys;
  }
  static WysPoint MiddleOf(const KsvDisplay::Rect& area) {
    return {static_cast<uint16_t>(area.x + area.width / 2), static_cast<uint16_t>(area.y + area.height / 2)};
  }
  /// What a page's script can do without a user.
  int32_t Tell(UINT message, WysPoint at) {
    return (message == WM_LBUTTONDOWN ? wys_.MouseDown : wys_.MouseUp)(session_, 0, &at);
  }
  /// The user presses or releases; the host passes it on from its mouse hook, unless `host_` does something else.
  int32_t ByUser(UINT message, WysPoint at) {
    std::optional<int32_t> status;
    onInput_ = [&](UINT seen) {
      if (seen == message) status = host_ ? host_(message, at) : Tell(message, at);
    };
    platform::MakeMouseInput(window_.handle(), message, {at.x, at.y});
    EXPECT_TRUE(platform::PumpUntil([&] { return status.has_value(); }));
    onInput_ = nullptr;
    return status.value_or(-1);
  }
  int32_t Click(WysPoint down, WysPoint up) {
    const int32_t status = ByUser(WM_LBUTTONDOWN, down);
    const int32_t second = ByUser(WM_LBUTTONUP, up);
    return status != 0 ? status : second;
  }
  int32_t Tap(const std::string& key) {
    const WysPoint at = MiddleOf(Keys().at(key));
    return Click(at, at);
  }
  /// The sealed input, or nothing and the status. The image is open for another one then.
  std::pair<int32_t, std::string> Respond() {
    uint32_t length = 0;
    const int32_t first = wys_.SubmitInputAndGetResponse(session_, 0, &length, nullptr);
    if (length == 0) return {first, {}};
    std::string sealed(length, '\0');
    const int32_t status =
        wys_.SubmitInputAndGetResponse(session_, 0, &length, reinterpret_cast<uint8_t*>(sealed.data()));
    wys_.ClearInput(session_, 0);
    return {status, sealed};
  }
  static LRESULT CALLBACK HostHook(int code, WPARAM message, LPARAM lParam) {
    if (code == HC_ACTION && onInput_) onInput_(static_cast<UINT>(message));
    return CallNextHookEx(nullptr, code, message, lParam);
  }
  static const uint8_t* Data(const std::string& bytes) { return reinterpret_cast<const uint8_t*>(bytes.data()); }

  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("ksv-display-" + std::to_string(std::random_device()()));
  const bool made_ = std::filesystem::create_directory(folder_);
  const platform::ScopedVariable home_{"KSV_DISPLAY_HOME", folder_.string().c_str()};
  const HMODULE library_ = Load();
  NorvoWebAPI::KSV::DisplayEntries wys_;
  platform::TestWindow window_{{20, 20}, 400, 460};
  inline static std::function<void(UINT)> onInput_;
  std::function<int32_t(UINT, WysPoint)> host_;
  /// Made before the display's own, so that the system calls it later.
  const NorvoWebAPI::Owner<HHOOK, UnhookWindowsHookEx> hook_{
      SetWindowsHookExA(WH_MOUSE, HostHook, nullptr, GetCurrentThreadId())};
  uint32_t context_ = 0;
  uint32_t session_ = 0;
  /// The last description, as the library left it.
  std::string block_;
};

}  // namespace support
