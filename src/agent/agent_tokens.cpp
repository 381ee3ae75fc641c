// A page's view of the tokens that are kept for its origin.
#include <vector>

#include "agent/agent_operation.h"
#include "agent/cksv_plugin_zub.h"
#include "tokens/token_store.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr auto kNoCheck = [] { return true; };

}  // namespace

bool CKSVPluginZUB::EnumTokens(const char* domain, JSObject& result) {
  return RunChecked("EnumTokens", kAgentOk, kNoCheck, TellsApart::BadAllocAndCode, result, [&] {
    std::vector<std::string> names;
    // A folder that isn't there holds no tokens: that is no failure.
    TokenStore::Enumerate(domain, names);
    JSObject& list = result["tokenFileNames"];
    list.ToArray();
    for (uint32_t i = 0; i < names.size(); ++i) list[i] = JSObject(names[i]);
    StorePluginCode(result, kPluginOk);
  });
}

bool CKSVPluginZUB::DelTokens(const char* domain, const char* fileName, JSObject& result) {
  return RunChecked("DelTokens", kAgentOk, kNoCheck, TellsApart::BadAllocAndCode, result, [&] {
    if (!fileName || !*fileName) return;
    TokenStore::Delete(domain, fileName);
    StorePluginCode(result, kPluginOk);
  });
}

}  // namespace NorvoWebAPI::KSV
