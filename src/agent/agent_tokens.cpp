// The tokens that are kept for a page's origin.
#include <vector>

#include "agent/agent_operation.h"
#include "agent/cksv_plugin_zub.h"
#include "tokens/token_store.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr auto kNoCheck = [](const Outcome&) { return true; };

}  // namespace

Outcome CKSVPluginZUB::EnumTokens(const char* domain, JSObject& result) {
  return RunChecked("EnumTokens", kAgentOk, CodedExceptions::All, kNoCheck, [&](Outcome& outcome) {
    std::vector<std::string> names;
    // A missing folder is an origin without tokens, not a failure.
    TokenStore::Enumerate(domain, names);
    JSObject& list = result["tokenFileNames"];
    list.ToArray();
    for (uint32_t i = 0; i < names.size(); ++i) list[i] = JSObject(names[i]);
    outcome.pluginCode = kPluginOk;
  });
}

Outcome CKSVPluginZUB::DelTokens(const char* domain, const char* fileName) {
  return RunChecked("DelTokens", kAgentOk, CodedExceptions::All, kNoCheck, [&](Outcome& outcome) {
    if (!fileName || !*fileName) return;
    TokenStore::Delete(domain, fileName);
    outcome.pluginCode = kPluginOk;
  });
}

}  // namespace NorvoWebAPI::KSV
