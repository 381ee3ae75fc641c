#include "platform/desktop.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>

#include "platform/desktop_system.h"
#include "platform/never_destroyed.h"

namespace platform {
namespace {

struct Received {
  std::mutex mutex;
  std::map<HWND, std::vector<UINT>> byWindow;
};

Received& ReceivedMessages() {
  static NeverDestroyed<Received> received;
  return *received;
}

LRESULT CALLBACK RecordMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  {
    Received& received = ReceivedMessages();
    const std::lock_guard lock(received.mutex);
    received.byWindow[window].push_back(message);
  }
  return DefaultProcedure(window, message, wParam, lParam);
}

}  // namespace

TestWindow::TestWindow(POINT clientOrigin, int width, int height)
    : window(MakeWindow(&RecordMessage, clientOrigin, width, height)) {
  if (!window) throw std::runtime_error("no window could be made");
}

TestWindow::~TestWindow() {
  Destroy();
  Received& received = ReceivedMessages();
  const std::lock_guard lock(received.mutex);
  received.byWindow.erase(window);
}

void TestWindow::Destroy() {
  if (IsWindow(window)) DestroyWindow(window);
}

std::vector<UINT> TestWindow::received() const {
  Received& received = ReceivedMessages();
  const std::lock_guard lock(received.mutex);
  return received.byWindow[window];
}

bool TestWindow::HasReceived(UINT message) const {
  const auto messages = received();
  return std::find(messages.begin(), messages.end(), message) != messages.end();
}

void TestWindow::PressLeft(int x, int y) {
  MakeMouseInput(window, WM_LBUTTONDOWN, {x, y});
}
void TestWindow::ReleaseLeft(int x, int y) {
  MakeMouseInput(window, WM_LBUTTONUP, {x, y});
}

void PumpMessages() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
}

bool PumpUntil(const std::function<bool()>& isDone, std::chrono::milliseconds atMost) {
  const auto end = std::chrono::steady_clock::now() + atMost;
  while (true) {
    PumpMessages();
    if (isDone()) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    // The condition may also become true without a message.
    WaitForQueuedMessage(10);
  }
}

struct DebugOutputCapture::Texts {
  std::mutex mutex;
  std::vector<std::string> lines;
};

DebugOutputCapture::DebugOutputCapture()
    : texts(std::make_shared<Texts>()), listener(AddDebugListener([texts = texts](const char* text) {
        const std::lock_guard lock(texts->mutex);
        texts->lines.emplace_back(text);
      })) {}

DebugOutputCapture::~DebugOutputCapture() {
  RemoveDebugListener(listener);
}

std::vector<std::string> DebugOutputCapture::lines() const {
  const std::lock_guard lock(texts->mutex);
  return texts->lines;
}

bool DebugOutputCapture::Contains(std::string_view part) const {
  const std::vector<std::string> written = lines();
  return std::any_of(written.begin(), written.end(),
                     [part](const std::string& text) { return text.find(part) != std::string::npos; });
}

}  // namespace platform
