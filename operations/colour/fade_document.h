// The document Fade hands to the operation it runs: the real document in every respect,
// except that pixels written into it are mixed with the pixels already there.
#pragma once

#include "frame/object.h"
#include "frame/operation.h"

namespace zt {

class CFadeDocument : public IDocument, public IDocumentRasterImage {
public:
    CFadeDocument(IDocument* aDocument, IDocumentRasterImage* aImage, IGammaTableCache* aGamma, int32_t aStrength)
        : document_(aDocument), image_(aImage), gamma_(aGamma), strength_(aStrength) {}

    // A new wrapper with one reference; throws std::bad_alloc.
    static ComPtr<IDocument> Create(IDocument* aDocument, IDocumentRasterImage* aImage, IGammaTableCache* aGamma,
                                    int32_t aStrength);

    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocument, IBlockOperations, IDocumentRasterImage, IDocumentEditableImage, IDocumentImage>(
            this, aIID);
    }

    // IBlockOperations, IDocument
    HRESULT WriteLock() override { return document_->WriteLock(); }
    HRESULT WriteUnlock() override { return document_->WriteUnlock(); }
    HRESULT QueryFeatureInterface(const IID& aIID, void** aFeature) override;
    HRESULT DocumentCopy(const char16_t* aPrefix, IDocumentBase* aBase, const char16_t* aID, void* aReserved) override;

    // IDocumentImage
    HRESULT CanvasGet(TImageSize* aCanvas, TImageResolution* aResolution, TImagePoint* aContentOrigin,
                      TImageSize* aContentSize, void* aReserved) override {
        return image_->CanvasGet(aCanvas, aResolution, aContentOrigin, aContentSize, aReserved);
    }
    HRESULT ChannelsEnum(void* aReserved1, void* aReserved2, IEnumImageChannels* aEnum) override {
        return image_->ChannelsEnum(aReserved1, aReserved2, aEnum);
    }
    HRESULT TileGet(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                    const TImageStride* aStride, uint32_t aPixelCount, TPixelChannel* aPixels, void* aReserved,
                    uint32_t aMode) override {
        return image_->TileGet(aChannelID, aOrigin, aSize, aStride, aPixelCount, aPixels, aReserved, aMode);
    }
    HRESULT Inspect(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize, IImageVisitor* aVisitor,
                    void* aReserved, uint32_t aMode) override {
        return image_->Inspect(aChannelID, aOrigin, aSize, aVisitor, aReserved, aMode);
    }
    HRESULT BufferLock(uint32_t aChannelID, TImagePoint* aAllocOrigin, TImageSize* aAllocSize,
                       TImagePoint* aContentOrigin, TImageSize* aContentSize, const TPixelChannel** aPixels,
                       void* aReserved, uint32_t aMode) override {
        return image_->BufferLock(aChannelID, aAllocOrigin, aAllocSize, aContentOrigin, aContentSize, aPixels,
                                  aReserved, aMode);
    }
    HRESULT BufferUnlock(uint32_t aChannelID, const TPixelChannel* aPixels) override {
        return image_->BufferUnlock(aChannelID, aPixels);
    }

    // IDocumentEditableImage
    HRESULT ResolutionSet(const TImageResolution* aResolution) override { return image_->ResolutionSet(aResolution); }
    HRESULT ContentOriginSet(const TImagePoint* aOrigin) override { return image_->ContentOriginSet(aOrigin); }
    HRESULT CanvasSet(const TImageSize* aCanvas, const TImageResolution* aResolution, const TMatrix3x3f* aMatrix,
                      IRasterImageTransformer* aTransformer) override {
        return image_->CanvasSet(aCanvas, aResolution, aMatrix, aTransformer);
    }
    // The default pixel is not faded.
    HRESULT ChannelsSet(uint32_t aCount, const uint32_t* aChannelIDs, const TPixelChannel* aDefaults) override {
        return image_->ChannelsSet(aCount, aChannelIDs, aDefaults);
    }
    HRESULT TileSet(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                    const TImageStride* aStride, uint32_t aPixelCount, const TPixelChannel* aPixels,
                    int32_t aKeepContent) override;

    // IDocumentRasterImage
    HRESULT BufferReplace(TImagePoint aAllocOrigin, TImageSize aAllocSize, const TImagePoint* aContentOrigin,
                          const TImageSize* aContentSize, const uint64_t* aAlphaTotal, TPixelChannel* aPixels,
                          ZTPixelDeleter aDeleter) override;
    HRESULT BufferAllocate(TImageSize aSize, TPixelChannel** aPixels, ZTPixelDeleter* aDeleter) override {
        return image_->BufferAllocate(aSize, aPixels, aDeleter);
    }

private:
    ComPtr<IDocument> document_;
    ComPtr<IDocumentRasterImage> image_;
    ComPtr<IGammaTableCache> gamma_;
    int32_t strength_;  // on a scale of 1024
};

}  // namespace zt
