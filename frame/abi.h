// The component-object ABI shared by the module and any host: result codes, GUIDs,
// IUnknown and references, length-prefixed UTF-16 strings, and the activation signatures.
// Header-only on purpose: host and module each compile it, and nothing here needs linking.
#pragma once

#include "frame/guid.h"
#include "frame/result.h"
#include "frame/unknown.h"
#include "frame/utf.h"
#include "frame/ztstr.h"

// Language ids of the two built-in languages.
constexpr uint32_t LANG_ENGLISH = 0x0409;
constexpr uint32_t LANG_CZECH = 0x0405;

// Host activation, the one function through which the module reaches host classes.
using ZTCreateInstanceFn = HRESULT (*)(const CLSID& aClassID, IUnknown* aOuter, uint32_t aContext, const IID& aIID,
                                       void** aOut);
constexpr uint32_t ZT_CREATE_CONTEXT = 23;

// Callback of DllEnumClasses.
using ZTEnumClassesFn = HRESULT (*)(void* aContext, const CLSID& aClassID, uint32_t aCategoryCount,
                                    const GUID* aCategories);
