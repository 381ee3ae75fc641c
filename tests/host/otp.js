// otp.html without its document: run after ksv.js and otp.js.
(function () {
  "use strict";
  var uri = "otpauth://totp/Example:alice?secret=GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ", before, password;
  ksv.plugin = plugin;
  console.log("account " + uri);
  ksv.must("zubInit");
  otp.provision(uri, "alice.token");
  before = Math.floor(Date.now() / 1000);
  password = otp.password("alice.token");
  console.log("password " + password + " made between " + before + " and " + Math.floor(Date.now() / 1000));
  ksv.must("zubDeInit");
  ksvBrowser.finish(true);
}());
