// Registration of the host's own classes, so that ZTCoCreateInstance and zthost::CreateInstance
// can make them by class id.
#pragma once

#include <functional>

#include "frame/abi.h"

namespace zthost {

// aCreate makes a new object (or hands out a shared one) and answers the query for aIID.
// A later registration of the same class id replaces the earlier one.
void RegisterHostClass(const CLSID& aClassID, std::function<HRESULT(const IID&, void**)> aCreate);
// Makes a class id unknown again, so that a caller can be tried without that service.
void UnregisterHostClass(const CLSID& aClassID);

// The built-in services, registered from the start under their class ids.
HRESULT CreateThreadPool(const IID& aIID, void** aOut);
HRESULT CreateGammaTableCache(const IID& aIID, void** aOut);
HRESULT CreateColorNameProvider(const IID& aIID, void** aOut);
HRESULT CreateConfigBuilder(const IID& aIID, void** aOut);
HRESULT CreateOperationManager(const IID& aIID, void** aOut);
HRESULT CreateColorQuantizer(const IID& aIID, void** aOut);
HRESULT CreateImageMaskState(const IID& aIID, void** aOut);
HRESULT CreateDocumentBaseObject(const IID& aIID, void** aOut);
HRESULT CreateRasterDocumentFactory(const IID& aIID, void** aOut);
HRESULT CreateFailureReason(const IID& aIID, void** aOut);

}  // namespace zthost
