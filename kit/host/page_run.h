/// One page from the opening of its window to the end of its instance.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "kit/host/options.h"
#include "kit/host/page_host.h"
#include "kit/host/page_source.h"
#include "kit/host/page_window.h"
#include "kit/host/script_engine.h"
#include "kit/host/timers.h"
#include "kit/nphost/instance.h"
#include "kit/nphost/module.h"
#include "kit/program/exit_status.h"

namespace Kit {

class PageRun : private PageServices {
 public:
  /// Loads the module, opens the window, makes the instance. Throws `std::runtime_error` with a sentence for the user.
  explicit PageRun(const HostOptions& options);
  ~PageRun() override;

  /// Runs the scripts, then timers and messages until the page has finished; ends the instance and checks that it has
  /// released everything.
  ExitStatus Run(const std::vector<Script>& scripts);

 private:
  void Print(const std::string& line) override;
  void Finish(bool succeeded) override;
  void Click(int x, int y) override { window.Click(x, y); }
  uint32_t StartTimer(std::chrono::milliseconds delay, bool repeats) override { return timers.Start(delay, repeats); }
  void StopTimer(uint32_t timer) override { timers.Stop(timer); }
  void Uncaught(const std::string& error) override;

  void Fail();
  void Blame(const std::string& wrong);
  void GiveUp(const std::string& reason);
  void WaitForEvents(Timers::Clock::time_point deadline);
  void SavePicture();
  void EndInstance();

  const HostOptions& options;
  Timers timers;
  PageWindow window;
  PageHost host;
  std::unique_ptr<NpHost::Module> module;
  std::unique_ptr<ScriptEngine> engine;
  std::unique_ptr<NpHost::Instance> instance;
  std::optional<ExitStatus> outcome;
};

}  // namespace Kit
