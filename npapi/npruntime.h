/// The scripting half of the published plug-in interface: variants, identifiers, script objects and their class table.
#pragma once

#include <cstdint>

#include "npapi/npapi.h"

extern "C" {

using NPUTF8 = char;
using NPIdentifier = void*;  ///< Interned by the host: equal names have equal identifiers.

struct NPString {
  const NPUTF8* UTF8Characters;  ///< Not terminated by contract.
  uint32_t UTF8Length;           ///< In bytes.
};

enum NPVariantType : int {
  NPVariantType_Void,
  NPVariantType_Null,
  NPVariantType_Bool,
  NPVariantType_Int32,
  NPVariantType_Double,
  NPVariantType_String,
  NPVariantType_Object,
};

struct NPObject;

struct NPVariant {
  NPVariantType type;
  union {
    bool boolValue;
    int32_t intValue;
    double doubleValue;
    NPString stringValue;
    NPObject* objectValue;
  } value;
};

struct NPClass;

struct NPObject {
  NPClass* _class;
  uint32_t referenceCount;  ///< Kept by the host alone.
};

using NPAllocateFunctionPtr = NPObject* (*)(NPP, NPClass*);
using NPDeallocateFunctionPtr = void (*)(NPObject*);
using NPInvalidateFunctionPtr = void (*)(NPObject*);
using NPHasMethodFunctionPtr = bool (*)(NPObject*, NPIdentifier);
using NPInvokeFunctionPtr = bool (*)(NPObject*, NPIdentifier, const NPVariant*, uint32_t, NPVariant*);
using NPInvokeDefaultFunctionPtr = bool (*)(NPObject*, const NPVariant*, uint32_t, NPVariant*);
using NPHasPropertyFunctionPtr = bool (*)(NPObject*, NPIdentifier);
using NPGetPropertyFunctionPtr = bool (*)(NPObject*, NPIdentifier, NPVariant*);
using NPSetPropertyFunctionPtr = bool (*)(NPObject*, NPIdentifier, const NPVariant*);
using NPRemovePropertyFunctionPtr = bool (*)(NPObject*, NPIdentifier);
using NPEnumerationFunctionPtr = bool (*)(NPObject*, NPIdentifier**, uint32_t*);
using NPConstructFunctionPtr = bool (*)(NPObject*, const NPVariant*, uint32_t, NPVariant*);

constexpr uint32_t NP_CLASS_STRUCT_VERSION = 3;

struct NPClass {
  uint32_t structVersion;
  NPAllocateFunctionPtr allocate;
  NPDeallocateFunctionPtr deallocate;
  NPInvalidateFunctionPtr invalidate;
  NPHasMethodFunctionPtr hasMethod;
  NPInvokeFunctionPtr invoke;
  NPInvokeDefaultFunctionPtr invokeDefault;
  NPHasPropertyFunctionPtr hasProperty;
  NPGetPropertyFunctionPtr getProperty;
  NPSetPropertyFunctionPtr setProperty;
  NPRemovePropertyFunctionPtr removeProperty;
  NPEnumerationFunctionPtr enumerate;
  NPConstructFunctionPtr construct;
};

}  // extern "C"

static_assert(sizeof(NPClass) == 13 * sizeof(void*));
static_assert(sizeof(NPVariant) == (sizeof(void*) == 4 ? 16 : 24));
static_assert(sizeof(NPObject) == 2 * sizeof(void*));
static_assert(sizeof(NPString) == 2 * sizeof(void*));
