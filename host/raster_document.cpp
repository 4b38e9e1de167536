// An in-memory raster document: canvas, content rectangle, default pixel, resolution, gamma,
// and a pixel buffer whose rectangle may be larger than the content.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

#include <sys/mman.h>

#include "host/masks.h"
#include "host/object.h"
#include "host/zthost.h"

namespace zthost {
namespace {

// Pixel counts cross the interfaces as 32-bit numbers, so no buffer may hold more.
constexpr uint64_t kMaxPixels = UINT32_MAX;

// A rectangle in 64 bits, so that an end point past the 32-bit range can be told and refused.
struct Rect {
    int64_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    int64_t Width() const { return x1 - x0; }
    int64_t Height() const { return y1 - y0; }
    bool Empty() const { return x1 <= x0 || y1 <= y0; }
    uint64_t Area() const { return Empty() ? 0 : uint64_t(Width()) * uint64_t(Height()); }
    // The plane ends before INT32_MAX, as the whole-plane rectangle of the interfaces does.
    bool InPlane() const { return x0 >= INT32_MIN && y0 >= INT32_MIN && x1 <= INT32_MAX && y1 <= INT32_MAX; }
    bool Contains(const Rect& r) const { return r.x0 >= x0 && r.y0 >= y0 && r.x1 <= x1 && r.y1 <= y1; }
    bool operator==(const Rect&) const = default;

    TImagePoint Origin() const { return {int32_t(x0), int32_t(y0)}; }
    TImageSize Size() const { return Empty() ? TImageSize{0, 0} : TImageSize{uint32_t(Width()), uint32_t(Height())}; }
};

Rect RectOf(TImagePoint aOrigin, TImageSize aSize) {
    return {aOrigin.nX, aOrigin.nY, int64_t(aOrigin.nX) + aSize.nX, int64_t(aOrigin.nY) + aSize.nY};
}

Rect Intersection(const Rect& a, const Rect& b) {
    return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

Rect Bounds(const Rect& a, const Rect& b) {
    return {std::min(a.x0, b.x0), std::min(a.y0, b.y0), std::max(a.x1, b.x1), std::max(a.y1, b.y1)};
}

// Whether aCount pixels at the strides hold a rectangle of aWidth by aHeight.
bool Fits(uint64_t aWidth, uint64_t aHeight, TImageStride aStride, uint32_t aCount) {
    const uint64_t lastX = (aWidth - 1) * aStride.nX, lastY = (aHeight - 1) * aStride.nY;
    return lastX < aCount && lastY < aCount && lastX + lastY < aCount;
}

// A matrix translation as whole pixels; false when it is not a number or too far to be one.
bool Truncate(float aValue, int64_t* aWhole) {
    if (!(std::fabs(aValue) < 4294967296.0f)) return false;
    *aWhole = static_cast<int64_t>(aValue);
    return true;
}

void FreePixels(void* aPixels) { std::free(aPixels); }

std::atomic<uint64_t> g_bufferLimit{UINT64_MAX};

// At least one pixel, so that an empty request still gets a buffer to hand back. Large
// buffers are aligned to huge pages and advised as such: their first touch then faults once
// per 2 MiB instead of once per 4 KiB, which on a large image is a good part of a blur's time.
TPixelChannel* NewPixels(uint64_t aCount) {
    if (aCount > kMaxPixels) return nullptr;
    constexpr size_t kHugePage = size_t(2) << 20;
    const size_t bytes = std::max<uint64_t>(aCount, 1) * sizeof(TPixelChannel);
    if (bytes < 2 * kHugePage) return static_cast<TPixelChannel*>(std::malloc(bytes));
    void* pixels = std::aligned_alloc(kHugePage, (bytes + kHugePage - 1) / kHugePage * kHugePage);
    if (pixels) madvise(pixels, bytes, MADV_HUGEPAGE);  // only advice: a refusal changes nothing
    return static_cast<TPixelChannel*>(pixels);
}

struct Buffer {
    TPixelChannel* pixels = nullptr;
    ZTPixelDeleter deleter = nullptr;
    Rect rect;  // the alloc rectangle; the row stride is its width

    TPixelChannel* At(int64_t aX, int64_t aY) const { return pixels + (aY - rect.y0) * rect.Width() + (aX - rect.x0); }
    void Free() {
        if (pixels && deleter) deleter(pixels);
        pixels = nullptr;
    }
};

class RasterDocument : public IDocument, public IDocumentRasterImage {
public:
    RasterDocument(const RasterImageInit& aInit, const Rect& aContent, const Buffer& aBuffer)
        : canvas_(aInit.canvas), resolution_(aInit.resolution), default_(aInit.defaultPixel), gamma_(aInit.gamma) {
        Install(aBuffer, aContent);
    }
    ~RasterDocument() {
        buffer_.Free();
        for (auto& b : retired_) b.Free();
    }

    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocument, IBlockOperations, IDocumentRasterImage, IDocumentEditableImage, IDocumentImage>(
            this, aIID);
    }

    // ---- IBlockOperations, IDocument

    HRESULT WriteLock() override {
        std::lock_guard lock(mutex_);
        ++writeLocks_;
        return S_OK;
    }

    HRESULT WriteUnlock() override {
        std::lock_guard lock(mutex_);
        if (writeLocks_ == 0) return E_UNEXPECTED;
        --writeLocks_;
        return S_OK;
    }

    HRESULT QueryFeatureInterface(const IID& aIID, void** aFeature) override {
        if (!aFeature) return E_POINTER;
        *aFeature = nullptr;
        if (aIID != IDocumentRasterImage::iid && aIID != IDocumentEditableImage::iid && aIID != IDocumentImage::iid)
            return E_NOINTERFACE;
        return static_cast<IDocument*>(this)->QueryInterface(aIID, aFeature);
    }

    // A copy with its own pixels goes into the base under aID; a raster image has no
    // sub-documents, so the prefix names nothing.
    HRESULT DocumentCopy(const char16_t*, IDocumentBase* aBase, const char16_t* aID, void*) override {
        if (!aBase) return E_POINTER;
        ComPtr<IDocument> copy = CopyRasterDocument(static_cast<IDocument*>(this));
        if (!copy) return E_OUTOFMEMORY;
        return DocumentBaseInsert(aBase, aID, copy);
    }

    // ---- IDocumentImage

    HRESULT CanvasGet(TImageSize* aCanvas, TImageResolution* aResolution, TImagePoint* aContentOrigin,
                      TImageSize* aContentSize, void*) override {
        std::lock_guard lock(mutex_);
        if (aCanvas) *aCanvas = canvas_;
        if (aResolution) *aResolution = resolution_;
        if (aContentOrigin) *aContentOrigin = content_.Origin();
        if (aContentSize) *aContentSize = content_.Size();
        return S_OK;
    }

    HRESULT ChannelsEnum(void*, void*, IEnumImageChannels* aEnum) override {
        if (!aEnum) return E_POINTER;
        uint32_t pairs[2] = {CHANNEL_COLOR};
        {
            std::lock_guard lock(mutex_);
            pairs[1] = default_.n;
        }
        // Consume tells whether it found its channel; that is no failure of ours.
        HRESULT hr = aEnum->Consume(nullptr, 1, pairs);
        return FAILED(hr) ? hr : S_OK;
    }

    HRESULT TileGet(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                    const TImageStride* aStride, uint32_t aPixelCount, TPixelChannel* aPixels, void*,
                    uint32_t) override {
        if (aChannelID != CHANNEL_COLOR) return E_HOST_INVALID_PARAM;
        if (!aOrigin || !aSize || !aPixels) return E_POINTER;
        const Rect r = RectOf(*aOrigin, *aSize);
        if (!r.InPlane()) return E_INVALIDARG;
        if (r.Empty()) return S_OK;
        const TImageStride stride = aStride ? *aStride : TImageStride{1, aSize->nX};
        if (!Fits(aSize->nX, aSize->nY, stride, aPixelCount)) return E_INVALIDARG;
        std::lock_guard lock(mutex_);
        CopyOut(r, aPixels, stride.nX, stride.nY);
        return S_OK;
    }

    // One visit with at most five tiles: the bands above and left of the content, the content
    // itself with the buffer's stride, the bands right of and below it.
    HRESULT Inspect(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize, IImageVisitor* aVisitor,
                    void*, uint32_t) override {
        if (aChannelID != CHANNEL_COLOR) return E_HOST_INVALID_PARAM;
        if (!aOrigin || !aSize || !aVisitor) return E_POINTER;
        const Rect r = RectOf(*aOrigin, *aSize);
        if (!r.InPlane()) return E_INVALIDARG;
        if (r.Empty()) return S_OK;

        TImageTile tiles[5];
        uint32_t count = 0;
        TPixelChannel fill;
        auto oneValue = [&](const Rect& t) {
            const TImagePoint at = t.Origin();
            const TImageSize size = t.Size();
            tiles[count++] = {CHANNEL_COLOR, at.nX, at.nY, size.nX, size.nY, 0, 0, 1, &fill};
        };
        bool locked = false;
        {
            std::lock_guard lock(mutex_);
            fill = default_;
            const Rect c = Intersection(r, content_);
            if (c.Empty()) {
                oneValue(r);
            } else {
                if (r.y0 < c.y0) oneValue({r.x0, r.y0, r.x1, c.y0});
                if (r.x0 < c.x0) oneValue({r.x0, c.y0, c.x0, c.y1});
                const TImagePoint at = c.Origin();
                const TImageSize size = c.Size();
                tiles[count++] = {CHANNEL_COLOR,
                                  at.nX,
                                  at.nY,
                                  size.nX,
                                  size.nY,
                                  1,
                                  uint32_t(buffer_.rect.Width()),
                                  uint32_t(c.Area()),
                                  buffer_.At(c.x0, c.y0)};
                if (c.x1 < r.x1) oneValue({c.x1, c.y0, r.x1, c.y1});
                if (c.y1 < r.y1) oneValue({r.x0, c.y1, r.x1, r.y1});
                // The visitor reads the buffer without the mutex, as a locker would.
                ++locks_;
                locked = true;
            }
        }
        HRESULT hr = aVisitor->Visit(count, tiles, nullptr);
        if (locked) {
            std::lock_guard lock(mutex_);
            Unlock();
        }
        return hr;
    }

    HRESULT BufferLock(uint32_t aChannelID, TImagePoint* aAllocOrigin, TImageSize* aAllocSize,
                       TImagePoint* aContentOrigin, TImageSize* aContentSize, const TPixelChannel** aPixels, void*,
                       uint32_t) override {
        if (aChannelID != CHANNEL_COLOR) return E_HOST_INVALID_PARAM;
        if (!aPixels) return E_POINTER;
        std::lock_guard lock(mutex_);
        ++locks_;
        if (aContentOrigin) *aContentOrigin = content_.Origin();
        if (aContentSize) *aContentSize = content_.Size();
        if (content_.Empty()) {
            // No content: one pixel at the content origin, the default pixel, so that a caller
            // may still read the pixel there.
            if (aAllocOrigin) *aAllocOrigin = content_.Origin();
            if (aAllocSize) *aAllocSize = {1, 1};
            *aPixels = &default_;
        } else {
            if (aAllocOrigin) *aAllocOrigin = buffer_.rect.Origin();
            if (aAllocSize) *aAllocSize = buffer_.rect.Size();
            *aPixels = buffer_.pixels;
        }
        return S_OK;
    }

    HRESULT BufferUnlock(uint32_t aChannelID, const TPixelChannel*) override {
        if (aChannelID != CHANNEL_COLOR) return E_HOST_INVALID_PARAM;
        std::lock_guard lock(mutex_);
        if (locks_ == 0) return E_UNEXPECTED;
        Unlock();
        return S_OK;
    }

    // ---- IDocumentEditableImage

    HRESULT ResolutionSet(const TImageResolution* aResolution) override {
        if (!aResolution) return E_POINTER;
        std::lock_guard lock(mutex_);
        resolution_ = *aResolution;
        return S_OK;
    }

    HRESULT ContentOriginSet(const TImagePoint* aOrigin) override {
        if (!aOrigin) return E_POINTER;
        std::lock_guard lock(mutex_);
        return MoveContent(int64_t(aOrigin->nX) - content_.x0, int64_t(aOrigin->nY) - content_.y0);
    }

    HRESULT CanvasSet(const TImageSize* aCanvas, const TImageResolution* aResolution, const TMatrix3x3f* aMatrix,
                      IRasterImageTransformer* aTransformer) override {
        if (aCanvas && (aCanvas->nX == 0 || aCanvas->nY == 0)) return E_INVALIDARG;
        if (aTransformer) return Resample(aCanvas, aResolution, aMatrix, aTransformer);
        int64_t dx = 0, dy = 0;
        if (aMatrix && (!Truncate(aMatrix->m[6], &dx) || !Truncate(aMatrix->m[7], &dy))) return E_INVALIDARG;
        std::lock_guard lock(mutex_);
        HRESULT hr = MoveContent(dx, dy);
        if (FAILED(hr)) return hr;
        if (aCanvas) canvas_ = *aCanvas;
        if (aResolution) resolution_ = *aResolution;
        return S_OK;
    }

    HRESULT ChannelsSet(uint32_t aCount, const uint32_t* aChannelIDs, const TPixelChannel* aDefaults) override {
        if (aCount != 1) return E_HOST_INVALID_PARAM;
        if (!aChannelIDs || !aDefaults) return E_POINTER;
        if (aChannelIDs[0] != CHANNEL_COLOR) return E_HOST_INVALID_PARAM;
        std::lock_guard lock(mutex_);
        default_ = aDefaults[0];
        return S_OK;
    }

    // The content grows to the bounding box of itself and the rectangle; aKeepContent does not
    // change that.
    HRESULT TileSet(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                    const TImageStride* aStride, uint32_t aPixelCount, const TPixelChannel* aPixels, int32_t) override {
        if (aChannelID != CHANNEL_COLOR) return E_HOST_INVALID_PARAM;
        if (!aOrigin || !aSize || !aPixels) return E_POINTER;
        const Rect r = RectOf(*aOrigin, *aSize);
        if (!r.InPlane()) return E_INVALIDARG;
        if (r.Empty()) return S_OK;
        const TImageStride stride = aStride ? *aStride : TImageStride{1, aSize->nX};
        if (!Fits(aSize->nX, aSize->nY, stride, aPixelCount)) return E_INVALIDARG;

        std::lock_guard lock(mutex_);
        const Rect grown = content_.Empty() ? r : Bounds(content_, r);
        if (grown != content_) {
            // The buffer around the old content holds nothing meaningful: start afresh with the
            // old content in default pixels.
            Buffer larger{NewPixels(grown.Area()), FreePixels, grown};
            if (!larger.pixels) return E_OUTOFMEMORY;
            CopyOut(grown, larger.pixels, 1, uint64_t(grown.Width()));
            Install(larger, grown);
        }
        for (int64_t y = r.y0; y < r.y1; ++y) {
            TPixelChannel* target = buffer_.At(r.x0, y);
            const TPixelChannel* source = aPixels + uint64_t(y - r.y0) * stride.nY;
            for (int64_t x = 0; x < r.Width(); ++x) target[x] = source[uint64_t(x) * stride.nX];
        }
        return S_OK;
    }

    // ---- IDocumentRasterImage

    HRESULT BufferReplace(TImagePoint aAllocOrigin, TImageSize aAllocSize, const TImagePoint* aContentOrigin,
                          const TImageSize* aContentSize, const uint64_t* aAlphaTotal, TPixelChannel* aPixels,
                          ZTPixelDeleter aDeleter) override {
        if (!aPixels) return E_POINTER;
        const Rect alloc = RectOf(aAllocOrigin, aAllocSize);
        const Rect content =
            RectOf(aContentOrigin ? *aContentOrigin : aAllocOrigin, aContentSize ? *aContentSize : aAllocSize);
        if (!alloc.InPlane() || alloc.Area() > kMaxPixels || !content.InPlane()) return E_INVALIDARG;
        if (!content.Empty() && !alloc.Contains(content)) return E_INVALIDARG;
        std::lock_guard lock(mutex_);
        Install({aPixels, aDeleter, alloc}, content);
        ++replaceCount_;
        alphaTotalGiven_ = aAlphaTotal != nullptr;
        alphaTotal_ = aAlphaTotal ? *aAlphaTotal : 0;
        return S_OK;
    }

    HRESULT BufferAllocate(TImageSize aSize, TPixelChannel** aPixels, ZTPixelDeleter* aDeleter) override {
        if (!aPixels || !aDeleter) return E_POINTER;
        *aPixels = nullptr;
        const uint64_t count = uint64_t(aSize.nX) * aSize.nY;
        if (count > g_bufferLimit.load()) return E_OUTOFMEMORY;
        *aPixels = NewPixels(count);
        if (!*aPixels) return E_OUTOFMEMORY;
        *aDeleter = FreePixels;
        return S_OK;
    }

    // ---- host side

    void Snapshot(RasterImageState* aState) {
        std::lock_guard lock(mutex_);
        aState->canvas = canvas_;
        aState->contentOrigin = content_.Origin();
        aState->contentSize = content_.Size();
        aState->defaultPixel = default_;
        aState->resolution = resolution_;
        aState->gamma = gamma_;
        aState->content.resize(content_.Area());
        CopyOut(content_, aState->content.data(), 1, uint64_t(content_.Width()));
        aState->bufferReplaceCount = replaceCount_;
        aState->lastAlphaTotalGiven = alphaTotalGiven_;
        aState->lastAlphaTotal = alphaTotal_;
    }

private:
    // The rest runs with the mutex held.

    // Copies a rectangle anywhere, default pixels outside the content.
    void CopyOut(const Rect& aRect, TPixelChannel* aOut, uint64_t aStrideX, uint64_t aStrideY) const {
        const Rect c = Intersection(aRect, content_);
        for (int64_t y = aRect.y0; y < aRect.y1; ++y) {
            TPixelChannel* row = aOut + uint64_t(y - aRect.y0) * aStrideY;
            const TPixelChannel* source = !c.Empty() && y >= c.y0 && y < c.y1 ? buffer_.At(c.x0, y) : nullptr;
            for (int64_t x = aRect.x0; x < aRect.x1; ++x)
                row[uint64_t(x - aRect.x0) * aStrideX] = source && x >= c.x0 && x < c.x1 ? source[x - c.x0] : default_;
        }
    }

    // Makes aBuffer the document's, with aContent as the content rectangle. An empty content
    // needs no pixels.
    void Install(Buffer aBuffer, const Rect& aContent) {
        Retire(buffer_);
        if (aContent.Empty()) {
            aBuffer.Free();
            buffer_ = {};
            content_ = {aContent.x0, aContent.y0, aContent.x0, aContent.y0};
        } else {
            buffer_ = aBuffer;
            content_ = aContent;
        }
    }

    // A buffer that is locked stays until the last unlock: readers may still be at work on it.
    void Retire(Buffer& aBuffer) {
        if (locks_ > 0 && aBuffer.pixels)
            retired_.push_back(aBuffer);
        else
            aBuffer.Free();
        aBuffer = {};
    }

    void Unlock() {
        if (--locks_ > 0) return;
        for (auto& b : retired_) b.Free();
        retired_.clear();
    }

    HRESULT MoveContent(int64_t aDX, int64_t aDY) {
        const Rect moved{content_.x0 + aDX, content_.y0 + aDY, content_.x1 + aDX, content_.y1 + aDY};
        if (!moved.InPlane()) return E_INVALIDARG;
        content_ = moved;
        buffer_.rect = {buffer_.rect.x0 + aDX, buffer_.rect.y0 + aDY, buffer_.rect.x1 + aDX, buffer_.rect.y1 + aDY};
        return S_OK;
    }

    // One call of the transformer from the whole old canvas to the whole new one; the new
    // canvas becomes the content.
    HRESULT Resample(const TImageSize* aCanvas, const TImageResolution* aResolution, const TMatrix3x3f* aMatrix,
                     IRasterImageTransformer* aTransformer) {
        TImageSize from, to;
        TPixelChannel fill;
        float gamma;
        TPixelChannel* source = nullptr;
        Buffer target;
        {
            std::lock_guard lock(mutex_);
            from = canvas_;
            to = aCanvas ? *aCanvas : canvas_;
            const Rect fromRect = RectOf({0, 0}, from);
            target.rect = RectOf({0, 0}, to);
            source = NewPixels(fromRect.Area());
            target.pixels = NewPixels(target.rect.Area());
            target.deleter = FreePixels;
            if (!source || !target.pixels) {
                std::free(source);
                target.Free();
                return E_OUTOFMEMORY;
            }
            CopyOut(fromRect, source, 1, from.nX);
            fill = default_;
            gamma = gamma_;
        }
        std::fill_n(target.pixels, target.rect.Area(), fill);
        HRESULT hr = aTransformer->ProcessTile(1, gamma, &fill, aMatrix, source, {0, 0}, from, {1, from.nX},
                                               target.pixels, {0, 0}, to, {1, to.nX});
        std::free(source);
        if (FAILED(hr)) {
            target.Free();
            return hr;
        }
        std::lock_guard lock(mutex_);
        Install(target, target.rect);
        canvas_ = to;
        if (aResolution) resolution_ = *aResolution;
        return S_OK;
    }

    std::mutex mutex_;
    TImageSize canvas_;
    TImageResolution resolution_;
    TPixelChannel default_;
    float gamma_;
    Rect content_;  // empty: there is no buffer
    Buffer buffer_;
    uint32_t locks_ = 0;  // BufferLock calls not yet unlocked, and visits in progress
    std::vector<Buffer> retired_;
    uint32_t writeLocks_ = 0;
    uint32_t replaceCount_ = 0;
    bool alphaTotalGiven_ = false;
    uint64_t alphaTotal_ = 0;
};

}  // namespace

ComPtr<IDocument> CreateRasterDocument(const RasterImageInit& aInit) {
    if (aInit.canvas.nX == 0 || aInit.canvas.nY == 0) return nullptr;
    const Rect content = RectOf(aInit.contentOrigin, aInit.contentSize);
    if (!content.InPlane() || content.Area() > kMaxPixels) return nullptr;
    Buffer buffer;
    if (!content.Empty()) {
        buffer = {NewPixels(content.Area()), FreePixels, content};
        if (!buffer.pixels) return nullptr;
        if (aInit.pixels)
            std::copy_n(aInit.pixels, content.Area(), buffer.pixels);
        else
            std::fill_n(buffer.pixels, content.Area(), aInit.defaultPixel);
    }
    auto* document = new (std::nothrow) HeapObject<RasterDocument>(aInit, content, buffer);
    if (!document) {
        buffer.Free();
        return nullptr;
    }
    ComPtr<IDocument> result;
    result.attach(document);
    return result;
}

bool InspectRasterDocument(IDocument* aDocument, RasterImageState* aState) {
    auto* document = dynamic_cast<RasterDocument*>(aDocument);
    if (!document || !aState) return false;
    document->Snapshot(aState);
    return true;
}

ComPtr<IDocument> CopyRasterDocument(IDocument* aDocument) {
    RasterImageState state;
    if (!InspectRasterDocument(aDocument, &state)) return nullptr;
    RasterImageInit init;
    init.canvas = state.canvas;
    init.contentOrigin = state.contentOrigin;
    init.contentSize = state.contentSize;
    init.pixels = state.content.data();
    init.defaultPixel = state.defaultPixel;
    init.resolution = state.resolution;
    init.gamma = state.gamma;
    return CreateRasterDocument(init);
}

void SetBufferLimit(uint64_t aPixels) { g_bufferLimit.store(aPixels); }

}  // namespace zthost
