#include "bridge/host/session.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

#include "base/product.h"
#include "bridge/host/document.h"
#include "bridge/host/protocol.h"
#include "platform/desktop.h"
#include "platform/desktop_system.h"

namespace Bridge {

using nlohmann::json;

namespace {

constexpr UINT kWake = WM_USER + 1;
constexpr size_t kMaxWaiting = 16;
constexpr size_t kAnswersKept = 16;
constexpr DWORD kForever = 60'000;
/// How long the module and its libraries may take to end after the browser has gone.
constexpr std::chrono::seconds kEndTime{10};

/// The messages that have come, in their order. A full inbox holds the reader up, and so the browser.
class Inbox {
 public:
  /// `wake` is called on the reading thread.
  explicit Inbox(std::function<void()> wakeUp) : wake(std::move(wakeUp)) {}

  void Put(std::string message) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return messages.size() < kMaxWaiting; });
    messages.push_back(std::move(message));
    lock.unlock();
    wake();
  }

  void Close(std::string reason) {
    {
      const std::lock_guard lock(mutex);
      closed = std::move(reason);
    }
    wake();
  }

  std::optional<std::string> Take() {
    const std::lock_guard lock(mutex);
    if (messages.empty()) return std::nullopt;
    std::string message = std::move(messages.front());
    messages.pop_front();
    changed.notify_one();
    return message;
  }

  /// Why no more messages come, once the last one is taken: empty for the end of the input.
  std::optional<std::string> Closed() {
    const std::lock_guard lock(mutex);
    return messages.empty() ? closed : std::nullopt;
  }

 private:
  const std::function<void()> wake;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::string> messages;
  std::optional<std::string> closed;
};

// Reads to the end of the input, on a thread of its own, because the module's thread has to take messages meanwhile.
void ReadAll(std::FILE* input, Inbox& inbox) {
  std::string reason;
  try {
    while (auto message = ReadNativeMessage(input)) inbox.Put(std::move(*message));
  } catch (const std::exception& error) {
    reason = error.what();
  }
  inbox.Close(reason);
}

class Session {
 public:
  Session(NativePipes browserPipes, std::filesystem::path modulePath)
      : pipes(std::move(browserPipes)), module(std::move(modulePath)) {}

  int Run() {
    // Reads until the browser closes the pipe, which may be long after this session has ended: never joined.
    std::thread([this] { ReadAll(pipes.input.get(), inbox); }).detach();
    try {
      while (!inbox.Closed()) {
        while (auto message = inbox.Take()) Handle(*message);
        platform::PumpMessages();
        if (!inbox.Closed()) platform::WaitForQueuedMessage(kForever);
      }
      if (const std::string reason = *inbox.Closed(); !reason.empty()) throw ProtocolError(reason);
      return 0;
    } catch (const ProtocolError& error) {
      std::fprintf(stderr, "ksv-bridge: %s\n", error.what());
      Send({{"end", error.what()}});
      return 1;
    }
  }

  /// Ends the instances and the module.
  void End() { document.reset(); }

 private:
  void Handle(const std::string& text) {
    const std::optional<Message> message = reader.Read(text);
    if (!message) return;
    if (const auto* const hello = std::get_if<Hello>(&*message)) {
      if (document) throw ProtocolError("the first message came twice");
      document = std::make_unique<Document>(module, *hello, [this](const json& done) { Send(done); });
      return Send({{"hello", kProtocol}, {"host", NorvoWebAPI::KSV::kVersion}});
    }
    if (!document) throw ProtocolError("the first message has not come");
    Send(AnswerOf(std::get<Request>(*message)));
  }

  // A request that the browser asks again is not done again.
  json AnswerOf(const Request& request) {
    const uint64_t first = lastNumber + 1 - answers.size();
    if (request.number >= first && request.number <= lastNumber) return answers[request.number - first];
    if (request.number != lastNumber + 1) throw ProtocolError("a request is out of order");
    json answer = document->Answer(request);
    answer["n"] = request.number;
    lastNumber = request.number;
    answers.push_back(answer);
    if (answers.size() > kAnswersKept) answers.pop_front();
    return answer;
  }

  void Send(const json& message) {
    WriteMessage(message, [this](const std::string& text) { WriteNativeMessage(pipes.output.get(), text); });
  }

  NativePipes pipes;
  const std::filesystem::path module;
  NorvoWebAPI::Owner<HWND, DestroyWindow> wakeWindow{
      platform::MakeTestWindow(platform::DefaultProcedure, {0, 0}, 1, 1)};
  Inbox inbox{[window = wakeWindow.Get()] { PostMessageA(window, kWake, 0, 0); }};
  MessageReader reader;
  std::unique_ptr<Document> document;
  std::deque<json> answers;
  uint64_t lastNumber = 0;
};

}  // namespace

int ServeDocument(NativePipes pipes, const std::filesystem::path& module) {
  // Never destroyed: the reading thread may still use it.
  auto& session = *new Session(std::move(pipes), module);
  const int status = session.Run();
  // A library that does not return must not keep the process after its browser.
  std::thread([] {
    std::this_thread::sleep_for(kEndTime);
    std::_Exit(1);
  }).detach();
  session.End();
  return status;
}

}  // namespace Bridge
