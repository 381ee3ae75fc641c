#include "kit/display/display.h"

#include <cstring>

#include "kit/display/channel.h"
#include "kit/display/painter.h"
#include "kit/display/utf8.h"
#include "kit/shared/handles.h"
#include "kit/shared/key_store.h"

namespace KsvDisplay {
namespace {

constexpr size_t kMaxContexts = 64;
constexpr size_t kMaxSessions = 64;
constexpr size_t kMaxCaption = 64;
constexpr size_t kMaxMessage = size_t{1024} * 1024;
constexpr size_t kMaxText = 4096;
/// The one set of features that hosts ask for.
constexpr uint32_t kFeatures = 0xFFFF;

enum MessageType : int32_t { kEcho = 0, kCapabilities = 1, kChannelSetup = 250 };
constexpr std::string_view kCapabilitiesText =
    R"({"name":"Reference display","version":"1.0","inputTypes":[1,2,3],"maxWidth":2048,"maxHeight":2048})";

/// Read for each use and never kept in memory.
SecretBytes UserKey() {
  return KeyStore(System::HomeFolder("KSV_DISPLAY_HOME", "ksv-display") / "display.key").LoadOrCreate();
}

/// Throws kBufferTooSmall, with the length that is needed stored, unless there is room.
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
  const size_t length = strnlen(caption, kMaxCaption + 1);
  const std::string_view text(caption, length);
  const std::optional<std::u32string> characters = DecodeUtf8(text);
  Require(
      length <= kMaxCaption && characters &&
          std::ranges::none_of(*characters, [](char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }),
      Status::kInvalidArgument);
  return std::string(text);
}

}  // namespace

uint32_t Display::Init(const char* caption) {
  std::string checked = CheckCaption(caption);
  const std::scoped_lock lock(mutex_);
  MakeRoomForContext();
  const uint32_t id = DrawHandle(contexts_);
  contexts_.emplace(id, Context{std::move(checked), nextAge_++});
  return id;
}

/// Hosts count initialisations and end only the last: what they forgot must not use up all contexts.
void Display::MakeRoomForContext() {
  if (contexts_.size() < kMaxContexts) return;
  auto oldest = contexts_.end();
  for (auto it = contexts_.begin(); it != contexts_.end(); ++it) {
    const bool inUse =
        std::ranges::any_of(sessions_, [&](const auto& entry) { return entry.second.context == it->first; });
    if (!inUse && (oldest == contexts_.end() || it->second.age < oldest->second.age)) oldest = it;
  }
  Require(oldest != contexts_.end(), Status::kTooManyContexts);
  contexts_.erase(oldest);
}

void Display::DeInit(uint32_t context) {
  std::unique_lock lock(mutex_);
  Require(contexts_.contains(context), Status::kUnknownContext);
  for (;;) {
    const auto session =
        std::ranges::find_if(sessions_, [&](const auto& entry) { return entry.second.context == context; });
    if (session == sessions_.end()) break;
    const uint32_t id = session->first;
    EndEvents(lock, id);
    sessions_.erase(id);
  }
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

void Display::EstablishSession(const SessionRequest& request, uint32_t& sessionId) {
  Require(request.window != 0 && request.features == kFeatures, Status::kInvalidArgument);
  Require(Painter::WindowStands(request.window), Status::kWindowGone);
  const std::scoped_lock lock(mutex_);
  Require(contexts_.contains(request.context), Status::kUnknownContext);
  for (auto& [id, session] : sessions_) {
    if (session.window != request.window) continue;
    if (session.context != request.context) {
      // Another page has come to this window: what the earlier one left is none of its business.
      session.context = request.context;
      session.image.reset();
      session.streamKey.clear();
    }
    sessionId = id;
    throw DisplayError(Status::kSessionStands);
  }
  // A window that is gone never asks again.
  std::erase_if(sessions_, [](const auto& entry) {
    return entry.second.events == nullptr && !Painter::WindowStands(entry.second.window);
  });
  Require(sessions_.size() < kMaxSessions, Status::kTooManySessions);
  const uint32_t id = DrawHandle(sessions_);
  Session& session = sessions_[id];
  session.context = request.context;
  session.window = request.window;
  sessionId = id;
}

/// Lets the lock go while it waits for the thread; another may come meanwhile, and is ended too.
void Display::EndEvents(std::unique_lock<std::mutex>& lock, uint32_t sessionId) {
  for (;;) {
    const auto found = sessions_.find(sessionId);
    if (found == sessions_.end() || found->second.events == nullptr) return;
    std::shared_ptr<EventThread> ending = found->second.events;
    lock.unlock();
    ending->Stop();
    lock.lock();
    const auto again = sessions_.find(sessionId);
    if (again != sessions_.end() && again->second.events == ending) again->second.events.reset();
  }
}

void Display::CloseSession(uint32_t sessionId) {
  std::unique_lock lock(mutex_);
  SessionAt(sessionId);
  EndEvents(lock, sessionId);
  const auto found = sessions_.find(sessionId);
  if (found == sessions_.end()) return;
  if (found->second.image) Painter::Uncover(found->second.window, found->second.image->area());
  sessions_.erase(found);
}

void Display::RegisterEvents(uint32_t sessionId, uint32_t mask, EventCallback callback, uint32_t context) {
  std::unique_lock lock(mutex_);
  SessionAt(sessionId);
  EndEvents(lock, sessionId);
  SessionAt(sessionId).events = std::make_shared<EventThread>(mask, callback, context);
}

void Display::WithdrawEvents(uint32_t sessionId) {
  std::unique_lock lock(mutex_);
  Require(SessionAt(sessionId).events != nullptr, Status::kNotRegistered);
  EndEvents(lock, sessionId);
}

/// A new image takes the old one's place, which may have covered more of the window.
void Display::ShowImage(Session& session, uint32_t sessionId, Image image, uint32_t eventBits) {
  if (session.image) Painter::Uncover(session.window, session.image->area());
  session.image = std::move(image);
  if (session.events != nullptr) session.events->Post(eventBits, sessionId, session.image->id());
}

void Display::CreateStdImage(uint32_t sessionId, Point origin, std::span<uint8_t> block) {
  Descriptor descriptor = ParseDescriptor(block);
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  while (descriptor.imageId == 0) descriptor.imageId = DrawHandle(sessions_);
  const uint32_t id = descriptor.imageId;
  const Point size = descriptor.size;
  Image image(std::move(descriptor), origin, contexts_.at(session.context).caption, block);
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
    Require(frame.tag.empty(), Status::kFrameNotAuthentic);
  } else {
    Channel::CheckTag(frame, Channel::FrameKey(UserKey(), streamKey));
  }
  lock.lock();
  Session& session = SessionAt(sessionId);
  // Checked by another key than the one that holds now is not checked.
  Require(session.streamKey == streamKey, Status::kFrameNotAuthentic);
  while (imageId == 0) imageId = DrawHandle(sessions_);
  ShowImage(session, sessionId, Image(frame.pixels, imageId, origin, bytes), kImageChanged | kFrameArrived);
}

void Display::ReleaseImage(uint32_t sessionId, uint32_t imageId) {
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Painter::Uncover(session.window, ImageAt(session, imageId).area());
  session.image.reset();
}

void Display::RepaintImage(uint32_t sessionId, uint32_t imageId) {
  std::unique_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Image& image = ImageAt(session, imageId);
  const uint32_t window = session.window;
  const Point origin = image.origin();
  if (image.picture == nullptr) {
    // Hosts repaint for each message of the window, so the picture is drawn once for each change.
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
  if (!keysFile.empty()) System::WritePrivateFile(keysFile, AsBytes(keys), System::IfPresent::kReplace);
}

/// Runs `work` on the image; what it gives are the bits of the event to raise.
template <class Work>
void Display::ChangeImage(uint32_t sessionId, uint32_t imageId, Work work) {
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Image& image = ImageAt(session, imageId);
  const uint32_t bits = work(image);
  if (bits != 0 && session.events != nullptr) session.events->Post(bits, sessionId, image.id());
}

void Display::MouseDown(uint32_t sessionId, uint32_t imageId, Point at) {
  ChangeImage(sessionId, imageId, [=](Image& image) { return image.Press(at); });
}

void Display::MouseUp(uint32_t sessionId, uint32_t imageId, Point at) {
  ChangeImage(sessionId, imageId, [=](Image& image) { return image.Release(at); });
}

void Display::ClearInput(uint32_t sessionId, uint32_t imageId) {
  ChangeImage(sessionId, imageId, [](Image& image) {
    image.Clear();
    return kImageChanged;
  });
}

void Display::SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WideChar* text) {
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
    Store(out, SealInput(input, UserKey(), SessionAt(sessionId).streamKey));
    image.Clear();
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
    if (messageType == kChannelSetup) {
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
      Append(answer, AsBytes(kCapabilitiesText));
      break;
    case kChannelSetup:
      answer = Channel::AnswerSetup(UserKey(), sent);
      break;
    default:
      throw DisplayError(Status::kUnknownMessageType);
  }
  if (!answers) answer.clear();
  Store(out, answer);
}

}  // namespace KsvDisplay
