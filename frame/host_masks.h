// What the mask operations ask of the host besides the documents of frame/host.h: the mask
// state kept in the operation context, an empty document base, and a factory of in-memory
// raster documents with a given content.
#pragma once

#include "frame/host.h"

// The context's name of the mask state unless a configuration names another.
constexpr const char16_t* IMAGEMASK_STATE = u"IMAGEMASK";

// A grey selection: a bounding rectangle and, unless it is the plain rectangle, one byte per
// pixel in it (0 not selected, 255 fully selected). Nothing outside the rectangle is selected.
struct ISharedStateImageMask : IUnknown {
    ZT_IID("4f0c6a2e-8d3b-4e71-b95a-2c7e1f08d6a3");
    // S_OK when the selection is the plain rectangle; S_FALSE when mask bytes exist.
    virtual HRESULT IsRectangular() = 0;
    virtual HRESULT GetBounds(int32_t* aX, int32_t* aY, uint32_t* aWidth, uint32_t* aHeight) = 0;
    // Copies the bytes of any rectangle, 0 outside the bounds; aStride is the row length in bytes.
    virtual HRESULT GetMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight, uint32_t aStride,
                            uint8_t* aBytes) = 0;
    // Meant for a new state object. Null bytes or a zero size make an empty mask; bytes that
    // are all 255 make the plain rectangle.
    virtual HRESULT SetMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight, uint32_t aStride,
                            const uint8_t* aBytes) = 0;
};

// Makes an in-memory raster document inside a document base.
struct IDocumentFactoryRasterImage : IUnknown {
    ZT_IID("b6e2d9a4-31c7-4f85-a0d2-7c49e13b5f68");
    // aContent, when not null, is the content: its rectangle and pixels (strides in pixels) are
    // copied; the rest of the canvas holds aDefault (transparent when null). A null aID makes
    // the root document of aBase.
    virtual HRESULT Create(IDocumentBase* aBase, const char16_t* aID, const TImageSize* aCanvas,
                           const TImageResolution* aResolution, const TPixelChannel* aDefault,
                           const TImageTile* aContent) = 0;
};

constexpr CLSID CLSID_SharedStateImageMask = MakeGuid("9d3f5b17-6a2c-4e08-8f41-b7c2e5a09d36");
constexpr CLSID CLSID_DocumentBase = MakeGuid("e1a84c62-0b9f-47d3-a6e5-3f8d2c71b049");
constexpr CLSID CLSID_DocumentFactoryRasterImage = MakeGuid("5c27e9b0-d4a6-4f13-9e82-a1b30f6c7d25");
