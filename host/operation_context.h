// Host-side access to an operation context made by zthost::CreateOperationContext.
#pragma once

#include "host/zthost.h"

namespace zthost {

// The message of the last SetErrorMessage call; null when there was none, or when the
// context is not one of this host.
ComPtr<ILocalizedString> LastErrorMessage(IOperationContext* aContext);

// Makes IsCancelled answer S_OK from now on; false when the context is not one of this host.
bool CancelOperation(IOperationContext* aContext);

}  // namespace zthost
