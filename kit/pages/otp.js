// One-time passwords through the plug-in, in the two steps that a service's pages do: provision a token once, then ask
// for passwords. Needs ksv.js, with ksv.plugin set, and no document.
var otp = (function () {
  "use strict";

  var APPLET = "8D67D9DD2AF54717AFF2FF7EF19DFADB";  // the agent's OATH applet
  var PROVISIONING_URI = 0;                          // its data type for an otpauth URI
  var TOO_SMALL = 11;                                // fnRetCode: call again with the length that is told

  // Makes a token from an otpauth URI. It is kept on this machine under fileName, for pages of this origin alone.
  function provision(uri, fileName) {
    var session = ksv.must("zubStartProvisioning", APPLET).sessionHandle;
    ksv.must("zubSendData", APPLET, session, PROVISIONING_URI, ksv.toBase64(uri));
    ksv.call("zubDeleteTokenDomainBinding", fileName);  // a token is never overwritten

    var asked = ksv.call("zubEndProvisioningDomainBinding", APPLET, session, 0, fileName, true, "");
    if (asked.fnRetCode !== TOO_SMALL) throw new Error("zubEndProvisioningDomainBinding failed, " + ksv.explain(asked));
    ksv.must("zubEndProvisioningDomainBinding", APPLET, session, asked.requiredEncTokenLen, fileName, true, "");
  }

  // A password from the token that is kept under fileName.
  function password(fileName) {
    var asked = ksv.call("zubGetOTP", APPLET, 0, "", "", 0, 0, fileName);
    if (asked.fnRetCode !== TOO_SMALL) throw new Error("zubGetOTP failed, " + ksv.explain(asked));
    return ksv.must("zubGetOTP", APPLET, 0, "", "", asked.requiredOTPDataLen, asked.requiredEncTokenDataLen,
                    fileName).OTP;
  }

  return {provision: provision, password: password};
}());
