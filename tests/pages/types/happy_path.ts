// What a page does when all goes well, under TypeScript's strictest rules, and what the types must refuse.
/// <reference path="../../../kit/pages/ksv.d.ts" />

const APPLET = "8D67D9DD2AF54717AFF2FF7EF19DFADB";
ksv.plugin = document.getElementById("plugin");
ksv.must("zubRegisterEventCallback", APPLET, (event) => console.log(event.dataSrc + 1, event.appName.length));
ksv.must("setMouseUpCallback", (at) => ksv.must("wysMouseUp", "{" + at.XCode.toFixed() + "," + at.YCode.toFixed() + "}"));

const session: number = ksv.must("zubStartProvisioning", APPLET).sessionHandle;
const asked = ksv.call("zubEndProvisioning", APPLET, session, 0, "");
if (!ksv.tooSmall(asked)) throw new Error(ksv.explain(asked));
let token: string = ksv.must("zubEndProvisioning", APPLET, session, asked.requiredEncTokenLen, "").b64EncToken;
const made = ksv.must("zubGetOTP", APPLET, 0, token, "", 8, 512, "");
token = made.b64EncToken || token;
const texts: string[] = [made.OTP, made.b64OTP, ...ksv.must("zubEnumerateTokensDomainBinding").tokenFileNames];
const clicks: number = ksv.must("wysGetButtonUpCount").ButtonUpCount + ksv.must("zubGetVersion").version;
const started = ksv.call("zubInit");
if (!ksv.succeeded(started)) texts.push(ksv.explain(started, "zubInit") + started.pluginRetCode);
const listed = ksv.call("zubEnumerateTokensDomainBinding");
if (ksv.succeeded(listed)) texts.push(listed.tokenFileNames[0] + clicks);

// @ts-expect-error: no such method
ksv.must("zubGetOtp");
// @ts-expect-error: a session is a number
ksv.must("zubSendData", APPLET, "session", 0, "");
// @ts-expect-error: by time no token comes back
token = made.b64EncToken;
// @ts-expect-error: the call may have failed
token = ksv.call("zubGetOTP", APPLET, 0, token, "", 8, 512, "").OTP;
// @ts-expect-error: what succeeded has no lengths to ask for
made.requiredOTPDataLen;
