#pragma once

#include <cstdint>
#include <string>

#include "display/display_entries.h"
#include "library/library_loader.h"
#include "library/operation.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

/// The display library, loaded and bound by the constructor, and the operations on it. Each operation returns its codes
/// and adds further keys to `result`; none throws. Texts end with a zero; null is the empty text. Points are texts as
/// `ParsePoint` reads them. The browser's thread only.
class CKSVPluginWYS {
 public:
  /// Never fails: without a library the operations answer 10.
  explicit CKSVPluginWYS(std::string platformName);
  CKSVPluginWYS(const CKSVPluginWYS&) = delete;
  CKSVPluginWYS& operator=(const CKSVPluginWYS&) = delete;

  /// Whether the successful calls so far have left an image.
  [[nodiscard]] bool HasImage() const { return hasImage; }

  /// The test before every library call: a library (10), the entry point (11). Sets the plug-in's code; true
  /// lets the call proceed.
  bool CheckEntry(const EntryTable::Row& entryPoint, Outcome& outcome) const;

  Outcome Init(int32_t initValue, const char* initText, uint32_t* displayContext);
  Outcome DeInit(uint32_t displayContext);
  Outcome GetVersion(JSObject& result);
  Outcome StatusToString(uint32_t statusCode, JSObject& result);

  Outcome EstablishSession(HWND window, uint32_t* sessionId, uint32_t displayContext);
  /// A null callback ends the registration.
  Outcome RegisterEvents(uint32_t sessionId, DisplayEventEntry callback, void* context);
  Outcome CloseSession(uint32_t sessionId);
  Outcome SendRecv(uint32_t displayContext, uint32_t sessionId, int32_t messageType, int32_t textLength,
                   const char* b64Text, int32_t capacity, int32_t flag, JSObject& result);

  /// An invalid point counts as {0,0}. A logo whose length does not match its size is left out. The library may change
  /// the image's id and size: they are returned as "ImageId", `outWidth` and `outHeight`.
  Outcome CreateStdImage(uint32_t sessionId, int32_t inputType, uint32_t imageId, const char* positionText,
                         const char* imageSizeText, int32_t valueA, const char* pointBText, int32_t valueC,
                         int32_t valueD, int32_t byteE, const char* logoSizeText, const char* logoText,
                         int32_t logoTextLength, int32_t* outWidth, int32_t* outHeight, JSObject& result);
  Outcome SubmitFrame(uint32_t sessionId, uint32_t imageId, const char* pointText, int32_t textLength,
                      const char* b64Text);
  Outcome ReleaseImage(uint32_t sessionId, uint32_t imageId);
  /// Does not call the library while there is no image.
  Outcome RepaintImage(uint32_t sessionId, uint32_t imageId);

  Outcome MouseDown(uint32_t sessionId, uint32_t imageId, const char* pointText);
  Outcome MouseUp(uint32_t sessionId, uint32_t imageId, const char* pointText);
  /// `length` is the number of bytes of the text before its conversion to UTF-16.
  Outcome SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text);
  Outcome SubmitInputAndGetResponse(uint32_t sessionId, uint32_t imageId, JSObject& result);
  Outcome ClearInput(uint32_t sessionId, uint32_t imageId);

  /// Shows the page's frame: sends parts A, B and C to set up a channel, sets the answer as the stream key, submits the
  /// frame and paints it. Part C is the page's token or, without one, the domain's token file of that name. When the
  /// image has been painted, `outWidth` and `outHeight` are the size in `imageSizeText`.
  Outcome ksvWYSRemoteWysSession(uint32_t displayContext, uint32_t sessionId, uint32_t imageId, const char* b64Frame,
                                 int32_t b64FrameLength, const char* b64PartA, int32_t b64PartALength,
                                 const char* b64PartB, int32_t b64PartBLength, int32_t b64TokenLength,
                                 const char* b64Token, const char* domain, const char* tokenFileName,
                                 const char* framePointText, const char* imageSizeText, int32_t* outWidth,
                                 int32_t* outHeight);

 private:
  using PointEntry = EntryTable::Entry<decltype(WYSMouseDown)>;

  void BindLibrary();
  /// The frame of an operation.
  template <typename Work>
  Outcome Run(const EntryTable::Row& entryPoint, Work work);
  /// The whole of an operation that is one call.
  template <typename... Parameters, typename... Arguments>
  Outcome RunCall(const EntryTable::Entry<int32_t(Parameters...)>& entryPoint, Arguments... arguments);
  Outcome RunMouse(const PointEntry& entryPoint, uint32_t sessionId, uint32_t imageId, const char* pointText);
  /// Tests the four entry points of `ksvWYSRemoteWysSession`, and writes a debug text for each one that is missing.
  bool CheckRemoteEntries(Outcome& outcome) const;

  std::string platformName;
  Library library;
  bool hasImage = false;
  DisplayEntries entries;
};

}  // namespace NorvoWebAPI::KSV
