#include "platform/registry_store.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/internal.h"

namespace fs = std::filesystem;

namespace platform {
namespace {

using Json = RegistryStore::Json;

constexpr uintmax_t kLargestFile = 1u << 20;
constexpr int kDeepest = 64;
constexpr const char* kTypeNames[] = {"REG_NONE", "REG_SZ", "REG_EXPAND_SZ", "REG_BINARY", "REG_DWORD"};

fs::path StorePath() {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return fs::path(value ? value : "");
  };
  if (fs::path place = variable("KSV_REGISTRY"); !place.empty()) return place;
  const fs::path inConfiguration = fs::path("norvo") / "ksv" / "registry.json";
  if (const fs::path folder = variable("XDG_CONFIG_HOME"); folder.is_absolute()) return folder / inConfiguration;
  const fs::path home = variable("HOME");
  return home.is_absolute() ? home / ".config" / inConfiguration : fs::path();
}

bool IsKey(const Json& member) {
  if (!member.is_object()) return false;
  const auto type = member.find("type");
  return type == member.end() || type->is_structured();
}

bool IsDeeperThan(int levels, const Json& member) {
  if (!member.is_structured()) return false;
  return levels == 0 ||
         std::any_of(member.begin(), member.end(), [&](const Json& inner) { return IsDeeperThan(levels - 1, inner); });
}

Json* FindMember(Json& key, std::string_view name) {
  for (auto member = key.begin(); member != key.end(); ++member) {
    if (EqualIgnoringCase(member.key(), name)) return &*member;
  }
  return nullptr;
}

std::optional<DWORD> DecodeNumber(const Json& number) {
  if (number.is_number_unsigned()) {
    const auto value = number.get<uint64_t>();
    if (value <= UINT32_MAX) return static_cast<DWORD>(value);
  } else if (number.is_number_integer()) {
    const auto value = number.get<int64_t>();
    if (value >= INT32_MIN && value < 0) return static_cast<DWORD>(value);
  }
  return std::nullopt;
}

std::optional<DWORD> DecodeType(const Json& type) {
  if (!type.is_string()) return DecodeNumber(type);
  for (DWORD number = 0; number < std::size(kTypeNames); ++number) {
    if (type == kTypeNames[number]) return number;
  }
  return std::nullopt;
}

Json EncodeType(DWORD type) {
  return type < std::size(kTypeNames) ? Json(kTypeNames[type]) : Json(type);
}

std::optional<std::vector<BYTE>> DecodeHex(const std::string& hex) {
  const auto digit = [](char c) { return c >= '0' && c <= '9' ? c - '0' : (c | 32) - 'a' + 10; };
  if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return std::nullopt;
  std::vector<BYTE> bytes;
  for (size_t at = 0; at < hex.size(); at += 2) {
    bytes.push_back(static_cast<BYTE>(digit(hex[at]) << 4 | digit(hex[at + 1])));
  }
  return bytes;
}

std::string EncodeHex(const std::vector<BYTE>& bytes) {
  std::string hex;
  for (const BYTE byte : bytes) {
    hex += "0123456789abcdef"[byte >> 4];
    hex += "0123456789abcdef"[byte & 15];
  }
  return hex;
}

template <class Unit>
std::vector<BYTE> BytesOf(const Unit* units, size_t count) {
  std::vector<BYTE> bytes(count * sizeof(Unit));
  if (!bytes.empty()) std::memcpy(bytes.data(), units, bytes.size());
  return bytes;
}

std::vector<BYTE> TextBytes(const std::string& text, bool terminated) {
  const std::u16string wide = Widen(text);
  return BytesOf(wide.c_str(), wide.size() + (terminated ? 1 : 0));
}

// The plain forms that a value may have. The caller checks which of them decodes to the value.
std::vector<Json> PlainForms(const RegistryValue& value) {
  if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
    DWORD number = 0;
    std::memcpy(&number, value.data.data(), sizeof(number));
    return {Json(number)};
  }
  if (value.type != REG_SZ && value.type != REG_EXPAND_SZ) return {};
  std::u16string wide(value.data.size() / sizeof(char16_t), u'\0');
  if (!wide.empty()) std::memcpy(wide.data(), value.data.data(), wide.size() * sizeof(char16_t));
  Json whole = {{"type", EncodeType(value.type)}, {"data", Narrow(wide)}, {"terminated", false}};
  if (wide.empty() || wide.back() != 0) return {whole};
  wide.pop_back();
  const std::string text = Narrow(wide);
  if (value.type == REG_SZ) return {Json(text), whole};
  return {Json{{"type", EncodeType(value.type)}, {"data", text}}, whole};
}

}  // namespace

RegistryStore::RegistryStore() {
  const fs::path place = StorePath();
  std::error_code error;
  const fs::file_status status = fs::status(place, error);
  if (place.empty() || status.type() == fs::file_type::not_found) return;
  try {
    if (error) throw std::runtime_error(error.message());
    if (!fs::is_regular_file(status)) throw std::runtime_error("it is no plain file");
    if (fs::file_size(place) > kLargestFile) throw std::runtime_error("it is larger than a megabyte");
    std::ifstream file(place, std::ios::binary);
    if (!file) throw std::runtime_error("it can't be opened for reading");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    Json parsed = Json::parse(text);
    if (!parsed.is_object()) throw std::runtime_error("it holds no JSON object");
    if (IsDeeperThan(kDeepest, parsed)) throw std::runtime_error("it is deeper than 64 levels");
    root = std::move(parsed);
  } catch (const Json::parse_error& broken) {
    // The library's text begins with an identifier and "parse error at".
    const std::string_view text = broken.what();
    const size_t line = text.find("line ");
    problem = line == text.npos ? text : text.substr(line);
  } catch (const std::runtime_error& refused) {
    problem = refused.what();
  }
}

std::string RegistryStore::Path() {
  return StorePath().string();
}

Json* RegistryStore::FindKey(const KeyPath& path) {
  if (path.size() == 1 && !FindMember(root, path[0])) root[path[0]] = Json::object();
  Json* key = &root;
  for (const std::string& name : path) {
    key = FindSubKey(*key, name);
    if (!key) return nullptr;
  }
  return key;
}

Json* RegistryStore::MakeKey(const KeyPath& path, bool* isNew) {
  Json* key = &root;
  *isNew = false;
  for (const std::string& name : path) {
    Json* member = FindMember(*key, name);
    *isNew = !member;
    if (!member) member = &((*key)[name] = Json::object());
    if (!IsKey(*member)) return nullptr;
    key = member;
  }
  return key;
}

Json* RegistryStore::FindSubKey(Json& key, std::string_view name) {
  Json* member = FindMember(key, name);
  return member && IsKey(*member) ? member : nullptr;
}

Json* RegistryStore::FindValue(Json& key, std::string_view name) {
  Json* member = FindMember(key, name);
  return member && !IsKey(*member) ? member : nullptr;
}

std::vector<std::string> RegistryStore::SubKeyNames(const Json& key) {
  std::vector<std::string> names;
  for (const auto& [name, member] : key.items()) {
    // Leaves out names that no call can open: a person may have written the file.
    if (IsKey(member) && !name.empty() && name.find_first_of(std::string_view("\\\0", 2)) == std::string::npos) {
      names.push_back(name);
    }
  }
  return names;
}

void RegistryStore::RemoveSubKey(Json& key, std::string_view name) {
  for (auto member = key.begin(); member != key.end(); ++member) {
    if (!EqualIgnoringCase(member.key(), name)) continue;
    key.erase(member);
    return;
  }
}

std::optional<RegistryValue> RegistryStore::Decode(const Json& member) {
  if (member.is_string()) return RegistryValue{REG_SZ, TextBytes(member.get<std::string>(), true)};
  if (const auto number = DecodeNumber(member)) return RegistryValue{REG_DWORD, BytesOf(&*number, 1)};
  if (!member.is_object() || !member.contains("type")) return std::nullopt;
  const auto type = DecodeType(member["type"]);
  if (!type) return std::nullopt;
  if (const auto hex = member.find("hex"); hex != member.end() && hex->is_string()) {
    auto bytes = DecodeHex(hex->get<std::string>());
    return bytes ? std::optional(RegistryValue{*type, std::move(*bytes)}) : std::nullopt;
  }
  const auto data = member.find("data");
  if (data == member.end()) return std::nullopt;
  if ((*type == REG_SZ || *type == REG_EXPAND_SZ) && data->is_string()) {
    const auto terminated = member.find("terminated");
    return RegistryValue{*type,
                         TextBytes(data->get<std::string>(), terminated == member.end() || *terminated != false)};
  }
  const auto number = DecodeNumber(*data);
  return *type == REG_DWORD && number ? std::optional(RegistryValue{REG_DWORD, BytesOf(&*number, 1)}) : std::nullopt;
}

Json RegistryStore::Encode(std::string_view name, const RegistryValue& value) {
  // A key with a plain member "type" would be read as a value.
  const bool needsObject = name == "type";
  for (Json& form : PlainForms(value)) {
    if ((form.is_object() || !needsObject) && Decode(form) == value) return std::move(form);
  }
  return {{"type", EncodeType(value.type)}, {"hex", EncodeHex(value.data)}};
}

LSTATUS RegistryStore::Save() const {
  if (!problem.empty()) return ERROR_BADDB;
  const fs::path place = StorePath();
  if (place.empty()) return ERROR_PATH_NOT_FOUND;
  std::error_code error;
  if (place.has_parent_path()) fs::create_directories(place.parent_path(), error);
  if (error) return ERROR_ACCESS_DENIED;
  const fs::path draft = place.string() + "." + std::to_string(getpid()) + ".tmp";
  std::ofstream file(draft, std::ios::binary | std::ios::trunc);
  if (!file) return ERROR_ACCESS_DENIED;
  file << root.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
  file.close();
  if (file) fs::rename(draft, place, error);
  if (file && !error) return ERROR_SUCCESS;
  fs::remove(draft, error);
  return ERROR_REGISTRY_IO_FAILED;
}

std::string RegistryStore::DebugOutput() {
  if (const char* place = std::getenv("KSV_DEBUG_OUTPUT"); place && *place) return place;
  // Asked for each line of the log: the file is read again only when it has changed.
  struct Known {
    std::mutex mutex;
    fs::path file;
    fs::file_time_type changed;
    std::string place;
  };
  static NeverDestroyed<Known> known;
  const fs::path file = StorePath();
  std::error_code missing;
  const fs::file_time_type changed = fs::last_write_time(file, missing);
  const std::lock_guard lock(known->mutex);
  if (known->file != file || known->changed != changed) {
    const RegistryStore store;
    const auto place = store.root.find("DebugOutput");
    known->place = place != store.root.end() && place->is_string() ? place->get<std::string>() : "";
    known->file = file;
    known->changed = changed;
  }
  return known->place;
}

}  // namespace platform
