/// The keys of the objects that the module gives: a browser can't list them, so the host asks for each.
#pragma once

namespace Bridge {

/// Those of the results in docs/page-api.md, and of what the page's functions get.
inline constexpr const char* kResultKeys[] = {"pluginRetCode",
                                              "fnRetCode",
                                              "sessionHandle",
                                              "version",
                                              "OTP",
                                              "b64OTP",
                                              "requiredOTPDataLen",
                                              "b64EncToken",
                                              "requiredEncTokenDataLen",
                                              "requiredEncTokenLen",
                                              "b64Data",
                                              "requiredDataLen",
                                              "tokenFileNames",
                                              "instanceID",
                                              "instanceId",
                                              "manufacturer",
                                              "model",
                                              "serialNumber",
                                              "promptRequired",
                                              "ImageId",
                                              "ClientInput",
                                              "b64WysData",
                                              "Length",
                                              "ButtonUpCount",
                                              "status",
                                              "XCode",
                                              "YCode",
                                              "callback",
                                              "appName",
                                              "dataSrc"};

}  // namespace Bridge
