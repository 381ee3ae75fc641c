#include "kit/display/display.h"

#include <cstring>
#include <nlohmann/json.hpp>

#include "kit/display/channel.h"
#include "kit/display/painter.h"
#include "kit/display/visible_text.h"
#include "kit/shared/handles.h"
#include "kit/shared/key_store.h"
#include "kit/shared/utf8.h"

namespace KsvDisplay {
namespace {

constexpr size_t kMaxContexts = 64;
constexpr size_t kMaxSessions = 64;
constexpr size_t kMaxCaption = 64;
constexpr size_t kMaxMessage = size_t{1024} * 1024;
constexpr size_t kMaxText = 4096;
/// The only window kind that is supported.
constexpr uint32_t kWindowKind = 0xFFFF;

enum MessageType : int32_t { kEcho = 0, kCapabilities = 1, kVerdict = 3, kChannelSetup = 250 };

std::string CapabilitiesText() {
  return nlohmann::ordered_json{{"name", "Reference display"},
                                {"version", "1.0"},
                                {"inputTypes", {InputType::kPin, InputType::kConfirmation, InputType::kText}},
                                {"maxWidth", kMaxImageSide},
                                {"maxHeight", kMaxImageSide}}
      .dump();
}

/// Read again for each use, and in memory only meanwhile.
SecretBytes UserKey() {
  return KeyStore(System::HomeFolder("KSV_DISPLAY_HOME", "ksv-display") / "display.key").LoadOrCreate();
}

/// Stores the required length. Throws kBufferTooSmall when the capacity is less.
void CheckCapacity(OutputBuffer out, size_t size) {
  const size_t capacity = out.data != nullptr ? *out.length : 0;
  *out.length = static_cast<uint32_t>(size);
  Require(size <= capacity, Status::kBufferTooSmall);
}

void Store(OutputBuffer out, ByteView answer) {
  CheckCapacity(out, answer.size());
  std::ranges::copy(answer, out.data);
}

template <class Number>
void StoreLittle(std::span<uint8_t> block, size_t at, Number value) {
  for (size_t i = 0; i < sizeof(Number); ++i) block[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

std::string CheckCaption(const char* caption) {
  if (caption == nullptr) return {};
  std::string text(caption, strnlen(caption, kMaxCaption + 1));
  const std::optional<std::u32string> codePoints = CodePointsOf(text);
  // With characters that are invisible or change the direction of others, one caption could look like another.
  Require(text.size() <= kMaxCaption && codePoints && std::ranges::all_of(*codePoints, IsVisible),
          Status::kInvalidArgument);
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

/// Replaces the session's image. The old one's area is invalidated, because it may have been larger.
void Display::ShowImage(Session& session, uint32_t sessionId, Image image, uint32_t eventBits) {
  if (session.image) Painter::Invalidate(session.window, session.image->area());
  session.image = std::move(image);
  const auto type = [this, sessionId](TypedKey key) { return TypeKey(sessionId, key); };
  session.image->watch = {session.window,
                          {[this, sessionId] { RepaintImage(sessionId, 0); },
                           session.image->takesKeys() ? std::function<bool(TypedKey)>(type) : nullptr}};
  if (session.events) session.events->Post(eventBits, sessionId, session.image->id());
}

void Display::CreateStdImage(uint32_t sessionId, Point origin, std::span<uint8_t> block) {
  Require(block.size() <= kMaxDescriptorSize, Status::kBadLogo);
  // The caller may change its memory at any time: the bytes that were validated must be those that are shown and
  // sealed.
  const Bytes source(block.begin(), block.end());
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Descriptor descriptor = ParseDescriptor(source, Painter::DotsPerInch(session.window));
  while (descriptor.imageId == 0) descriptor.imageId = RandomHandle(sessions_);
  const uint32_t id = descriptor.imageId;
  const Point size = descriptor.size;
  Image image(std::move(descriptor), origin, contexts_.at(session.context).caption, source);
  StoreLittle(block, kDescriptorIdOffset, id);
  StoreLittle(block, kDescriptorSizeOffset, size.x);
  StoreLittle(block, kDescriptorSizeOffset + 2, size.y);
  ShowImage(session, sessionId, std::move(image), kImageChanged);
}

void Display::SubmitFrame(uint32_t sessionId, uint32_t imageId, Point origin, ByteView bytes) {
  const Channel::Frame frame = Channel::ReadFrame(bytes);
  std::unique_lock lock(mutex_);
  const SecretBytes streamKey = SessionAt(sessionId).streamKey;
  lock.unlock();
  if (streamKey.empty()) {
    Require(frame.tag().empty(), Status::kFrameNotAuthentic);
  } else {
    Channel::CheckTag(frame, Channel::FrameKey(UserKey(), streamKey));
  }
  lock.lock();
  Session& session = SessionAt(sessionId);
  // The key may have been replaced while the lock was released.
  Require(session.streamKey == streamKey, Status::kFrameNotAuthentic);
  while (imageId == 0) imageId = RandomHandle(sessions_);
  ShowImage(session, sessionId, Image(frame.pixels, imageId, origin, frame.bytes), kImageChanged | kFrameArrived);
}

void Display::ReleaseImage(uint32_t sessionId, uint32_t imageId) {
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Painter::Invalidate(session.window, ImageAt(session, imageId).area());
  session.image.reset();
}

void Display::RepaintImage(uint32_t sessionId, uint32_t imageId) {
  std::unique_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Image& image = ImageAt(session, imageId);
  const uint32_t window = session.window;
  const uint32_t id = image.id();
  const Rect area = image.area();
  const Point origin = image.origin();
  if (image.picture == nullptr) {
    // Hosts repaint for each message of the window, so the picture is kept until the image changes.
    const Scene scene = image.Draw();
    auto picture = std::make_shared<Picture>(DrawShapes(scene));
    Painter::DrawLabels(*picture, scene.labels);
    image.picture = std::move(picture);
  }
  const std::shared_ptr<const Picture> picture = image.picture;
  const std::filesystem::path keysFile = System::PathFromEnvironment("KSV_DISPLAY_LAYOUT");
  const std::string keys = keysFile.empty() ? std::string() : image.ListKeys();
  lock.unlock();
  Painter::Show(window, origin, *picture);
  lock.lock();
  // An image that was removed while the lock was released has just been painted once more.
  const auto found = sessions_.find(sessionId);
  if (found == sessions_.end() || !found->second.image || found->second.image->id() != id) {
    Painter::Invalidate(window, area);
  }
  lock.unlock();
  if (!keysFile.empty()) System::WritePrivateFile(keysFile, AsBytes(keys), System::IfPresent::kReplace);
}

/// Runs `work` on the image. It returns the bits of the event to post, 0 for none.
template <class Work>
void Display::ChangeImage(uint32_t sessionId, uint32_t imageId, Work work) {
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Image& image = ImageAt(session, imageId);
  const uint32_t bits = work(image);
  if (bits != 0 && session.events) session.events->Post(bits, sessionId, image.id());
}

void Display::MouseDown(uint32_t sessionId, uint32_t imageId, Point at) {
  ChangeImage(sessionId, imageId, [=](Image& image) { return image.Press(at); });
}

void Display::MouseUp(uint32_t sessionId, uint32_t imageId, Point at) {
  ChangeImage(sessionId, imageId, [=](Image& image) { return image.Release(at); });
}

bool Display::TypeKey(uint32_t sessionId, TypedKey key) {
  bool taken = false;
  ChangeImage(sessionId, 0, [&](Image& image) {
    const std::optional<uint32_t> bits = image.Type(key);
    taken = bits.has_value();
    return bits.value_or(0);
  });
  return taken;
}

void Display::ClearInput(uint32_t sessionId, uint32_t imageId) {
  ChangeImage(sessionId, imageId, [](Image& image) {
    image.Clear();
    return kImageChanged;
  });
}

void Display::SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text) {
  Require((text != nullptr) == (length > 0), Status::kInvalidArgument);
  Require(length <= kMaxText, Status::kBadText);
  ChangeImage(sessionId, imageId, [=](Image& image) {
    if (text != nullptr) {
      image.SubmitText(text, length);
    } else {
      image.Submit();
    }
    return kImageChanged | kInputCompleted;
  });
}

void Display::GetResponse(uint32_t sessionId, uint32_t imageId, OutputBuffer out) {
  ChangeImage(sessionId, imageId, [&](Image& image) {
    const Input input = image.CompleteInput();
    CheckCapacity(out, SealedSize(input.content.size()));
    const Bytes sealed = SealInput(input, UserKey(), SessionAt(sessionId).streamKey);
    // The last step that can fail, so that no input is cleared without being returned.
    image.Finish(Notice::kTaken);
    std::ranges::copy(sealed, out.data);
    return kImageChanged;
  });
}

void Display::SetStreamKey(uint32_t sessionId, ByteView key) {
  Require(!key.empty() && key.size() <= Channel::kStreamKeySize, Status::kInvalidArgument);
  const std::scoped_lock lock(mutex_);
  SessionAt(sessionId).streamKey.assign(key.begin(), key.end());
}

void Display::SendRecv(uint32_t context, uint32_t sessionId, int32_t messageType, ByteView sent, OutputBuffer out,
                       bool answers) {
  {
    const std::scoped_lock lock(mutex_);
    Require(contexts_.contains(context), Status::kUnknownContext);
    if (messageType == kChannelSetup || messageType == kVerdict) {
      Require(SessionAt(sessionId).context == context, Status::kUnknownSession);
    }
  }
  Require(sent.size() <= kMaxMessage, Status::kInvalidArgument);
  SecretBytes answer;
  switch (messageType) {
    case kEcho:
      Append(answer, sent);
      break;
    case kCapabilities:
      Append(answer, AsBytes(CapabilitiesText()));
      break;
    case kVerdict:
      ChangeImage(sessionId, 0, [verdict = ReadVerdict(Bytes(sent.begin(), sent.end()))](Image& image) {
        image.Tell(verdict);
        return kImageChanged;
      });
      break;
    case kChannelSetup:
      answer = Channel::AnswerSetup(UserKey(), Bytes(sent.begin(), sent.end()));
      break;
    default:
      throw DisplayError(Status::kUnknownMessageType);
  }
  if (!answers) answer.clear();
  Store(out, answer);
}

}  // namespace KsvDisplay
