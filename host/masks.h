// The host's mask state and document bases, for applications and tests that embed the host.
#pragma once

#include "frame/host_masks.h"
#include "host/zthost.h"

namespace zthost {

// A mask state holding a copy of the bytes (rows of aStride bytes); see SetMask for the rules.
ComPtr<ISharedStateImageMask> CreateImageMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight,
                                              uint32_t aStride, const uint8_t* aBytes);
// The plain rectangle, fully selected.
ComPtr<ISharedStateImageMask> CreateRectangularMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight);

// An empty document base, and putting a document into one (a null or empty id: the root).
ComPtr<IDocumentBase> CreateDocumentBase();
HRESULT DocumentBaseInsert(IDocumentBase* aBase, const char16_t* aID, IDocument* aDocument);

}  // namespace zthost
