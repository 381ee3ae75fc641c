#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/byte_buffer.h"
#include "display/display_entries.h"
#include "display/image_descriptor.h"
#include "library/library_loader.h"
#include "library/library_operation.h"
#include "library/output_buffer.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

/// Values of "fnRetCode" that the plug-in itself gives or reads; all others are the library's own.
enum DisplayStatus : int32_t { kDisplayOk = 0, kDisplayNotCalled = 34, kSessionStands = 42 };

/// The display library, found and bound at construction, and the operations on it. Each operation gives true and leaves
/// its outcome in `result`: "pluginRetCode", "fnRetCode" and keys of its own. Texts are terminated; null stands for the
/// empty one. Points are texts, as `ParsePoint` reads them. The browser's thread only.
class CKSVPluginWYS {
 public:
  /// Never fails: without a library the operations answer 10.
  explicit CKSVPluginWYS(std::string platformName);
  CKSVPluginWYS(const CKSVPluginWYS&) = delete;
  CKSVPluginWYS& operator=(const CKSVPluginWYS&) = delete;

  /// Whether an image stands, as far as the calls that went through tell.
  [[nodiscard]] bool HasImage() const { return hasImage; }

  /// The page has ended: an operation of several calls that runs right now makes no more of them.
  void EndPage() { pageEnded = true; }

  /// The test before every library call: a library (10), the entry point (11). True stores 0 under "pluginRetCode" and
  /// lets the call proceed.
  bool CheckEntry(const EntryTable::Row& entryPoint, JSObject& result) const;

  bool Init(int32_t initValue, const char* initText, uint32_t* displayContext, JSObject& result);
  bool DeInit(uint32_t displayContext, JSObject& result);
  bool GetVersion(JSObject& result);
  bool StatusToString(uint32_t statusCode, JSObject& result);

  bool EstablishSession(HWND window, uint32_t* sessionId, uint32_t displayContext, JSObject& result);
  /// A null callback withdraws the registration.
  bool RegisterEvents(uint32_t sessionId, DisplayEventEntry callback, void* context, JSObject& result);
  bool CloseSession(uint32_t sessionId, JSObject& result);
  bool SendRecv(uint32_t displayContext, uint32_t sessionId, int32_t messageType, int32_t textLength,
                const char* b64Text, int32_t capacity, int32_t flag, JSObject& result);

  /// A point text that is none counts as {0,0}, and a logo of another size than told is left out. The library may alter
  /// the image's id ("ImageId") and its size, which are read back.
  bool CreateStdImage(uint32_t sessionId, int32_t inputType, uint32_t imageId, const char* originText,
                      const char* imageSizeText, int32_t valueA, const char* pointBText, int32_t valueC, int32_t valueD,
                      int32_t byteE, const char* logoSizeText, const char* logoText, int32_t logoTextLength,
                      int32_t* outWidth, int32_t* outHeight, JSObject& result);
  bool SubmitFrame(uint32_t sessionId, uint32_t imageId, const char* pointText, int32_t textLength, const char* b64Text,
                   JSObject& result);
  bool ReleaseImage(uint32_t sessionId, uint32_t imageId, JSObject& result);
  /// Without an image the library is not asked.
  bool RepaintImage(uint32_t sessionId, uint32_t imageId, JSObject& result);

  bool MouseDown(uint32_t sessionId, uint32_t imageId, const char* pointText, JSObject& result);
  bool MouseUp(uint32_t sessionId, uint32_t imageId, const char* pointText, JSObject& result);
  /// `length` counts the bytes that the text had before it was made wide.
  bool SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text, JSObject& result);
  bool SubmitInputAndGetResponse(uint32_t sessionId, uint32_t imageId, JSObject& result);
  bool ClearInput(uint32_t sessionId, uint32_t imageId, JSObject& result);

  /// Puts an image up that the page holds as a frame: sends the parts A, B and C of a channel set-up, takes the answer
  /// for the stream's key, submits the frame and paints it. Part C is the page's token, else the domain's file of that
  /// name. The outputs are the size that `imageSizeText` tells, once the image is painted.
  bool ksvWYSRemoteWysSession(uint32_t displayContext, uint32_t sessionId, uint32_t imageId, const char* b64Frame,
                              int32_t b64FrameLength, const char* b64PartA, int32_t b64PartALength,
                              const char* b64PartB, int32_t b64PartBLength, int32_t b64TokenLength,
                              const char* b64Token, const char* domain, const char* tokenFileName,
                              const char* framePointText, const char* imageSizeText, int32_t* outWidth,
                              int32_t* outHeight, JSObject& result);

 private:
  using PointEntry = EntryTable::Entry<int32_t(uint32_t session, uint32_t image, const WysPoint* point)>;

  void BindLibrary();
  /// The session has ended: its image's description goes, if no later one has come.
  void ForgetImage(const std::shared_ptr<const ImageDescriptor>& described);

  /// The frame of an operation.
  template <typename Work>
  bool Run(const EntryTable::Row& entryPoint, JSObject& result, Work work);
  /// The whole of an operation that is one call.
  template <typename... Parameters, typename... Arguments>
  bool RunCall(const EntryTable::Entry<int32_t(Parameters...)>& entryPoint, JSObject& result, Arguments... arguments);
  bool RunMouse(const PointEntry& entryPoint, uint32_t sessionId, uint32_t imageId, const char* pointText,
                JSObject& result);

  /// Whether the library has all that a frame's operation calls; each entry point that is not there is logged.
  bool CheckRemoteEntries(JSObject& result) const;
  /// Sends the channel's set-up and gives the length of the key that stands in `streamKey` then, 0 for none.
  uint32_t SetUpChannel(uint32_t displayContext, uint32_t sessionId, const ByteBuffer& message,
                        OutputBuffer<uint32_t>& streamKey, JSObject& result);

  std::string platformName;
  /// The library may go on reading the description of the latest image, until its session has ended.
  std::shared_ptr<const ImageDescriptor> image;
  uint32_t imageSession = 0;
  Library library;
  bool hasImage = false;
  bool pageEnded = false;
  DisplayEntries entries;
};

}  // namespace NorvoWebAPI::KSV
