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

// False for an origin with a slash, as the address of a page without a host keeps them: it could lead into the folder
// of another origin. An empty one would lead to the root, which belongs to no page.
bool HasFolder(std::string_view domain) {
  return !domain.empty() && domain.find_first_of("\\/") == std::string_view::npos;
}

void Demand(bool isGoodDomain) {
  if (!isGoodDomain) throw CPluginException{kBadDomain};
}

std::string FolderOf(const char* domain) {
  Demand(HasFolder(domain));
  return Root() + "\\" + domain;
}

bool HasPlainCharacters(std::string_view domain) {
  static constexpr std::string_view kAllowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";
  return domain.find_first_not_of(kAllowed) == std::string_view::npos;
}

void WriteNew(const std::string& folder, const char* fileName, const uint8_t* bytes, uint16_t length) {
  if (Platform::FileExists(folder, fileName)) throw CPluginException{kTokenExists};
  Platform::CreateDirectories(folder);
  const std::string path = folder + "\\" + fileName;
  // A name may lead to an existing file by ".." or by characters that the system ignores. It is not written over, and
  // outside the base path the page doesn't learn that it exists.
  Platform::CheckPath(path);
  if (Platform::OpenForReading(path).is_open()) throw CPluginException{kTokenExists};
  Platform::WriteFile(path, bytes, length);
}

}  // namespace

void Write(const char* domain, const char* secondDomain, const char* fileName, const uint8_t* bytes, uint16_t length) {
  if (!domain) return WriteNew(Root(), fileName, bytes, length);
  Demand(std::strlen(domain) <= kMaxDomainLength);
  WriteNew(FolderOf(domain), fileName, bytes, length);
  if (!secondDomain) return;
  Demand(std::strlen(secondDomain) <= kMaxDomainLength && HasPlainCharacters(secondDomain));
  WriteNew(FolderOf(secondDomain), fileName, bytes, length);
}

uint32_t Read(const char* domain, const char* fileName, std::unique_ptr<uint8_t[]>* buffer) {
  std::string folder = HasFolder(domain) ? FolderOf(domain) : Root();
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
