/// JSON that browsers and administrators wrote, read with bounds.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace NorvoWebAPI::KSV::Doctor {

using Json = nlohmann::json;

struct JsonText {
  Json content;         ///< Null when the text can't be understood.
  std::string problem;  ///< Why not, for a person: for broken JSON the line and the column. Empty when it is in order.
};

/// Reads a text in UTF-8 of at most 64 levels.
JsonText ParseJson(const std::string& text);
/// Reads a file of at most 8 MiB, by its narrow path. `problem` begins with the path.
JsonText ReadJsonFile(const std::string& path);

/// A member, or null when there is none or `object` is no object.
const Json& MemberOf(const Json& object, const std::string& name);
/// A member that is a text, in narrow form and shortened to what a report shows; empty when it is none.
std::string TextOf(const Json& object, const std::string& name);
/// Whether a list has this text; false when it is no list.
bool Lists(const Json& list, const std::string& text);

}  // namespace NorvoWebAPI::KSV::Doctor
