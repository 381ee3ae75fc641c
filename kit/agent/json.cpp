#include "kit/agent/json.h"

namespace KsvAgent {
namespace {

void AppendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (const char character : text) {
    if (character == '"' || character == '\\') out += '\\';
    out += character;
  }
  out += '"';
}

}  // namespace

JsonObject& JsonObject::Add(std::string_view name, std::string_view text) {
  std::string value;
  AppendQuoted(value, text);
  return AddRaw(name, value);
}

JsonObject& JsonObject::Add(std::string_view name, const std::vector<std::string>& texts) {
  std::string value = "[";
  for (const std::string& text : texts) {
    if (value.size() > 1) value += ',';
    AppendQuoted(value, text);
  }
  value += ']';
  return AddRaw(name, value);
}

JsonObject& JsonObject::AddRaw(std::string_view name, std::string_view value) {
  if (!members_.empty()) members_ += ',';
  AppendQuoted(members_, name);
  members_ += ':';
  members_ += value;
  return *this;
}

std::string JsonObject::Text() const {
  std::string text = "{";
  text += members_;
  text += '}';
  return text;
}

}  // namespace KsvAgent
