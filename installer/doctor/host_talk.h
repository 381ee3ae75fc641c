/// A talk with the bridge's native host, by the messages of bridge/PROTOCOL.md.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace NorvoWebAPI::KSV::Doctor {

struct HostTalk {
  bool answers = false;        ///< It has answered the first message.
  std::string version;         ///< What it says of itself.
  bool makesInstance = false;  ///< The module loads in it, and gives a page's element an instance.
  std::string problem;         ///< Why one of these is not so, as the end of a sentence that begins with "it".
};

/// Starts the host as a browser does and asks it for an instance of the module, which loads the vendor's libraries;
/// nothing is called in them. `arguments` are UTF-8, the host's path first.
HostTalk TalkToHost(const std::vector<std::string>& arguments, std::chrono::seconds limit);

}  // namespace NorvoWebAPI::KSV::Doctor
