#include <algorithm>
#include <cstring>

#include "kit/display/display.h"
#include "kit/display/painter.h"
#include "kit/shared/handles.h"

// What of the display's is there before an image: contexts, sessions and the registrations of callbacks.
namespace KsvDisplay {
namespace {

constexpr size_t kMaxContexts = 64;
constexpr size_t kMaxSessions = 64;
constexpr size_t kMaxCaption = 64;
/// The only window kind that is supported.
constexpr uint32_t kWindowKind = 0xFFFF;

std::string CheckCaption(const char* caption) {
  if (caption == nullptr) return {};
  std::string text(caption, strnlen(caption, kMaxCaption + 1));
  Require(IsShowable(text, kMaxCaption), Status::kInvalidArgument);
  return text;
}

}  // namespace

uint32_t Display::Init(const char* caption) {
  std::string checked = CheckCaption(caption);
  const std::scoped_lock lock(mutex_);
  MakeRoomForContext();
  const uint32_t id = RandomHandle(contexts_);
  contexts_.emplace(id, Context{std::move(checked), nextAge_++});
  return id;
}

/// Hosts count initialisations and end only the last one, so contexts are left over: these are dropped when all are in
/// use.
void Display::MakeRoomForContext() {
  if (contexts_.size() < kMaxContexts) return;
  DropSessionsOfClosedWindows();
  for (;;) {
    auto oldest = contexts_.end();
    for (auto it = contexts_.begin(); it != contexts_.end(); ++it) {
      const bool inUse =
          std::ranges::any_of(sessions_, [&](const auto& entry) { return entry.second.context == it->first; });
      if (!inUse && (oldest == contexts_.end() || it->second.age < oldest->second.age)) oldest = it;
    }
    if (oldest != contexts_.end()) {
      contexts_.erase(oldest);
      return;
    }
    Require(DropOldestSession(), Status::kTooManyContexts);
  }
}

/// False, without effect, while its callback runs.
bool Display::DropSession(uint32_t sessionId) {
  Session& session = sessions_.at(sessionId);
  if (session.events && !session.events->calls->TryEnd()) return false;
  if (session.image) Painter::Invalidate(session.window, session.image->area());
  sessions_.erase(sessionId);
  return true;
}

/// Drops the oldest session without an image: a host that has left it behind will not end it. False when there is none.
bool Display::DropOldestSession() {
  std::map<uint64_t, uint32_t> byAge;
  for (const auto& [id, session] : sessions_) {
    if (!session.image) byAge.emplace(session.age, id);
  }
  return std::ranges::any_of(byAge, [this](const auto& entry) { return DropSession(entry.second); });
}

void Display::DropSessionsOfClosedWindows() {
  std::vector<uint32_t> gone;
  for (const auto& [id, session] : sessions_) {
    if (!Painter::WindowExists(session.window)) gone.push_back(id);
  }
  for (const uint32_t id : gone) DropSession(id);
}

void Display::DeInit(uint32_t context) {
  std::unique_lock lock(mutex_);
  Require(contexts_.contains(context), Status::kUnknownContext);
  EndSessions(lock, [context](const auto& entry) { return entry.second.context == context; });
  contexts_.erase(context);
}

Display::Session& Display::SessionAt(uint32_t sessionId) {
  const auto found = sessions_.find(sessionId);
  Require(found != sessions_.end(), Status::kUnknownSession);
  return found->second;
}

Image& Display::ImageAt(Session& session, uint32_t imageId) {
  Require(session.image && (imageId == 0 || imageId == session.image->id()), Status::kUnknownImage);
  return *session.image;
}

void Display::EstablishSession(WysSessionRequest request, uint32_t& sessionId) {
  Require(request.window != 0 && request.windowKind == kWindowKind, Status::kInvalidArgument);
  Require(Painter::WindowExists(request.window), Status::kWindowGone);
  const std::scoped_lock lock(mutex_);
  Require(contexts_.contains(request.displayContext), Status::kUnknownContext);
  for (auto& [id, session] : sessions_) {
    if (session.window != request.window) continue;
    if (session.context != request.displayContext) {
      // Another page is in this window now: it must not see what the earlier one left.
      if (session.image) Painter::Invalidate(session.window, session.image->area());
      session.context = request.displayContext;
      session.image.reset();
      session.streamKey.clear();
      session.request = {};
    }
    session.age = nextAge_++;
    sessionId = id;
    throw DisplayError(Status::kSessionStands);
  }
  DropSessionsOfClosedWindows();
  Require(sessions_.size() < kMaxSessions || DropOldestSession(), Status::kTooManySessions);
  const uint32_t id = RandomHandle(sessions_);
  Session& session = sessions_[id];
  session.context = request.displayContext;
  session.window = request.window;
  session.watch = UserInput::Watch(request.window);
  session.age = nextAge_++;
  sessionId = id;
}

/// Matches the session while it belongs to the same context as now: another one may take it over while the lock is
/// released.
Display::Filter Display::InSameContext(uint32_t sessionId) {
  return [sessionId, context = SessionAt(sessionId).context](const auto& entry) {
    return entry.first == sessionId && entry.second.context == context;
  };
}

/// Ends the registrations of the matching sessions, or none when one of their callbacks does not return. Releases the
/// lock while it waits; registrations that are added meanwhile are ended too.
void Display::EndEvents(std::unique_lock<std::mutex>& lock, const Filter& filter) {
  std::vector<CallbackHold> holds;
  for (;;) {
    const auto next = std::ranges::find_if(sessions_, [&](const auto& entry) {
      const auto& events = entry.second.events;
      const auto isOfThis = [&](const CallbackHold& hold) { return hold.IsOf(events->calls); };
      return events && filter(entry) && std::ranges::none_of(holds, isOfThis);
    });
    if (next == sessions_.end()) break;
    auto calls = next->second.events->calls;
    lock.unlock();
    holds.emplace_back(std::move(calls));
    Require(holds.back().wait() == CallbackThread::Wait::kDone, Status::kCallbackRunning);
    lock.lock();
  }
  for (auto& entry : sessions_) {
    if (!entry.second.events || !filter(entry)) continue;
    entry.second.events->calls->End();
    entry.second.events.reset();
  }
}

void Display::EndSessions(std::unique_lock<std::mutex>& lock, const Filter& filter) {
  EndEvents(lock, filter);
  std::erase_if(sessions_, [&](const auto& entry) {
    if (!filter(entry)) return false;
    if (entry.second.image) Painter::Invalidate(entry.second.window, entry.second.image->area());
    return true;
  });
}

void Display::CloseSession(uint32_t sessionId) {
  std::unique_lock lock(mutex_);
  EndSessions(lock, InSameContext(sessionId));
}

void Display::RegisterEvents(uint32_t sessionId, uint32_t mask, EventCallback callback, uint32_t context) {
  std::unique_lock lock(mutex_);
  const Filter filter = InSameContext(sessionId);
  // First, so that the old registration is kept when this fails.
  EventRegistration events{mask, callback, context, std::make_shared<CallbackRegistration>(callbacks_)};
  EndEvents(lock, filter);
  const auto session = std::ranges::find_if(sessions_, filter);
  Require(session != sessions_.end(), Status::kUnknownSession);
  session->second.events = std::move(events);
}

void Display::WithdrawEvents(uint32_t sessionId) {
  std::unique_lock lock(mutex_);
  Require(SessionAt(sessionId).events.has_value(), Status::kNotRegistered);
  EndEvents(lock, InSameContext(sessionId));
}

}  // namespace KsvDisplay
