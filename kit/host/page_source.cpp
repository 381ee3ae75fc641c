#include "kit/host/page_source.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "kit/program/paths.h"

namespace Kit {
namespace {

namespace fs = std::filesystem;

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

std::string Lowered(std::string_view text) {
  std::string lowered(text);
  std::ranges::transform(lowered, lowered.begin(), [](unsigned char c) { return std::tolower(c); });
  return lowered;
}

// The value of an attribute within a tag's text; empty when the tag has none.
std::string Attribute(const std::string& tag, std::string_view name) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::string lowered = Lowered(tag);
  for (size_t at = lowered.find(name); at != std::string::npos; at = lowered.find(name, at + 1)) {
    size_t value = lowered.find_first_not_of(kBlanks, at + name.size());
    if (at == 0 || kBlanks.find(tag[at - 1]) == std::string_view::npos) continue;
    if (value == std::string::npos || tag[value] != '=') continue;
    value = tag.find_first_not_of(kBlanks, value + 1);
    if (value == std::string::npos) return {};
    if (tag[value] == '"' || tag[value] == '\'')
      return tag.substr(value + 1, tag.find(tag[value], value + 1) - value - 1);
    return tag.substr(value, tag.find_first_of(kBlanks, value) - value);
  }
  return {};
}

std::vector<Script> ScriptsOf(const fs::path& page, const std::string& text) {
  constexpr std::string_view kOpening = "<script";
  const std::string lowered = Lowered(text);
  std::vector<Script> scripts;
  for (size_t at = 0; (at = std::min(lowered.find("<!--", at), lowered.find(kOpening, at))) != std::string::npos;) {
    const bool comment = !lowered.compare(at, 4, "<!--");
    if (comment) {
      at = lowered.find("-->", at);
      if (at == std::string::npos) break;
      continue;
    }
    const size_t body = text.find('>', at) + 1;
    const size_t end = lowered.find("</script", body);
    if (body == 0 || end == std::string::npos) {
      throw std::runtime_error("The page " + TextOf(page) + " has a script element that is not closed.");
    }
    const std::string tag = text.substr(at + kOpening.size(), body - 1 - at - kOpening.size());
    at = end;
    const std::string type = Lowered(Attribute(tag, "type"));
    if (!type.empty() && type.find("javascript") == std::string::npos) continue;
    const std::string from = Attribute(tag, "src");
    if (from.find(':') != std::string::npos) {
      throw std::runtime_error("The page " + TextOf(page) + " wants " + from + ": only files beside it are read.");
    }
    if (!from.empty()) {
      const fs::path file = page.parent_path() / PathOf(from);
      scripts.push_back({TextOf(file), ReadFile(file)});
    } else {
      const auto lines = static_cast<size_t>(std::count(text.begin(), text.begin() + static_cast<long>(body), '\n'));
      scripts.push_back({TextOf(page), std::string(lines, '\n') + text.substr(body, end - body)});
    }
  }
  if (scripts.empty()) throw std::runtime_error("The page " + TextOf(page) + " has no script.");
  return scripts;
}

}  // namespace

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || fs::is_directory(path) || !(text << file.rdbuf())) {
    throw std::runtime_error("The file " + TextOf(path) + " can't be read, or is empty. Check its path.");
  }
  return std::move(text).str();
}

std::vector<Script> ReadPage(const fs::path& page) {
  std::string text = ReadFile(page);
  if (text.starts_with(kByteOrderMark)) text.erase(0, sizeof kByteOrderMark - 1);
  const std::string suffix = Lowered(TextOf(page.extension()));
  if (suffix == ".html" || suffix == ".htm") return ScriptsOf(page, text);
  return {{TextOf(page), std::move(text)}};
}

}  // namespace Kit
