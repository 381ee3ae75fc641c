#pragma once

#include <functional>
#include <map>
#include <mutex>

#include "kit/display/image.h"
#include "kit/display/request.h"
#include "kit/display/user_input.h"

namespace KsvDisplay {

/// A caller's buffer; `*length` is its capacity at first, then the stored or required length. A null buffer has
/// capacity 0.
struct OutputBuffer {
  uint32_t* length;
  uint8_t* data;
};

/// The display behind the entry points: one for the process. Members may be called on any thread; they throw
/// `DisplayError`. The mutex guards the members below it; no callback runs and nothing is painted while it is held. An
/// image id of 0 means the session's image.
class Display {
 public:
  uint32_t Init(const char* caption);
  /// Ends the context's sessions. Throws kCallbackRunning with none of them changed.
  void DeInit(uint32_t context);

  /// Stores the session's id also when it throws kSessionStands.
  void EstablishSession(WysSessionRequest request, uint32_t& sessionId);
  /// Throws kCallbackRunning with the session unchanged.
  void CloseSession(uint32_t sessionId);
  /// Replaces an earlier registration. Throws kCallbackRunning with that one unchanged.
  void RegisterEvents(uint32_t sessionId, uint32_t mask, EventCallback callback, uint32_t context);
  void WithdrawEvents(uint32_t sessionId);

  /// Writes the image's id and size back into the block.
  void CreateStdImage(uint32_t sessionId, Point origin, std::span<uint8_t> block);
  void SubmitFrame(uint32_t sessionId, uint32_t imageId, Point origin, ByteView frame);
  void ReleaseImage(uint32_t sessionId, uint32_t imageId);
  void RepaintImage(uint32_t sessionId, uint32_t imageId);

  /// Both throw kNoUserInput and kImageNotVisible unless the user does this, in the window's thread and at this moment.
  /// Only on a remote image without a channel do they believe the page.
  void MouseDown(uint32_t sessionId, uint32_t imageId, Point at);
  void MouseUp(uint32_t sessionId, uint32_t imageId, Point at);
  void ClearInput(uint32_t sessionId, uint32_t imageId);
  void SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text);
  /// Stores the sealed input, and clears and closes the input.
  void GetResponse(uint32_t sessionId, uint32_t imageId, OutputBuffer out);

  void SetStreamKey(uint32_t sessionId, ByteView key);
  void SendRecv(uint32_t context, uint32_t sessionId, int32_t messageType, ByteView sent, OutputBuffer out,
                bool answers);

  /// Whether the display has no thread now.
  bool IsAtRest() const noexcept { return !callbacks_.IsRunning(); }

 private:
  struct Context {
    std::string caption;
    uint64_t age = 0;
  };
  struct Session {
    uint32_t context = 0;
    uint32_t window = 0;
    UserInput::Watch watch;
    SecretBytes streamKey;
    /// For the next image.
    Request request;
    std::optional<Image> image;
    std::optional<EventRegistration> events;
    uint64_t age = 0;
  };
  using Sessions = std::map<uint32_t, Session>;
  using Filter = std::function<bool(const Sessions::value_type&)>;

  Session& SessionAt(uint32_t sessionId);
  void ShowImage(Session& session, uint32_t sessionId, Image image, uint32_t eventBits);
  bool TypeKey(uint32_t sessionId, TypedKey key);
  Image& ImageAt(Session& session, uint32_t imageId);
  Filter InSameContext(uint32_t sessionId);
  void EndEvents(std::unique_lock<std::mutex>& lock, const Filter& filter);
  void EndSessions(std::unique_lock<std::mutex>& lock, const Filter& filter);
  bool DropSession(uint32_t sessionId);
  bool DropOldestSession();
  void DropSessionsOfClosedWindows();
  void MakeRoomForContext();
  static void RequireUser(const Session& session, const Image& image, UserInput::Button button, Point at);
  template <class Work>
  void ChangeImage(uint32_t sessionId, uint32_t imageId, Work work);

  CallbackThread callbacks_;
  std::mutex mutex_;
  std::map<uint32_t, Context> contexts_;
  Sessions sessions_;
  uint64_t nextAge_ = 0;
};

}  // namespace KsvDisplay
