#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/screen.h"

namespace support {

/// A display that shows nothing and reports nothing.
class SilentScreen : public platform::Screen {
 public:
  POINT size() const override { return {1280, 1024}; }
  uint32_t Open(const platform::Placement& /*place*/) override { return ++last; }
  void Close(uint32_t /*window*/) override {}
  void Show(uint32_t /*window*/, bool /*activate*/, bool /*isTopmost*/) override {}
  void Hide(uint32_t /*window*/) override {}
  void Place(uint32_t /*window*/, const platform::Placement& /*place*/) override {}
  void Raise(uint32_t /*window*/, bool /*keep*/) override {}
  void SetTitle(uint32_t /*window*/, const std::string& /*utf8*/) override {}
  void Focus(uint32_t /*window*/) override {}
  void Paint(uint32_t /*window*/, const platform::Placement& /*area*/, const uint32_t* /*pixels*/) override {}
  void Clear(uint32_t /*window*/, const RECT& /*area*/) override {}
  bool Read() override { return true; }
  void Wait(int milliseconds) override {
    std::unique_lock lock(mutex);
    const auto isWoken = [this] { return woken; };
    if (milliseconds < 0) {
      wake.wait(lock, isWoken);
    } else {
      wake.wait_for(lock, std::chrono::milliseconds(milliseconds), isWoken);
    }
    woken = false;
  }
  void Wake() override {
    const std::lock_guard lock(mutex);
    woken = true;
    wake.notify_all();
  }

 private:
  std::mutex mutex;
  std::condition_variable wake;
  bool woken = false;
  uint32_t last = 0;
};

}  // namespace support
