// Helpers of the operation tests: documents, configurations, runs and names.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/config.h"
#include "host/zthost.h"

namespace optest {

inline TPixelChannel Px(uint32_t aValue) {
    TPixelChannel p;
    p.n = aValue;
    return p;
}

// The host's 16-bit sRGB table, as the colour operations get it.
inline const uint16_t* GammaTable() {
    static ComPtr<IGammaTableCache> cache = zthost::Create<IGammaTableCache>(CLSID_GammaTableCache);
    return cache->GetSRGBTable();
}

template <class T>
ComPtr<IDocumentOperation> Operation() {
    ComPtr<IClassFactory> factory;
    DllGetClassObject(T::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    if (factory) factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    return op;
}

inline ComPtr<IConfig> ConfigOf(IDocumentOperation* aOperation) {
    ComPtr<IConfig> config;
    EXPECT_EQ(S_OK, aOperation->ConfigCreate(zthost::OperationManager(), config.out()));
    return config;
}

// Sets items from text as the command line does ("Hue", "120").
inline void Set(IConfig* aConfig, const std::string& aKey, const std::string& aValue) {
    std::string error;
    EXPECT_EQ(S_OK, zthost::ConfigSetFromString(aConfig, aKey, aValue, &error)) << error;
}

inline ComPtr<IDocument> PixelDocument(TImageSize aCanvas, TImagePoint aOrigin, TImageSize aSize,
                                       const std::vector<TPixelChannel>& aPixels, uint32_t aDefault = 0) {
    zthost::RasterImageInit init;
    init.canvas = aCanvas;
    init.contentOrigin = aOrigin;
    init.contentSize = aSize;
    init.pixels = aPixels.empty() ? nullptr : aPixels.data();
    init.defaultPixel.n = aDefault;
    return zthost::CreateRasterDocument(init);
}

inline ComPtr<IDocument> Document(TImageSize aCanvas, TImagePoint aOrigin, TImageSize aSize,
                                  const std::vector<uint32_t>& aPixels, uint32_t aDefault = 0) {
    std::vector<TPixelChannel> pixels(aPixels.size());
    for (size_t i = 0; i < aPixels.size(); ++i) pixels[i].n = aPixels[i];
    return PixelDocument(aCanvas, aOrigin, aSize, pixels, aDefault);
}

// A document whose content fills its canvas.
inline ComPtr<IDocument> Image(uint32_t aWidth, uint32_t aHeight, const std::vector<uint32_t>& aPixels,
                               uint32_t aDefault = 0) {
    return Document({aWidth, aHeight}, {0, 0}, {aWidth, aHeight}, aPixels, aDefault);
}

inline zthost::RasterImageState State(IDocument* aDocument) {
    zthost::RasterImageState s;
    EXPECT_TRUE(zthost::InspectRasterDocument(aDocument, &s));
    return s;
}

inline std::vector<uint32_t> Content(IDocument* aDocument) {
    std::vector<uint32_t> out;
    for (TPixelChannel p : State(aDocument).content) out.push_back(p.n);
    return out;
}

// One pixel read as TileGet reads it.
inline uint32_t PixelAt(IDocument* aDocument, int32_t aX, int32_t aY) {
    ComPtr<IDocumentImage> image;
    aDocument->QueryFeatureInterface(IDocumentImage::iid, image.out());
    TImagePoint at{aX, aY};
    TImageSize one{1, 1};
    TPixelChannel p{};
    EXPECT_EQ(S_OK, image->TileGet(CHANNEL_COLOR, &at, &one, nullptr, 1, &p, nullptr, ACCESS_MODE));
    return p.n;
}

inline HRESULT RunOperation(IDocumentOperation* aOperation, IDocument* aDocument, IConfig* aConfig) {
    return aOperation->Activate(zthost::OperationManager(), aDocument, aConfig, zthost::CreateOperationContext(),
                                nullptr, LANG_ENGLISH);
}

inline std::string NameOf(IDocumentOperation* aOperation, IConfig* aConfig, uint32_t aLanguage = LANG_ENGLISH) {
    ComPtr<IConfigDescriptor> d = ComPtr<IConfigDescriptor>::query(aOperation);
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(S_OK, d->Name(zthost::OperationManager(), aConfig, name.out()));
    return zthost::TextOf(name, aLanguage);
}

inline std::string ListedName(IDocumentOperation* aOperation, uint32_t aLanguage = LANG_ENGLISH) {
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(S_OK, aOperation->NameGet(nullptr, name.out()));
    return zthost::TextOf(name, aLanguage);
}

// Pixels of every kind, alpha varying, in a fixed pattern.
inline std::vector<uint32_t> Pattern(size_t aCount, uint32_t aSeed = 12345) {
    std::vector<uint32_t> p(aCount);
    uint32_t x = aSeed;
    for (auto& px : p) px = x = x * 1664525u + 1013904223u;
    return p;
}

}  // namespace optest
