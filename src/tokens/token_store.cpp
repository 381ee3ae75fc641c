#include "tokens/token_store.h"

#include <cstring>
#include <string_view>

#include "base/base64.h"
#include "base/result_codes.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::KSV::TokenStore {
namespace {

constexpr size_t kMaxDomainLength = 127;

std::string Root() {
  return Platform::GetBasePath() + "KSV_tokens";
}

// One name, and so one folder below the root. An address without a host keeps its slashes in the origin's text, and
// could lead into the folder of another origin by them; the root itself is nobody's.
bool IsOneName(std::string_view domain) {
  return !domain.empty() && domain.find_first_of("\\/") == std::string_view::npos && domain != "." && domain != "..";
}

std::string FolderOf(const char* domain) {
  if (!IsOneName(domain)) throw CPluginException{kBadDomain};
  return Root() + "\\" + domain;
}

void WriteNew(const std::string& folder, const char* fileName, const uint8_t* bytes, uint16_t length) {
  const std::string path = Platform::Canonicalize(folder + "\\" + fileName);
  Platform::CheckPath(path);
  // A name that leads elsewhere is not in the folder, but what lies where it leads must not be written over either.
  if (Platform::FileExists(folder, fileName) || Platform::OpenForReading(path).is_open()) {
    throw CPluginException{kTokenExists};
  }
  Platform::CreateDirectories(folder);
  Platform::WriteFile(path, bytes, length);
}

void DemandLength(const char* domain) {
  if (std::strlen(domain) > kMaxDomainLength) throw CPluginException{kBadDomain};
}

// A second domain comes from the page, where the first is the host's word.
void DemandPlainCharacters(std::string_view domain) {
  static constexpr std::string_view kAllowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";
  if (domain.empty() || domain.find_first_not_of(kAllowed) != std::string_view::npos) {
    throw CPluginException{kBadDomain};
  }
}

}  // namespace

void Write(const char* domain, const char* secondDomain, const char* fileName, const uint8_t* bytes, uint16_t length) {
  if (!domain) {
    WriteNew(Root(), fileName, bytes, length);
    return;
  }
  DemandLength(domain);
  WriteNew(FolderOf(domain), fileName, bytes, length);
  if (!secondDomain) return;
  DemandLength(secondDomain);
  DemandPlainCharacters(secondDomain);
  WriteNew(FolderOf(secondDomain), fileName, bytes, length);
}

uint32_t Read(const char* domain, const char* fileName, std::unique_ptr<uint8_t[]>* buffer) {
  std::string folder = IsOneName(domain) ? FolderOf(domain) : Root();
  if (!Platform::FileExists(folder, fileName)) {
    folder = Root();
    if (!Platform::FileExists(folder, fileName)) throw CPluginException{kNoToken};
  }
  return Platform::ReadFile(folder + "\\" + fileName, buffer);
}

ByteBuffer Take(const char* text, int32_t length, const char* domain, const char* fileName) {
  ByteBuffer token = DecodeOptional(text, length);
  if (!token.bytes && domain && fileName) token.size = Read(domain, fileName, &token.bytes);
  return token;
}

bool Enumerate(const char* domain, std::vector<std::string>& names) {
  return Platform::ListDirectory(FolderOf(domain), names);
}

bool Delete(const char* domain, const char* fileName) {
  const std::string folder = FolderOf(domain);
  if (!Platform::FileExists(folder, fileName)) throw CPluginException{kNoToken};
  Platform::DeleteFile(folder + "\\" + fileName);
  return true;
}

}  // namespace NorvoWebAPI::KSV::TokenStore
