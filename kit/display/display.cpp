#include "kit/display/display.h"

#include <nlohmann/json.hpp>

#include "kit/display/channel.h"
#include "kit/display/disclosure.h"
#include "kit/display/painter.h"
#include "kit/shared/handles.h"
#include "kit/shared/key_store.h"

namespace KsvDisplay {
namespace {

constexpr size_t kMaxMessage = size_t{1024} * 1024;
constexpr size_t kMaxText = 4096;

enum MessageType : int32_t { kEcho = 0, kCapabilities = 1, kRequest = 2, kVerdict = 3, kChannelSetup = 250 };

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

}  // namespace

/// Replaces the session's image. The old one's area is invalidated, because it may have been larger.
void Display::ShowImage(Session& session, uint32_t sessionId, Image image, uint32_t eventBits) {
  if (session.image) Painter::Invalidate(session.window, session.image->area());
  session.image = std::move(image);
  session.request = {};
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
  Image image(std::move(descriptor), origin, contexts_.at(session.context).caption, session.request, source);
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
  ShowImage(session, sessionId, Image(frame.pixels, imageId, origin, session.request.challenge, frame.bytes),
            kImageChanged | kFrameArrived);
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
  const std::filesystem::path keysFile = Disclosure::KeysFile();
  const std::string keys = keysFile.empty() ? std::string() : image.ListKeys();
  lock.unlock();
  Painter::Show(window, origin, *picture);
  lock.lock();
  const auto found = sessions_.find(sessionId);
  if (found == sessions_.end() || !found->second.image || found->second.image->id() != id) {
    // An image that was removed while the lock was released has just been painted once more.
    Painter::Invalidate(window, area);
  } else if (found->second.image->picture == picture) {
    found->second.image->NoteShown();
  }
  lock.unlock();
  if (!keysFile.empty()) System::WritePrivateFile(keysFile, AsBytes(keys), System::IfPresent::kReplace);
}

void Display::RequireUser(const Session& session, const Image& image, UserInput::Button button, Point at) {
  // Such a frame is the page's own, and hosts tell the page of no clicks on it.
  if (image.isRemote() && session.streamKey.empty()) return;
  UserInput::Take(session.window, button, at);
  UserInput::RequireVisible(session.window, image.area());
}

/// Runs `work` on session and image. It returns the bits of the event to post, 0 for none.
template <class Work>
void Display::ChangeImage(uint32_t sessionId, uint32_t imageId, Work work) {
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  Image& image = ImageAt(session, imageId);
  const uint32_t bits = work(session, image);
  if (bits != 0 && session.events) session.events->Post(bits, sessionId, image.id());
}

void Display::MouseDown(uint32_t sessionId, uint32_t imageId, Point at) {
  ChangeImage(sessionId, imageId, [=](const Session& session, Image& image) {
    RequireUser(session, image, UserInput::Button::kPressed, at);
    return image.Press(at);
  });
}

void Display::MouseUp(uint32_t sessionId, uint32_t imageId, Point at) {
  ChangeImage(sessionId, imageId, [=](const Session& session, Image& image) {
    RequireUser(session, image, UserInput::Button::kReleased, at);
    return image.Release(at);
  });
}

/// Throws, and leaves the key to the window, while the user can't see where it goes.
bool Display::TypeKey(uint32_t sessionId, TypedKey key) {
  bool taken = false;
  ChangeImage(sessionId, 0, [&](const Session& session, Image& image) {
    UserInput::RequireVisible(session.window, image.area());
    const std::optional<uint32_t> bits = image.Type(key);
    taken = bits.has_value();
    return bits.value_or(0);
  });
  return taken;
}

void Display::ClearInput(uint32_t sessionId, uint32_t imageId) {
  ChangeImage(sessionId, imageId, [](const Session&, Image& image) {
    image.Clear();
    return kImageChanged;
  });
}

void Display::SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text) {
  Require((text != nullptr) == (length > 0), Status::kInvalidArgument);
  Require(length <= kMaxText, Status::kBadText);
  ChangeImage(sessionId, imageId, [=](const Session&, Image& image) {
    if (text != nullptr) {
      image.SubmitText(text, length);
    } else {
      image.Submit();
    }
    return kImageChanged | kInputCompleted;
  });
}

void Display::GetResponse(uint32_t sessionId, uint32_t imageId, OutputBuffer out) {
  ChangeImage(sessionId, imageId, [&](const Session& session, Image& image) {
    const Input input = image.CompleteInput();
    CheckCapacity(out, SealedSize(input));
    const Bytes sealed = SealInput(input, UserKey(), session.streamKey);
    // The last step that can fail, so that no input is cleared without being returned.
    image.Finish(Notice::kTaken);
    std::ranges::copy(sealed, out.data);
    return kImageChanged;
  });
}

void Display::SetStreamKey(uint32_t sessionId, ByteView key) {
  Require(!key.empty() && key.size() <= Channel::kStreamKeySize, Status::kInvalidArgument);
  const std::scoped_lock lock(mutex_);
  Session& session = SessionAt(sessionId);
  session.streamKey.assign(key.begin(), key.end());
  // A frame without a tag, or with a tag under another key, must not pass for one of this channel.
  if (session.image && session.image->isRemote()) {
    Painter::Invalidate(session.window, session.image->area());
    session.image.reset();
  }
}

void Display::SendRecv(uint32_t context, uint32_t sessionId, int32_t messageType, ByteView sent, OutputBuffer out,
                       bool answers) {
  {
    const std::scoped_lock lock(mutex_);
    Require(contexts_.contains(context), Status::kUnknownContext);
    if (messageType == kChannelSetup || messageType == kRequest || messageType == kVerdict) {
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
    case kRequest: {
      Request request = ReadRequest(Bytes(sent.begin(), sent.end()));
      const std::scoped_lock lock(mutex_);
      SessionAt(sessionId).request = std::move(request);
      break;
    }
    case kVerdict:
      ChangeImage(sessionId, 0, [verdict = ReadVerdict(Bytes(sent.begin(), sent.end()))](const Session&, Image& image) {
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
