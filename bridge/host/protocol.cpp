#include "bridge/host/protocol.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace Bridge {

using nlohmann::json;

namespace {

// A page's object takes three levels of JSON (tag, list of members, member). 64 of them may be nested, and the message
// itself has three more.
constexpr int kMaxNesting = 64 * 3 + 3;
// A member is at most six events of the parser's, and there are 100,000 of them at most. Each may take a hundred bytes,
// however short it is written.
constexpr int kMaxEvents = 1'000'000;
// Counters go up to here: beyond that a number in script is not exact.
constexpr uint64_t kGreatest = uint64_t{1} << 53;

json Parse(std::string_view text) {
  int events = 0;
  const auto checkSize = [&events](int depth, json::parse_event_t /*event*/, json& /*parsed*/) {
    if (depth > kMaxNesting) throw ProtocolError("a message is nested too deeply");
    if (++events > kMaxEvents) throw ProtocolError("a message has too many values");
    return true;
  };
  try {
    return json::parse(text, checkSize);
  } catch (const json::exception&) {
    throw ProtocolError("a message is no JSON");
  }
}

void DemandMembers(const json& message, std::initializer_list<const char*> names) {
  const bool all = std::ranges::all_of(names, [&](const char* name) { return message.contains(name); });
  if (!all || message.size() != names.size()) throw ProtocolError("a message has a member too many or too few");
}

uint64_t Number(const json& message, const char* name, uint64_t greatest) {
  const json& value = message.at(name);
  if (!value.is_number_unsigned()) throw ProtocolError(std::string(name) + " is no number");
  const auto number = value.get<uint64_t>();
  if (number > greatest) throw ProtocolError(std::string(name) + " is too large");
  return number;
}

std::string Text(const json& message, const char* name) {
  const json& value = message.at(name);
  if (!value.is_string()) throw ProtocolError(std::string(name) + " is no text");
  return value.get<std::string>();
}

uint32_t InstanceOf(const json& message) {
  return static_cast<uint32_t>(Number(message, "on", UINT32_MAX));
}

// The left and upper edge, the width and the height.
RECT Rectangle(const json& message, const char* name) {
  constexpr int64_t kFarthest = 32'767;
  const json& value = message.at(name);
  if (!value.is_array() || value.size() != 4) throw ProtocolError(std::string(name) + " is no rectangle");
  LONG numbers[4] = {};
  for (size_t at = 0; at < 4; ++at) {
    const int64_t number = value[at].is_number_integer() ? value[at].get<int64_t>() : kFarthest + 1;
    if (number > kFarthest || number < (at < 2 ? -kFarthest : 0)) {
      throw ProtocolError(std::string(name) + " lies on no screen");
    }
    numbers[at] = static_cast<LONG>(number);
  }
  return {numbers[0], numbers[1], numbers[0] + numbers[2], numbers[1] + numbers[3]};
}

Placed ReadPlaced(const json& message) {
  DemandMembers(message, {"on", "place", "within", "shown"});
  const json& isShown = message["shown"];
  if (!isShown.is_boolean()) throw ProtocolError("shown is no flag");
  return {InstanceOf(message), {Rectangle(message, "place"), Rectangle(message, "within"), isShown.get<bool>()}};
}

Hello ReadHello(const json& message) {
  DemandMembers(message, {"hello", "origin", "address"});
  if (Number(message, "hello", std::numeric_limits<uint64_t>::max()) != kProtocol) {
    throw ProtocolError("the extension and the host are of different versions: install both from one package");
  }
  return {Text(message, "origin"), Text(message, "address")};
}

Action ActionOf(const std::string& name) {
  static const std::map<std::string, Action> actions = {{"create", Action::Create},
                                                        {"call", Action::Call},
                                                        {"get", Action::Get},
                                                        {"set", Action::Set},
                                                        {"destroy", Action::Destroy}};
  const auto found = actions.find(name);
  if (found == actions.end()) throw ProtocolError("there is no request '" + name.substr(0, 40) + "'");
  return found->second;
}

Request ReadRequest(json message) {
  if (!message.contains("do")) throw ProtocolError("a message is none of those that there are");
  Request request;
  request.action = ActionOf(Text(message, "do"));
  switch (request.action) {
    case Action::Create:
      DemandMembers(message, {"n", "on", "do", "width", "height"});
      request.width = static_cast<uint16_t>(Number(message, "width", UINT16_MAX));
      request.height = static_cast<uint16_t>(Number(message, "height", UINT16_MAX));
      break;
    case Action::Call:
      DemandMembers(message, {"n", "on", "do", "name", "arguments"});
      request.content = std::move(message["arguments"]);
      if (!request.content.is_array()) throw ProtocolError("arguments are no list");
      break;
    case Action::Get:
      DemandMembers(message, {"n", "on", "do", "name"});
      break;
    case Action::Set:
      DemandMembers(message, {"n", "on", "do", "name", "to"});
      request.content = json::array({std::move(message["to"])});
      break;
    case Action::Destroy:
      DemandMembers(message, {"n", "on", "do"});
      break;
  }
  request.number = Number(message, "n", kGreatest);
  request.instance = InstanceOf(message);
  if (message.contains("name")) request.name = Text(message, "name");
  return request;
}

}  // namespace

json MessageReader::Join(const json& piece) {
  DemandMembers(piece, {"piece", "of", "text"});
  const auto number = static_cast<uint32_t>(Number(piece, "piece", UINT32_MAX));
  const auto all = static_cast<uint32_t>(Number(piece, "of", UINT32_MAX));
  if (piecesInAll == 0) piecesInAll = all;
  if (all != piecesInAll || number != piecesRead + 1 || number > all) throw ProtocolError("a piece is out of order");
  const std::string text = Text(piece, "text");
  if (joined.size() + text.size() > kMaxMessage) throw ProtocolError("a message is too long");
  joined += text;
  ++piecesRead;
  if (piecesRead < piecesInAll) return nullptr;
  piecesRead = piecesInAll = 0;
  return Parse(std::exchange(joined, {}));
}

std::optional<Message> MessageReader::Read(std::string_view text) {
  json message = Parse(text);
  if (!message.is_object()) throw ProtocolError("a message is no object");
  if (message.contains("piece")) {
    message = Join(message);
    if (message.is_null()) return std::nullopt;
    if (!message.is_object() || message.contains("piece")) throw ProtocolError("pieces are no message");
  } else if (piecesInAll != 0) {
    throw ProtocolError("a piece is missing");
  }
  if (message.contains("hello")) return ReadHello(message);
  if (message.contains("place")) return ReadPlaced(message);
  if (message.contains("ran")) {
    DemandMembers(message, {"ran"});
    return Ran{Number(message, "ran", kGreatest)};
  }
  return ReadRequest(std::move(message));
}

std::string TextOf(const json& message) {
  return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

void WriteMessage(const std::string& text, const std::function<void(const std::string&)>& write) {
  if (text.size() <= kMaxUncut) return write(text);
  std::vector<std::string_view> pieces;
  for (size_t start = 0; start < text.size();) {
    // A piece doubles at most when its quotes are escaped; it may not end inside a character.
    size_t end = std::min(start + kMaxUncut / 2, text.size());
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    pieces.emplace_back(text.data() + start, end - start);
    start = end;
  }
  for (size_t at = 0; at < pieces.size(); ++at) {
    write(TextOf({{"piece", at + 1}, {"of", pieces.size()}, {"text", pieces[at]}}));
  }
}

}  // namespace Bridge
