#include "installer/doctor/json_text.h"

#include <algorithm>
#include <stdexcept>

#include "installer/doctor/file_facts.h"
#include "installer/doctor/system.h"
#include "installer/doctor/texts.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr size_t kLargestFile = size_t{8} << 20;
constexpr int kDeepest = 64;

}  // namespace

JsonText ParseJson(const std::string& text) {
  const auto checkDepth = [](int depth, Json::parse_event_t /*event*/, Json& /*parsed*/) {
    if (depth > kDeepest) throw std::runtime_error("it is deeper than 64 levels");
    return true;
  };
  try {
    return {Json::parse(text, checkDepth), ""};
  } catch (const Json::parse_error& broken) {
    // The library's text begins with an identifier and "parse error at".
    const std::string reason = broken.what();
    const size_t line = reason.find("line ");
    return {nullptr, line == std::string::npos ? reason : reason.substr(line)};
  } catch (const std::exception& refused) {  // Too deep, or a number that nothing holds.
    return {nullptr, refused.what()};
  }
}

JsonText ReadJsonFile(const std::string& path) {
  const std::string shown = ShowPath(path);
  const Presence presence = FindFile(path);
  if (presence == Presence::Missing) return {nullptr, "there is no file " + shown};
  if (presence == Presence::Denied) return {nullptr, shown + " can't be read by this user"};
  std::ifstream stream = Platform::OpenForReading(path, std::ios::binary);
  std::string text(kLargestFile + 1, '\0');
  text.resize(static_cast<size_t>(stream.read(text.data(), static_cast<std::streamsize>(text.size())).gcount()));
  if (text.size() > kLargestFile) return {nullptr, shown + " is larger than 8 MiB"};
  JsonText read = ParseJson(text);
  if (!read.problem.empty()) read.problem.insert(0, shown + ": ");
  return read;
}

const Json& MemberOf(const Json& object, const std::string& name) {
  static const Json kNone;
  const auto found = object.is_object() ? object.find(name) : object.end();
  return found == object.end() ? kNone : *found;
}

std::string TextOf(const Json& object, const std::string& name) {
  constexpr size_t kLongest = 1000;
  const Json& member = MemberOf(object, name);
  return member.is_string() ? NarrowFromUtf8(member.get<std::string>()).substr(0, kLongest) : "";
}

bool Lists(const Json& list, const std::string& text) {
  return list.is_array() && std::ranges::count(list, Json(text)) > 0;
}

}  // namespace NorvoWebAPI::KSV::Doctor
