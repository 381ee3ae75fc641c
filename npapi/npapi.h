/// The published browser plug-in interface (NPAPI): plain types and the instance, window and stream records.
/// Own declarations of the published layout; only what this plug-in and its hosts use is named.
#pragma once

#include <cstdint>

extern "C" {

using NPBool = unsigned char;
using NPError = int16_t;
using NPReason = int16_t;
using NPMIMEType = char*;

enum : NPError {
  NPERR_NO_ERROR = 0,
  NPERR_GENERIC_ERROR = 1,
  NPERR_INVALID_INSTANCE_ERROR = 2,
  NPERR_INVALID_FUNCTABLE_ERROR = 3,
  NPERR_OUT_OF_MEMORY_ERROR = 5,
  NPERR_INCOMPATIBLE_VERSION_ERROR = 8,
};

enum : NPReason { NPRES_DONE = 0, NPRES_NETWORK_ERR = 1, NPRES_USER_BREAK = 2 };

enum : uint16_t { NP_EMBED = 1, NP_FULL = 2, NP_NORMAL = 1 };

enum NPPVariable : int {
  NPPVpluginNameString = 1,
  NPPVpluginDescriptionString = 2,
  NPPVpluginNeedsXEmbed = 14,
  NPPVpluginScriptableNPObject = 15,
};

enum NPNVariable : int { NPNVWindowNPObject = 15 };

/// One embedded object. The host owns the record; `pdata` is the plug-in's word in it.
struct NPP_t {
  void* pdata;
  void* ndata;
};
using NPP = NPP_t*;

struct NPRect {
  uint16_t top, left, bottom, right;
};

/// The members that come first on every system; what follows them differs by system and is not read here.
struct NPWindow {
  void* window;  ///< The window's handle.
  int32_t x, y;
  uint32_t width, height;
  NPRect clipRect;
};

struct NPSavedData {
  int32_t len;
  void* buf;
};

struct NPStream {
  void* pdata;  ///< The plug-in's word.
  void* ndata;  ///< The host's word.
  const char* url;
  uint32_t end;
  uint32_t lastmodified;
  void* notifyData;  ///< What the plug-in gave to `NPN_GetURLNotify`, else null.
  const char* headers;
};

struct NPPrint;

}  // extern "C"
