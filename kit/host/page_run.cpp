#include "kit/host/page_run.h"

#include <cstdio>
#include <stdexcept>

#include "kit/host/accounts.h"
#include "kit/host/complain.h"
#include "kit/host/paths.h"
#include "platform/desktop.h"

namespace Kit {

PageRun::PageRun(const HostOptions& options)
    : options(options),
      window(TextOf(options.pages.front().filename()), options.width, options.height),
      module(std::make_unique<PluginModule>(options.module)),
      engine(std::make_unique<ScriptEngine>(static_cast<PageServices&>(*this), options.address)),
      instance(std::make_unique<PluginInstance>(*module, window.Handle(), options.width, options.height)),
      scriptable(instance->Scriptable()) {
  engine->SetPlugin(scriptable);
  if (const auto origin = window.Origin()) {
    Complain("The window begins at " + std::to_string(origin->x) + "," + std::to_string(origin->y) + " of the screen.");
  }
}

PageRun::~PageRun() {
  if (instance) EndInstance();
}

ExitStatus PageRun::Run(const std::vector<Script>& scripts) {
  const auto deadline = Timers::Clock::now() + std::chrono::seconds(options.timeoutSeconds);
  for (const Script& script : scripts) {
    if (!outcome) engine->Run(script);
  }
  while (!outcome) WaitForEvents(deadline);
  if (!options.picture.empty() && *outcome != kExitNoAnswer) SavePicture();
  EndInstance();
  return *outcome;
}

void PageRun::WaitForEvents(Timers::Clock::time_point deadline) {
  const auto now = Timers::Clock::now();
  if (now >= deadline) {
    return GiveUp("The page has not finished within " + std::to_string(options.timeoutSeconds) +
                  " s. It has to call ksvBrowser.finish(true or false); --timeout gives it longer.");
  }
  if (!window.IsOpen()) return GiveUp("The window was closed before the page had finished.");
  if (const auto due = timers.TakeDue(now)) {
    engine->Fire(*due);
  } else {
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(timers.Next(deadline) - now);
    platform::WaitForQueuedMessage(static_cast<DWORD>(wait.count()));
  }
  platform::PumpMessages();
}

void PageRun::EndInstance() {
  instance.reset();
  // The engine lets go of what script holds, so that only what the plug-in holds is left; then the host ends the
  // instance's object, as a browser does, and what that one held goes as well.
  Accounts& accounts = Accounts::Instance();
  const uint32_t ownReferences = 1;
  engine.reset();
  if (scriptable) {
    accounts.Release(scriptable);
    if (accounts.References(scriptable) > ownReferences) {
      Complain("The plug-in left more than its own reference on the object that script had.");
      Fail();
    }
    accounts.End(scriptable);
  }
  for (const std::string& complaint : accounts.Complaints()) {
    Complain(complaint);
    Fail();
  }
  module.reset();
}

void PageRun::SavePicture() try { window.SavePicture(options.picture); } catch (const std::exception& error) {
  Complain(error.what());
  Fail();
}

void PageRun::Print(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);  // Who reads along waits for it.
}

void PageRun::Finish(bool succeeded) {
  if (!outcome) outcome = succeeded ? kExitPageSucceeded : kExitPageFailed;
}

void PageRun::Uncaught(const std::string& error) {
  Complain(error);
  Fail();
}

void PageRun::Fail() {
  if (!outcome || *outcome == kExitPageSucceeded) outcome = kExitPageFailed;
}

void PageRun::GiveUp(const std::string& reason) {
  Complain(reason);
  outcome = kExitNoAnswer;
}

}  // namespace Kit
