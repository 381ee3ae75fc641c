#include "bridge/host/session.h"

#include <cstdio>
#include <deque>
#include <exception>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

#include "base/product.h"
#include "bridge/host/document.h"
#include "bridge/host/end_watch.h"
#include "bridge/host/inbox.h"
#include "bridge/host/protocol.h"
#include "platform/desktop.h"
#include "platform/desktop_system.h"

namespace Bridge {

using nlohmann::json;

namespace {

constexpr UINT kWake = WM_USER + 1;
constexpr size_t kAnswersKept = 16;
// How long a page may take to answer a click. Meanwhile nothing is painted.
constexpr std::chrono::seconds kPageTime{2};

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
  Session(NativePipes pipes, std::filesystem::path modulePath, std::chrono::milliseconds endTime)
      : output(std::move(pipes.output)), module(std::move(modulePath)), watch(std::make_shared<EndWatch>(endTime)) {
    if (!wakeWindow) throw std::runtime_error("The system has no window for the host.");
    // Detached: this thread may still be reading when the session has ended, until the browser closes the pipe.
    std::thread([input = std::move(pipes.input), to = inbox, end = watch] {
      ReadAll(input.get(), *to);
      end->Start();
    }).detach();
  }
  ~Session() { watch->Stop(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  int Run() {
    int status = 0;
    try {
      Talk();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "ksv-bridge: %s\n", error.what());
      Send(TextOf({{"end", error.what()}}));
      status = 1;
    }
    hasEnded = true;
    watch->Start();
    document.reset();
    return status;
  }

 private:
  // Until the browser ends it. A request and the module's own messages take turns.
  void Talk() {
    while (!hasEnded) {
      platform::PumpMessages();
      if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
      if (document) document->TellForgotten();
      if (const auto message = inbox->Take()) {
        Handle(*message);
      } else if (const auto reason = inbox->Closed()) {
        if (!reason->empty()) throw ProtocolError(*reason);
        return;
      } else {
        platform::WaitForQueuedMessage(INFINITE);
      }
    }
  }

  void Handle(const std::string& text) {
    const std::optional<Message> message = reader.Read(text);
    if (!message) return;
    if (const auto* const hello = std::get_if<Hello>(&*message)) {
      if (document) throw ProtocolError("the first message came twice");
      document = std::make_unique<Document>(module, *hello,
                                            Document::Browser{[this](const json& done) noexcept { Send(TextOf(done)); },
                                                              [this](json run) noexcept { RunNow(std::move(run)); }});
      return Send(TextOf({{"hello", kProtocol}, {"host", KSV_FILE_VERSION}}));
    }
    if (!document) throw ProtocolError("the first message has not come");
    if (const auto* const placed = std::get_if<Placed>(&*message)) return document->Move(*placed);
    if (const auto* const ran = std::get_if<Ran>(&*message)) {
      if (ran->number <= lastAnswered || ran->number > lastAwaited) throw ProtocolError("a function has not been run");
      lastAnswered = ran->number;
      return;
    }
    Send(AnswerOf(std::get<Request>(*message)));
  }

  // Runs inside the module, which no exception may reach.
  void RunNow(json run) noexcept try {
    run["awaited"] = ++lastAwaited;
    Send(TextOf(run));
    const auto end = std::chrono::steady_clock::now() + kPageTime;
    while (!hasEnded && !failure && lastAnswered < lastAwaited) {
      const auto message = inbox->TakeUntil(end);
      if (!message) return;
      Handle(*message);
    }
  } catch (...) {
    failure = std::current_exception();
  }

  // A request that the browser asks again is not done again.
  std::string AnswerOf(const Request& request) {
    const uint64_t first = lastNumber + 1 - answers.size();
    if (request.number >= first && request.number <= lastNumber) return answers[request.number - first];
    if (request.number != lastNumber + 1) throw ProtocolError("a request is out of order");
    json answer = document->Answer(request);
    document->TellForgotten();
    answer["n"] = request.number;
    lastNumber = request.number;
    answers.push_back(TextOf(answer));
    if (answers.size() > kAnswersKept) answers.pop_front();
    return answers.back();
  }

  // After the end, and once the browser has closed the pipe, nothing is sent.
  void Send(const std::string& message) {
    WriteMessage(message, [this](const std::string& text) {
      if (!hasEnded && !WriteNativeMessage(output.get(), text)) hasEnded = true;
    });
  }

  const File output;
  const std::filesystem::path module;
  NorvoWebAPI::Owner<HWND, DestroyWindow> wakeWindow{platform::MakeWindow(platform::DefaultProcedure, {0, 0}, 1, 1)};
  const std::shared_ptr<Inbox> inbox =
      std::make_shared<Inbox>([window = wakeWindow.Get()] { PostMessageA(window, kWake, 0, 0); });
  const std::shared_ptr<EndWatch> watch;
  MessageReader reader;
  std::unique_ptr<Document> document;
  std::deque<std::string> answers;
  uint64_t lastNumber = 0;
  uint64_t lastAwaited = 0;   // The number of the newest "run" that the host waits for.
  uint64_t lastAnswered = 0;  // That of the newest "ran".
  // Thrown by a message that came in RunNow; Talk throws it again, once the module has returned.
  std::exception_ptr failure;
  bool hasEnded = false;
};

}  // namespace

int ServeDocument(NativePipes pipes, const std::filesystem::path& module, std::chrono::milliseconds endTime) {
  return Session(std::move(pipes), module, endTime).Run();
}

}  // namespace Bridge
