// A browser, an extension or a page that means harm, at the native host: messages of every kind with every kind of
// value, bytes that are none, lengths that lie, ends anywhere. What the host sends has to stay well-formed.
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>

#include "bridge/host/session.h"
#include "fuzz/support/fuzzing.h"

using nlohmann::json;

namespace {

class Browser {
 public:
  explicit Browser(fuzz::Input& given) : input(given) {}

  std::string Bytes() {
    std::string bytes;
    if (!input.OnceIn(16)) Add(bytes, Hello());
    for (int sent = 0; sent < 40 && !input.Done(); ++sent) {
      json message = input.OnceIn(32) ? AnyValue(0) : input.OnceIn(8) ? Note() : Request();
      if (input.OnceIn(16)) Spoil(message);
      input.OnceIn(16) ? AddPieces(bytes, message) : Add(bytes, message);
      if (input.OnceIn(32)) bytes += input.Text();
    }
    return bytes;
  }

 private:
  static std::string TextOf(const json& message) { return message.dump(-1, ' ', false, json::error_handler_t::ignore); }
  void AddText(std::string& bytes, const std::string& text) {
    const auto length = static_cast<uint32_t>(input.OnceIn(64) ? input.Word() : text.size());
    bytes.append(reinterpret_cast<const char*>(&length), sizeof length) += text;
  }
  void Add(std::string& bytes, const json& message) {
    AddText(bytes, input.OnceIn(64) ? TextOf(message) + input.Text() : TextOf(message));
  }
  void AddPieces(std::string& bytes, const json& message) {
    const std::string text = TextOf(message);
    const size_t half = text.size() / 2;
    const json count = input.OnceIn(8) ? AnyValue(0) : json(2);
    Add(bytes, {{"piece", 1}, {"of", count}, {"text", text.substr(0, half)}});
    Add(bytes, {{"piece", input.OnceIn(8) ? 1 : 2}, {"of", count}, {"text", text.substr(half)}});
  }

  json Hello() {
    static const char* const origins[] = {"https://page.example", "null", "", "file://"};
    return {{"hello", input.OnceIn(32) ? 2 : 1}, {"origin", input.Pick(origins)}, {"address", input.Text()}};
  }
  json Note() {
    if (input.OnceIn(4)) return {{"ran", input.OnceIn(4) ? input.Word() : 1}};
    const auto edge = [this] { return input.OnceIn(16) ? static_cast<int>(input.Word()) : 5; };
    return {{"on", input.OnceIn(16) ? 9U : 1U},
            {"place", {edge(), edge(), edge(), edge()}},
            {"within", {edge(), edge(), edge(), edge()}},
            {"shown", input.ConsumeBool()}};
  }
  json Request() {
    static const char* const names[] = {
        "version",   "zubInit", "zubRegisterEventCallback", "zubReceiveData", "zubStopInstance", "setMouseUpCallback",
        "zubDeInit", "none"};
    static const char* const deeds[] = {"create", "call", "get", "set", "destroy", "call", "call", "call"};
    const std::string deed = number == 0 ? deeds[0] : input.Pick(deeds);
    // Mostly the next one; sometimes one that was answered already.
    json message{{"n", input.OnceIn(8) ? number : ++number}, {"do", deed}};
    if (deed == "create") {
      message.update({{"on", ++instance}, {"width", input.Word()}, {"height", 5}});
      if (message["width"] > 65535) message["width"] = 1;
      return message;
    }
    message["on"] = input.OnceIn(4) ? input.ConsumeIntegralInRange(1U, instance) : 1U;
    if (deed != "destroy") message["name"] = input.OnceIn(16) ? input.Text() : input.Pick(names);
    if (deed == "set") message["to"] = AnyValue(0);
    if (deed == "call") message["arguments"] = Values(0);
    return message;
  }
  void Spoil(json& message) {
    if (!message.is_object() || message.empty()) return;
    auto member = message.begin();
    std::advance(member, input.ConsumeIntegralInRange<size_t>(0, message.size() - 1));
    if (input.ConsumeBool()) {
      *member = AnyValue(0);
    } else {
      message.erase(member);
    }
  }

  json Values(int depth) {
    json list = json::array();
    while (list.size() < 5 && input.ConsumeBool()) list.push_back(AnyValue(depth));
    return list;
  }
  json AnyValue(int depth) {
    switch (input.ConsumeIntegralInRange(0, depth > 4 ? 6 : 9)) {
      case 0:
        return input.Number();
      case 1:
        return input.Text();
      case 2:
        return input.ConsumeBool();
      case 3:
        return {{"function", input.ConsumeIntegralInRange(0U, 3U)}};
      case 4:
        return {{"plugin", input.ConsumeIntegralInRange(0U, 3U)}};
      case 5:
        return {{input.ConsumeBool() ? "undefined" : "unreadable", input.OnceIn(8) ? AnyValue(depth + 1) : json(true)}};
      case 6:
        return input.ConsumeBool() ? json{{"number", "-0"}} : json(1e300 * input.Number());
      case 7:
        return Values(depth + 1);
      case 8:
        return {{input.Text(), AnyValue(depth + 1)}};
      default: {
        json members = json::array();
        for (const json& value : Values(depth + 1)) members.push_back(json::array({input.Text(), value}));
        return {{"object", members}};
      }
    }
  }

  fuzz::Input& input;
  uint64_t number = 0;
  uint32_t instance = 0;
};

// What the host sent: whole messages, numbered answers, and nothing behind the end.
void CheckSent(const std::string& bytes) {
  bool hasEnded = false;
  for (size_t at = 0; at < bytes.size();) {
    uint32_t length = 0;
    fuzz::Demand(bytes.size() - at >= sizeof length, "a length is cut off");
    bytes.copy(reinterpret_cast<char*>(&length), sizeof length, at);
    at += sizeof length;
    fuzz::Demand(length <= (1U << 20) && length <= bytes.size() - at, "a message is too long or cut off");
    const json message = json::parse(bytes.substr(at, length), nullptr, false);
    fuzz::Demand(message.is_object() && !hasEnded, "no message, or one behind the end");
    hasEnded = message.contains("end");
    at += length;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static support::AgentStub agent(fuzz::World());
  agent.TakeCalls();
  fuzz::Input input(data, size);
  std::string sent = Browser(input).Bytes();
  char* received = nullptr;
  size_t length = 0;
  Bridge::NativePipes pipes{
      {sent.empty() ? std::fopen("/dev/null", "rb") : ::fmemopen(sent.data(), sent.size(), "rb"), &std::fclose},
      {::open_memstream(&received, &length), &std::fclose}};
  const int status = Bridge::ServeDocument(std::move(pipes), KSV_MODULE);
  const std::unique_ptr<char, decltype(&std::free)> owner(received, &std::free);
  fuzz::Demand(status == 0 || status == 1, "a status of the program's own");
  CheckSent({received, length});
  return 0;
}
