/// The two function tables of the published plug-in interface: the host's (`NPNetscapeFuncs`) and the plug-in's
/// (`NPPluginFuncs`). Slots that nobody here calls are kept as bare pointers, so that the layout stays the published
/// one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "npapi/npapi.h"
#include "npapi/npruntime.h"

extern "C" {

using NPN_UnusedSlot = void (*)();

struct NPNetscapeFuncs {
  uint16_t size;     ///< Bytes of the host's table.
  uint16_t version;  ///< High byte: major version.
  NPN_UnusedSlot geturl;
  NPN_UnusedSlot posturl;
  NPN_UnusedSlot requestread;
  NPN_UnusedSlot newstream;
  NPN_UnusedSlot write;
  NPN_UnusedSlot destroystream;
  void (*status)(NPP instance, const char* message);
  const char* (*uagent)(NPP instance);
  void* (*memalloc)(uint32_t size);
  void (*memfree)(void* memory);
  uint32_t (*memflush)(uint32_t size);
  NPN_UnusedSlot reloadplugins;
  NPN_UnusedSlot getJavaEnv;
  NPN_UnusedSlot getJavaPeer;
  NPError (*geturlnotify)(NPP instance, const char* url, const char* target, void* notifyData);
  NPN_UnusedSlot posturlnotify;
  NPError (*getvalue)(NPP instance, NPNVariable variable, void* out);
  NPN_UnusedSlot setvalue;
  NPN_UnusedSlot invalidaterect;
  NPN_UnusedSlot invalidateregion;
  NPN_UnusedSlot forceredraw;
  NPIdentifier (*getstringidentifier)(const NPUTF8* name);
  void (*getstringidentifiers)(const NPUTF8** names, int32_t count, NPIdentifier* identifiers);
  NPIdentifier (*getintidentifier)(int32_t number);
  bool (*identifierisstring)(NPIdentifier identifier);
  NPUTF8* (*utf8fromidentifier)(NPIdentifier identifier);
  int32_t (*intfromidentifier)(NPIdentifier identifier);
  NPObject* (*createobject)(NPP instance, NPClass* aClass);
  NPObject* (*retainobject)(NPObject* object);
  void (*releaseobject)(NPObject* object);
  bool (*invoke)(NPP instance, NPObject* object, NPIdentifier method, const NPVariant* args, uint32_t argCount,
                 NPVariant* result);
  bool (*invokeDefault)(NPP instance, NPObject* object, const NPVariant* args, uint32_t argCount, NPVariant* result);
  NPN_UnusedSlot evaluate;
  bool (*getproperty)(NPP instance, NPObject* object, NPIdentifier property, NPVariant* result);
  bool (*setproperty)(NPP instance, NPObject* object, NPIdentifier property, const NPVariant* value);
  bool (*removeproperty)(NPP instance, NPObject* object, NPIdentifier property);
  bool (*hasproperty)(NPP instance, NPObject* object, NPIdentifier property);
  bool (*hasmethod)(NPP instance, NPObject* object, NPIdentifier method);
  void (*releasevariantvalue)(NPVariant* variant);
  void (*setexception)(NPObject* object, const NPUTF8* message);
  NPN_UnusedSlot pushpopupsenabledstate;
  NPN_UnusedSlot poppopupsenabledstate;
  bool (*enumerate)(NPP instance, NPObject* object, NPIdentifier** identifiers, uint32_t* count);
  NPN_UnusedSlot pluginthreadasynccall;
  bool (*construct)(NPP instance, NPObject* object, const NPVariant* args, uint32_t argCount, NPVariant* result);
};

struct NPPluginFuncs {
  uint16_t size;
  uint16_t version;
  NPError (*newp)(NPMIMEType type, NPP instance, uint16_t mode, int16_t argc, char* argn[], char* argv[],
                  NPSavedData* saved);
  NPError (*destroy)(NPP instance, NPSavedData** saved);
  NPError (*setwindow)(NPP instance, NPWindow* window);
  NPError (*newstream)(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable, uint16_t* stype);
  NPError (*destroystream)(NPP instance, NPStream* stream, NPReason reason);
  void (*asfile)(NPP instance, NPStream* stream, const char* fname);
  int32_t (*writeready)(NPP instance, NPStream* stream);
  int32_t (*write)(NPP instance, NPStream* stream, int32_t offset, int32_t len, void* buffer);
  void (*print)(NPP instance, NPPrint* platformPrint);
  int16_t (*event)(NPP instance, void* event);
  void (*urlnotify)(NPP instance, const char* url, NPReason reason, void* notifyData);
  void* javaClass;
  NPError (*getvalue)(NPP instance, NPPVariable variable, void* out);
  NPError (*setvalue)(NPP instance, NPNVariable variable, void* value);
};

}  // extern "C"

static_assert(offsetof(NPNetscapeFuncs, construct) + sizeof(void*) == sizeof(NPNetscapeFuncs));
static_assert(offsetof(NPNetscapeFuncs, geturl) == sizeof(void*));
static_assert(sizeof(NPNetscapeFuncs) == 46 * sizeof(void*));
static_assert(sizeof(NPPluginFuncs) == 15 * sizeof(void*));
static_assert(sizeof(void*) != 4 || (sizeof(NPNetscapeFuncs) == 184 && sizeof(NPPluginFuncs) == 60));
