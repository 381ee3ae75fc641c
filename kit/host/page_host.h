/// The browser that the page host is to the plug-in: its window is the script engine's global object.
#pragma once

#include <functional>
#include <string>

#include "kit/nphost/host.h"

namespace Kit {

class PageHost : public NpHost::Host {
 public:
  /// `report` takes a sentence for each wrong use of the interface.
  explicit PageHost(NpHost::Report report);

 private:
  NPObject* WindowOf(NPP instance) override;
  NPError GetUrlNotify(NPP instance, const char* url, const char* target, void* notifyData) override;
  void ShowStatus(NPP instance, const char* message) override;
  const char* UserAgent() override { return "ksv-host"; }
  void SetException(NPObject* object, const char* message) override;
  void ReportMisuse(const std::string& misuse) override { report(misuse); }

  const NpHost::Report report;
};

}  // namespace Kit
