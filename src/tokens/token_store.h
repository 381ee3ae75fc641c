/// Encrypted tokens on disk, one file each: in the folder `KSV_tokens` of the base path (the root), and in it one
/// folder for each domain. A domain that is empty or contains a separator can't have a folder (code 19). File names are
/// not checked here: `Platform` refuses every path outside of the base path, and its exceptions are passed on. Other
/// failures are `CPluginException`.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/byte_buffer.h"

namespace NorvoWebAPI::KSV::TokenStore {

/// Writes into the domain's folder, or the root for a null domain, and then a copy for the second domain if it isn't
/// null. A failure at the second leaves the first copy standing.
/// Codes: 18 the name leads to a file that exists, 19 a domain over 127 bytes or a second one with other characters
/// than letters, digits, "_", "." and "-", 21 and 13 as the file layer gives them.
void Write(const char* domain, const char* secondDomain, const char* fileName, const uint8_t* bytes, uint16_t length);

/// Reads the domain's file of that name, else the root's, and gives its length. A domain without a folder reads from
/// the root, without code 19. Code 20: in neither.
uint32_t Read(const char* domain, const char* fileName, std::unique_ptr<uint8_t[]>* buffer);

/// The token of a page: the bytes of its Base64 `text`; without a text, the domain's file of that name. No buffer with
/// neither.
ByteBuffer Take(const char* text, int32_t length, const char* domain, const char* fileName);

/// Appends the names in the domain's folder, as `Platform::ListDirectory`.
bool Enumerate(const char* domain, std::vector<std::string>& names);

/// Deletes the domain's file of that name. Code 20: it isn't there.
bool Delete(const char* domain, const char* fileName);

}  // namespace NorvoWebAPI::KSV::TokenStore
