// The host's colour quantiser: gathers colour statistics as an image visitor, makes a
// palette of at most the asked number of colours and rewrites pixels with it.
#pragma once

#include "frame/host.h"

// Receives ranges of a list of pairs of numbers.
struct IEnum2UInts : IUnknown {
    ZT_IID("27083ee4-5dd8-4132-9bf4-cab7f96f244e");
    // aCount pairs starting at index aFirst; aPairs holds 2 x aCount values (for a palette:
    // the index and the colour as a TPixelChannel value). aPairs may be null.
    virtual HRESULT Consume(uint32_t aFirst, uint32_t aCount, const uint32_t* aPairs) = 0;
};

constexpr uint32_t QUANTIZER_DITHER_NONE = 1;
constexpr uint32_t QUANTIZER_DITHER_DIFFUSION = 2;

struct IColorQuantizer : IImageVisitor {
    ZT_IID("e36df286-7c9c-4f72-8f2a-67fa4ddc1175");
    // Starts a new palette of at most aColorCount colours. aPalette, when given, receives
    // the quantiser's palette storage (filled once the palette is made, valid while the
    // quantiser lives).
    virtual HRESULT Init(uint32_t aColorCount, uint32_t aDitherMethod, uint32_t aReserved1, uint32_t aReserved2,
                         const TPixelChannel** aPalette) = 0;
    // Makes the palette from what Visit gathered, if not made yet, and reports it.
    virtual HRESULT EnumeratePalette(IEnum2UInts* aVisitor) = 0;
    // Rewrites aPixelCount pixels of a rectangle (row step aStride.nY, pixel step aStride.nX;
    // null: tight rows) with palette colours, dithering as chosen in Init.
    virtual HRESULT Process(const TImagePoint* aOrigin, const TImageSize* aSize, const TImageStride* aStride,
                            uint32_t aPixelCount, TPixelChannel* aPixels, void* aReserved) = 0;
};

constexpr CLSID CLSID_ColorQuantizer = MakeGuid("c8ed4a03-d4e6-4050-9e1f-22bca6e20ec8");
