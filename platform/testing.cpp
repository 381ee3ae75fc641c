#include "platform/testing.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <mutex>
#include <stdexcept>

#include "platform/testing_backend.h"

namespace platform {
namespace {

struct Received {
  std::mutex mutex;
  std::map<HWND, std::vector<UINT>> byWindow;
};

Received& ReceivedMessages() {
  static Received received;
  return received;
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
    : handle_(MakeTestWindow(&RecordMessage, clientOrigin, width, height)) {
  if (handle_ == nullptr) throw std::runtime_error("no window could be made");
}

TestWindow::~TestWindow() {
  Destroy();
  Received& received = ReceivedMessages();
  const std::lock_guard lock(received.mutex);
  received.byWindow.erase(handle_);
}

void TestWindow::Destroy() {
  if (IsWindow(handle_)) DestroyWindow(handle_);
}

std::vector<UINT> TestWindow::received() const {
  Received& received = ReceivedMessages();
  const std::lock_guard lock(received.mutex);
  return received.byWindow[handle_];
}

bool TestWindow::HasReceived(UINT message) const {
  const auto messages = received();
  return std::find(messages.begin(), messages.end(), message) != messages.end();
}

void TestWindow::PressLeft(int x, int y) {
  MakeMouseInput(handle_, WM_LBUTTONDOWN, {x, y});
}
void TestWindow::ReleaseLeft(int x, int y) {
  MakeMouseInput(handle_, WM_LBUTTONUP, {x, y});
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
    // What is waited for may also happen without a message.
    WaitForQueuedMessage(10);
  }
}

struct DebugOutputCapture::Texts {
  std::mutex mutex;
  std::vector<std::string> lines;
};

DebugOutputCapture::DebugOutputCapture()
    : texts_(std::make_shared<Texts>()), listener_(AddDebugListener([texts = texts_](const char* text) {
        const std::lock_guard lock(texts->mutex);
        texts->lines.emplace_back(text);
      })) {}

DebugOutputCapture::~DebugOutputCapture() {
  RemoveDebugListener(listener_);
}

std::vector<std::string> DebugOutputCapture::lines() const {
  const std::lock_guard lock(texts_->mutex);
  return texts_->lines;
}

bool DebugOutputCapture::Contains(std::string_view part) const {
  const auto texts = lines();
  return std::any_of(texts.begin(), texts.end(),
                     [part](const std::string& text) { return text.find(part) != std::string::npos; });
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : name_(name) {
  if (const char* before = std::getenv(name)) before_ = std::make_unique<std::string>(before);
  SetVariable(name, value);
}

ScopedVariable::~ScopedVariable() {
  SetVariable(name_.c_str(), before_ ? before_->c_str() : nullptr);
}

FailCall::FailCall(std::string_view call, DWORD error, int nth) : plan_(AddFailure(call, error, nth)) {}
FailCall::~FailCall() {
  RemoveFailure(plan_);
}
bool FailCall::fired() const {
  return FailureFired(plan_);
}

Wow64Answer::Wow64Answer(bool answer) {
  SetWow64Answer(answer);
}
Wow64Answer::~Wow64Answer() {
  SetWow64Answer(false);
}

InstallerProperty::InstallerProperty(const std::string& name, const std::string& value) : name_(name) {
  SetInstallerProperty(name, value.c_str());
}
InstallerProperty::~InstallerProperty() {
  SetInstallerProperty(name_, nullptr);
}

}  // namespace platform
