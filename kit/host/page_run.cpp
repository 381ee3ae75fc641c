#include "kit/host/page_run.h"

#include <cstdio>
#include <stdexcept>
#include <string>

#include "base/product.h"
#include "kit/host/complain.h"
#include "kit/program/paths.h"
#include "platform/desktop.h"

namespace Kit {
namespace {

std::unique_ptr<NpHost::Module> StartModule(const std::filesystem::path& path, PageHost& host) try {
  return std::make_unique<NpHost::Module>(path, host.Funcs());
} catch (const std::runtime_error& error) {
  throw std::runtime_error(TextOf(path) + ": " + error.what() + " --module names another one.");
}

NpHost::Instance::Attributes AttributesOf(const HostOptions& options) {
  return {{"type", NorvoWebAPI::KSV::kMimeType},
          {"width", std::to_string(options.width)},
          {"height", std::to_string(options.height)}};
}

}  // namespace

PageRun::PageRun(const HostOptions& options)
    : options(options),
      window(TextOf(options.pages.front().filename()), options.width, options.height),
      host([this](const std::string& misuse) { Blame(misuse); }),
      module(StartModule(options.module, host)),
      engine(std::make_unique<ScriptEngine>(static_cast<PageServices&>(*this), options.address)),
      instance(std::make_unique<NpHost::Instance>(host, module->Funcs(), host.AddInstance(),
                                                  NorvoWebAPI::KSV::kMimeType, AttributesOf(options))) {
  const NPError shown = instance->SetWindow(window.Handle(), options.width, options.height);
  if (shown != NPERR_NO_ERROR) {
    throw std::runtime_error("The plug-in takes no window: error " + std::to_string(shown) + ".");
  }
  engine->SetPlugin(instance->Scriptable());
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
  instance->SetWindow(nullptr, 0, 0);
  instance->Destroy();
  // The engine releases what script holds, so that only the plug-in's references are left when the object for script
  // ends.
  engine.reset();
  const uint32_t expected = 2;  // The plug-in's own reference, and the one that it gave the instance.
  if (host.References(instance->Scriptable()) > expected) {
    Blame("The plug-in left more than its own reference on the object that script had.");
  }
  instance.reset();
  for (const std::string& leak : host.Leaks()) Blame(leak);
  module.reset();
}

void PageRun::SavePicture() try { window.SavePicture(options.picture); } catch (const std::exception& error) {
  Blame(error.what());
}

void PageRun::Print(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);  // A script may read the transcript while the page runs.
}

void PageRun::Finish(bool succeeded) {
  if (!outcome) outcome = succeeded ? kExitPageSucceeded : kExitPageFailed;
}

void PageRun::Uncaught(const std::string& error) {
  Blame(error);
}

void PageRun::Fail() {
  if (!outcome || *outcome == kExitPageSucceeded) outcome = kExitPageFailed;
}

void PageRun::Blame(const std::string& wrong) {
  Complain(wrong);
  Fail();
}

void PageRun::GiveUp(const std::string& reason) {
  Complain(reason);
  outcome = kExitNoAnswer;
}

}  // namespace Kit
