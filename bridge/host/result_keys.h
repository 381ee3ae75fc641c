/// The keys of the objects that the module gives: a browser can't list them, so the host asks for each.
#pragma once

namespace Bridge {

/// Those of the results in docs/page-api.md, and of the position that a mouse function of the page's gets.
inline constexpr const char* kResultKeys[] = {
    "pluginRetCode",  "fnRetCode",          "sessionHandle", "version",       "OTP",
    "b64OTP",         "requiredOTPDataLen", "b64EncToken",   "requiredEncTokenDataLen",
    "requiredEncTokenLen", "b64Data",       "requiredDataLen", "tokenFileNames", "instanceID",
    "instanceId",     "manufacturer",       "model",         "serialNumber",  "promptRequired",
    "ImageId",        "ClientInput",        "b64WysData",    "Length",        "ButtonUpCount",
    "status",         "XCode",              "YCode"};

}  // namespace Bridge
