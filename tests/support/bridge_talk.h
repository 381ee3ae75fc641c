#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/host/native_stream.h"
#include "bridge/host/session.h"
#include "tests/support/order.h"
#include "tests/support/pipe.h"

namespace support {

inline const nlohmann::json kHello = {
    {"hello", 1}, {"origin", "https://page.example"}, {"address", "https://page.example/a"}};

inline std::string Framed(const std::string& text) {
  const auto length = static_cast<uint32_t>(text.size());
  return std::string(reinterpret_cast<const char*>(&length), sizeof length) + text;
}

/// A browser and its document. The host serves on a thread of its own, as the module's browser thread.
class Talk {
 public:
  explicit Talk(const std::string& module = KSV_MODULE, std::chrono::milliseconds endTime = Bridge::kEndTime)
      : host([this, module, endTime,
              pipes = Bridge::NativePipes{std::move(in.readEnd), std::move(out.writeEnd)}]() mutable {
          status = Bridge::ServeDocument(std::move(pipes), module, endTime);
        }) {}
  ~Talk() { End(); }
  Talk(const Talk&) = delete;
  Talk& operator=(const Talk&) = delete;

  /// The first message and an instance, number 1.
  void Open(const nlohmann::json& hello = kHello) {
    Send(hello.dump());
    Receive();
    Ask({{"do", "create"}, {"width", 100}, {"height", 50}});
  }
  void SendBytes(const std::string& bytes) {
    OrderThreads();
    std::fwrite(bytes.data(), 1, bytes.size(), in.writeEnd.get());
    std::fflush(in.writeEnd.get());
  }
  void Send(const std::string& text) { SendBytes(Framed(text)); }
  /// Null at the end.
  nlohmann::json Receive() {
    const auto text = Bridge::ReadNativeMessage(out.readEnd.get());
    OrderThreads();
    return text ? nlohmann::json::parse(*text) : nlohmann::json();
  }
  /// The answer to a request, which is numbered here. What the module did to functions before it is kept in `told`.
  nlohmann::json Ask(nlohmann::json request) {
    request["n"] = ++last;
    if (!request.contains("on")) request["on"] = 1;
    Send(request.dump());
    while (true) {
      nlohmann::json message = Receive();
      if (!message.contains("run") && !message.contains("forget")) return message;
      told.push_back(std::move(message));
    }
  }
  nlohmann::json Call(const std::string& name, const std::vector<nlohmann::json>& arguments = {}) {
    return Ask({{"do", "call"}, {"name", name}, {"arguments", arguments}});
  }
  /// Closes the host's input; gives its exit status.
  int End() {
    in.writeEnd.reset();
    if (host.joinable()) host.join();
    return status;
  }

  std::vector<nlohmann::json> told;
  uint64_t last = 0;

 private:
  Pipe in;
  Pipe out;
  int status = -1;
  std::thread host;
};

}  // namespace support
