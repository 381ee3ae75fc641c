// One-time passwords through the plug-in, in the two steps that a service's pages do: provision a token once, then ask
// for passwords. Needs ksv.js, with ksv.plugin set, and no document.
var otp = (function () {
  "use strict";

  var APPLET = "8D67D9DD2AF54717AFF2FF7EF19DFADB";  // the agent's OATH applet
  var PROVISIONING_URI = 0;                          // its data type for an otpauth URI

  // A session that knows the account of an otpauth URI.
  function begin(uri) {
    var session = ksv.must("zubStartProvisioning", APPLET).sessionHandle;
    ksv.must("zubSendData", APPLET, session, PROVISIONING_URI, ksv.toBase64(uri));
    return session;
  }

  function failed(name, result) { return new Error(name + " failed, " + ksv.explain(result, name)); }

  // Both capacities, as the library asks for them, in a second call.
  function ask(token, fileName) {
    var asked = ksv.call("zubGetOTP", APPLET, 0, token, "", 0, 0, fileName);
    if (!ksv.tooSmall(asked)) throw failed("zubGetOTP", asked);
    return ksv.must("zubGetOTP", APPLET, 0, token, "", asked.requiredOTPDataLen, asked.requiredEncTokenDataLen, fileName);
  }

  // Makes a token from an otpauth URI. It is kept on this machine under fileName, for pages of this origin alone.
  // For passwords by time: the plug-in does not change the file, so that one by counter would repeat its password.
  function provision(uri, fileName) {
    var session = begin(uri), asked;
    ksv.call("zubDeleteTokenDomainBinding", fileName);  // a token is never overwritten
    asked = ksv.call("zubEndProvisioningDomainBinding", APPLET, session, 0, fileName, true, "");
    if (!ksv.tooSmall(asked)) throw failed("zubEndProvisioningDomainBinding", asked);
    ksv.must("zubEndProvisioningDomainBinding", APPLET, session, asked.requiredEncTokenLen, fileName, true, "");
  }

  // A password from the token that is kept under fileName.
  function password(fileName) { return ask("", fileName).OTP; }

  // Makes a token that the page keeps itself, as it must with passwords by counter.
  function hold(uri) {
    var session = begin(uri), asked = ksv.call("zubEndProvisioning", APPLET, session, 0, "");
    if (!ksv.tooSmall(asked)) throw failed("zubEndProvisioning", asked);
    return ksv.must("zubEndProvisioning", APPLET, session, asked.requiredEncTokenLen, "").b64EncToken;
  }

  // The next password of a token that the page keeps. The token that is given back has to replace that one.
  function next(token) {
    var made = ask(token, "");
    return {password: made.OTP, token: made.b64EncToken || token};
  }

  return {provision: provision, password: password, hold: hold, next: next};
}());
