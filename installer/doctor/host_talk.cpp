#include "installer/doctor/host_talk.h"

#include <cstdint>
#include <cstring>
#include <system_error>

#include "installer/doctor/child.h"
#include "installer/doctor/json_text.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr size_t kLengthBytes = sizeof(uint32_t);

std::string Framed(const Json& message) {
  const std::string text = message.dump();
  const auto length = static_cast<uint32_t>(text.size());
  std::string framed(kLengthBytes, '\0');
  std::memcpy(framed.data(), &length, kLengthBytes);
  return framed + text;
}

// The messages that came whole; null in place of one that is no JSON.
std::vector<Json> ReadMessages(const std::string& output) {
  std::vector<Json> messages;
  size_t at = 0;
  while (output.size() - at >= kLengthBytes) {
    uint32_t length = 0;
    std::memcpy(&length, output.data() + at, kLengthBytes);
    at += kLengthBytes;
    if (length > output.size() - at) break;
    messages.push_back(ParseJson(output.substr(at, length)).content);
    at += length;
  }
  return messages;
}

std::string TellEnd(const ChildEnd& end, std::chrono::seconds limit) {
  if (end.timedOut) return "does not answer within " + std::to_string(limit.count()) + " s";
  return "ends without an answer (" + end.how + ")";
}

}  // namespace

HostTalk TalkToHost(const std::vector<std::string>& arguments, std::chrono::seconds limit) {
  // Of a page without an origin: it has no tokens.
  const std::string input = Framed({{"hello", 1}, {"origin", "null"}, {"address", ""}}) +
                            Framed({{"n", 1}, {"on", 1}, {"do", "create"}, {"width", 1}, {"height", 1}});
  HostTalk talk;
  ChildEnd end;
  try {
    end = RunChild(arguments, limit, input);
  } catch (const std::system_error& error) {
    talk.problem = std::string("can't be started: ") + error.code().message();
    return talk;
  }
  for (const Json& message : ReadMessages(end.output)) {
    if (MemberOf(message, "hello") == 1) {
      talk.answers = true;
      talk.version = TextOf(message, "host");
    }
    if (message.contains("value") && MemberOf(message, "n") == 1) talk.makesInstance = true;
    for (const char* why : {"error", "end"}) {
      const std::string sentence = TextOf(message, why);
      if (!sentence.empty()) talk.problem = "says: " + sentence;
    }
  }
  if (!talk.makesInstance && talk.problem.empty()) talk.problem = TellEnd(end, limit);
  return talk;
}

}  // namespace NorvoWebAPI::KSV::Doctor
