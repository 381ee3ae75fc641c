/// The messages of bridge/PROTOCOL.md: read, checked, and cut into pieces.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

#include "bridge/host/place.h"

namespace Bridge {

/// The version of the messages; another one is refused.
inline constexpr int kProtocol = 1;
/// Of a message, its pieces joined, in bytes.
inline constexpr size_t kMaxMessage = size_t{64} << 20;
/// A longer message from the host goes in pieces, because the browser takes at most 1 MiB at once.
inline constexpr size_t kMaxUncut = size_t{512} << 10;

/// A message that breaks the protocol; `what` says how. The host ends.
class ProtocolError : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

/// The first message: what the browser attests of the document.
struct Hello {
  std::string origin;
  std::string address;
};

enum class Action { Create, Call, Get, Set, Destroy };

struct Request {
  uint64_t number = 0;
  uint32_t instance = 0;
  Action action = Action::Call;
  /// Of the method or property; empty for Create and Destroy.
  std::string name;
  /// The arguments of a call, or the one new value of Set: a list, empty for all others.
  nlohmann::json content = nlohmann::json::array();
  uint16_t width = 0;
  uint16_t height = 0;
};

/// Where the browser has an instance's element.
struct Placed {
  uint32_t instance = 0;
  Place place;
};

/// The page has run an awaited function; `number` is the `awaited` of that "run".
struct Ran {
  uint64_t number = 0;
};

using Message = std::variant<Hello, Request, Placed, Ran>;

/// Reads the texts of messages one after the other, and joins pieces. Throws `ProtocolError`.
class MessageReader {
 public:
  /// Gives nothing for a piece that is not the last.
  std::optional<Message> Read(std::string_view text);

 private:
  nlohmann::json Join(const nlohmann::json& piece);

  std::string joined;
  uint32_t piecesRead = 0;
  uint32_t piecesInAll = 0;  // 0 when no message is under way in pieces.
};

/// The message as text. Bytes of the module's that are no UTF-8 become U+FFFD, as a browser shows them.
std::string TextOf(const nlohmann::json& message);

/// Gives a message's text to `write`, whole or in pieces.
void WriteMessage(const std::string& text, const std::function<void(const std::string&)>& write);

}  // namespace Bridge
