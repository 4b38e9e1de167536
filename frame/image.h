// Stack helpers for reaching a raster image: its default pixel, a locked buffer for
// reading, a new buffer that is freed unless it is handed over, and scratch memory of a run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "frame/object.h"
#include "frame/operation.h"

namespace zt {

// Finds the default pixel of one channel in the document's channel list.
class CImageChannelDefaultGetter final : public CStackUnknown<IEnumImageChannels> {
public:
    CImageChannelDefaultGetter(uint32_t aChannelID, TPixelChannel* aDefault)
        : channel_(aChannelID), default_(aDefault) {}
    HRESULT Range(uint32_t*, uint32_t*) override { return E_NOTIMPL; }
    HRESULT Consume(void*, uint32_t aCount, const uint32_t* aPairs) override {
        for (uint32_t i = 0; i < aCount; ++i) {
            if (aPairs[2 * i] == channel_) {
                default_->n = aPairs[2 * i + 1];
                return 1;
            }
        }
        return 0;
    }

private:
    uint32_t channel_;
    TPixelChannel* default_;
};

// The default pixel of the colour channel; 0 when the document lists no such channel.
inline TPixelChannel ReadDefaultPixel(IDocumentImage* aImage) {
    TPixelChannel value{};
    CImageChannelDefaultGetter getter(CHANNEL_COLOR, &value);
    aImage->ChannelsEnum(nullptr, nullptr, &getter);
    return value;
}

// Content rectangle of an image: origin 0,0 and size 1,1 when the document reports none.
struct SContent {
    TImagePoint origin{0, 0};
    TImageSize size{1, 1};
};
inline SContent ReadContent(IDocumentImage* aImage) {
    SContent c;
    aImage->CanvasGet(nullptr, nullptr, &c.origin, &c.size, nullptr);
    return c;
}

// Read access to the image's buffer from construction to destruction. Holds no reference:
// the caller holds the document.
class CLockedImageBuffer {
public:
    explicit CLockedImageBuffer(IDocumentImage* aImage) : image_(aImage) {
        image_->BufferLock(CHANNEL_COLOR, &allocOrigin, &allocSize, &contentOrigin, &contentSize, &pixels, nullptr,
                           ACCESS_MODE);
    }
    ~CLockedImageBuffer() { image_->BufferUnlock(CHANNEL_COLOR, pixels); }
    CLockedImageBuffer(const CLockedImageBuffer&) = delete;
    CLockedImageBuffer& operator=(const CLockedImageBuffer&) = delete;

    // The buffer's pixel at (x, y) in image coordinates.
    const TPixelChannel* At(int32_t aX, int32_t aY) const {
        return pixels + (static_cast<ptrdiff_t>(aY) - allocOrigin.nY) * allocSize.nX +
               (static_cast<ptrdiff_t>(aX) - allocOrigin.nX);
    }

    TImagePoint allocOrigin{0, 0};
    TImageSize allocSize{0, 0};
    TImagePoint contentOrigin{0, 0};
    TImageSize contentSize{0, 0};
    const TPixelChannel* pixels = nullptr;

private:
    IDocumentImage* image_;
};

// Reads a rectangle into a tight buffer with TileGet, lets aKernel(pixels) change it in place,
// and writes it back with TileSet; a failure of either is the result. The rectangle's pixel
// count fits 32 bits (the caller checks).
template <class F>
HRESULT RewriteTile(IDocumentRasterImage* aImage, TImagePoint aOrigin, TImageSize aSize, F&& aKernel,
                    int32_t aKeepContent = 1) {
    const uint32_t count = aSize.nX * aSize.nY;
    std::vector<TPixelChannel> pixels(count);
    const TImageStride stride{1, aSize.nX};
    HRESULT hr = aImage->TileGet(CHANNEL_COLOR, &aOrigin, &aSize, &stride, count, pixels.data(), nullptr, ACCESS_MODE);
    if (FAILED(hr)) return hr;
    aKernel(pixels.data());
    return aImage->TileSet(CHANNEL_COLOR, &aOrigin, &aSize, &stride, count, pixels.data(), aKeepContent);
}

// A new buffer from BufferAllocate, freed by its deleter unless Replace hands it over.
class CAutoPixelBuffer {
public:
    CAutoPixelBuffer(IDocumentRasterImage* aImage, TImageSize aSize) : image_(aImage), size_(aSize) {
        if (FAILED(image_->BufferAllocate(aSize, &pixels_, &deleter_)) || !pixels_) throw std::bad_alloc();
    }
    ~CAutoPixelBuffer() {
        if (pixels_ && deleter_) deleter_(pixels_);
    }
    CAutoPixelBuffer(const CAutoPixelBuffer&) = delete;
    CAutoPixelBuffer& operator=(const CAutoPixelBuffer&) = delete;

    TPixelChannel* Data() const { return pixels_; }

    // Sets the default pixel and hands the buffer over as the content at aOrigin; the
    // result of BufferReplace is the run's. On success the buffer is the document's.
    HRESULT Replace(TImagePoint aOrigin, TPixelChannel aDefault, const uint64_t* aAlphaTotal) {
        const uint32_t channel = CHANNEL_COLOR;
        image_->ChannelsSet(1, &channel, &aDefault);
        HRESULT hr = image_->BufferReplace(aOrigin, size_, &aOrigin, &size_, aAlphaTotal, pixels_, deleter_);
        if (SUCCEEDED(hr)) pixels_ = nullptr;
        return hr;
    }

private:
    IDocumentRasterImage* image_;
    TImageSize size_;
    TPixelChannel* pixels_ = nullptr;
    ZTPixelDeleter deleter_ = nullptr;
};

// Scratch memory of a run, at least aBytes long, never handed over. It comes from the
// document's pixel allocator, which is made for blocks of image size: the reference host backs
// large ones with huge pages, whose first touch costs a fraction of what the heap's small
// pages cost. Where the document refuses it comes from the heap, aligned to a cache line.
// Null when neither has the memory.
class CScratchBuffer {
public:
    CScratchBuffer(IDocumentRasterImage* aImage, uint64_t aBytes) {
        const uint64_t pixels = std::max<uint64_t>((aBytes + sizeof(TPixelChannel) - 1) / sizeof(TPixelChannel), 1);
        // Rows of 4096 pixels keep both sides within 32 bits for any block the heap could give.
        const uint64_t width = std::min<uint64_t>(pixels, 4096), height = (pixels + width - 1) / width;
        TPixelChannel* block = nullptr;
        if (aImage && height <= UINT32_MAX &&
            SUCCEEDED(aImage->BufferAllocate({uint32_t(width), uint32_t(height)}, &block, &deleter_)) && block &&
            deleter_) {
            data_ = block;
            return;
        }
        if (block && deleter_) deleter_(block);
        deleter_ = nullptr;
        if (aBytes <= UINT64_MAX - 63) data_ = std::aligned_alloc(64, std::max<uint64_t>((aBytes + 63) / 64 * 64, 64));
    }
    ~CScratchBuffer() {
        if (deleter_)
            deleter_(data_);
        else
            std::free(data_);
    }
    CScratchBuffer(const CScratchBuffer&) = delete;
    CScratchBuffer& operator=(const CScratchBuffer&) = delete;

    template <class T>
    T* As() const {
        return static_cast<T*>(data_);
    }

private:
    void* data_ = nullptr;
    ZTPixelDeleter deleter_ = nullptr;
};

}  // namespace zt
