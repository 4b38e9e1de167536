// The per-pixel task: one source pixel gives one destination pixel, rows split among the
// host's pool threads without locks.
#pragma once

#include <algorithm>
#include <atomic>

#include "frame/classes.h"
#include "frame/image.h"
#include "pixel/parallel.h"

namespace zt {

// Visits rectangle (aOrigin, aSize) of an image held in memory, with at most five tiles in
// one Visit call: above, left, the part inside the content, right, below. Tiles outside
// the content are one-value tiles of the default pixel. aPixels points to the pixel at
// aContentOrigin; aStride is the buffer's row length in pixels.
HRESULT RectImageInspect(TImagePoint aContentOrigin, TImageSize aContentSize, const TPixelChannel* aPixels,
                         uint32_t aStride, const TPixelChannel* aDefault, TImagePoint aOrigin, TImageSize aSize,
                         IImageVisitor* aVisitor);

// An Op has the constants of a run and `TPixelChannel Apply(TPixelChannel) const`. Ops that
// keep alpha have `std::atomic<uint64_t>* alphaTotal` and kKeepsAlphaTotal = true.
template <class Op>
class CPixelLevelTask final : public CStackUnknown<IThreadedTask> {
public:
    CPixelLevelTask(const CLockedImageBuffer* aSource, TPixelChannel aDefault, TImagePoint aStart, TImagePoint aEnd,
                    TPixelChannel* aDestination, const Op* aOp)
        : source_(aSource), default_(aDefault), start_(aStart), end_(aEnd), destination_(aDestination), op_(aOp) {}

    HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
        const uint32_t height = static_cast<uint32_t>(end_.nY - start_.nY);
        const uint32_t width = static_cast<uint32_t>(end_.nX - start_.nX);
        const SShare share = ShareOf(aIndex, aTotal, height);
        if (!share.any) return S_FALSE;
        const uint32_t r0 = share.first, r1 = share.end;
        CVisitor visitor({start_.nX, start_.nY + static_cast<int32_t>(r0)}, destination_ + size_t(r0) * width, width,
                         op_);
        const TPixelChannel* contentPixels =
            source_->pixels ? source_->At(source_->contentOrigin.nX, source_->contentOrigin.nY) : nullptr;
        return RectImageInspect(source_->contentOrigin, source_->contentSize, contentPixels, source_->allocSize.nX,
                                &default_, visitor.Origin(), {width, r1 - r0}, &visitor);
    }

    class CVisitor final : public CStackUnknown<IImageVisitor> {
    public:
        CVisitor(TImagePoint aOrigin, TPixelChannel* aDestination, uint32_t aStride, const Op* aOp)
            : origin_(aOrigin), destination_(aDestination), stride_(aStride), op_(aOp) {}
        TImagePoint Origin() const { return origin_; }

        HRESULT Visit(uint32_t aTileCount, const TImageTile* aTiles, void*) override {
            const Op op = *op_;  // constants in registers, not behind a pointer
            for (const TImageTile* tile = aTiles; tile != aTiles + aTileCount; ++tile) {
                TPixelChannel* row =
                    destination_ + ptrdiff_t(tile->nY - origin_.nY) * stride_ + (tile->nX - origin_.nX);
                const TPixelChannel* src = tile->pData;
                for (uint32_t y = 0; y < tile->nSizeY; ++y) {
                    const TPixelChannel* s = src;
                    TPixelChannel* d = row;
                    if constexpr (Op::kKeepsAlphaTotal) {
                        uint64_t sum = 0;
                        for (uint32_t x = 0; x < tile->nSizeX; ++x, s += tile->nStrideX) {
                            sum += s->bA;
                            *d++ = op.Apply(*s);
                        }
                        op.alphaTotal->fetch_add(sum, std::memory_order_relaxed);
                    } else {
                        for (uint32_t x = 0; x < tile->nSizeX; ++x, s += tile->nStrideX) *d++ = op.Apply(*s);
                    }
                    src += tile->nStrideY;
                    row += stride_;
                }
            }
            return S_OK;
        }

    private:
        TImagePoint origin_;
        TPixelChannel* destination_;
        uint32_t stride_;
        const Op* op_;
    };

private:
    const CLockedImageBuffer* source_;
    TPixelChannel default_;
    TImagePoint start_, end_;
    TPixelChannel* destination_;
    const Op* op_;
};

// The whole run of a pixel-level operation: feature, content, default pixel, the Op (made
// by aMakeOp(alphaTotal) after the default pixel is read), a new buffer, the task, and the
// hand-over with the default pixel transformed by the same Op.
template <class Op, class MakeOp>
HRESULT ActivatePixelOperation(IDocument* aDocument, MakeOp&& aMakeOp) {
    if (!aDocument) return E_POINTER;
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    if (!image) return E_NOINTERFACE;
    const SContent content = ReadContent(image);
    const TPixelChannel sourceDefault = ReadDefaultPixel(image);
    std::atomic<uint64_t> alphaTotal{0};
    const Op op = aMakeOp(&alphaTotal);
    const TPixelChannel newDefault = op.Apply(sourceDefault);

    CAutoPixelBuffer buffer(image, content.size);
    if (content.size.nX && content.size.nY) {
        CLockedImageBuffer source(image);
        const TImagePoint end{content.origin.nX + int32_t(content.size.nX),
                              content.origin.nY + int32_t(content.size.nY)};
        CPixelLevelTask<Op> task(&source, ReadDefaultPixel(image), content.origin, end, buffer.Data(), &op);
        RunShares(task, content.size.nY, PoolIf(PoolForPixels(content.size.nX, content.size.nY)));
    }
    const uint64_t total = alphaTotal.load();
    return buffer.Replace(content.origin, newDefault, Op::kKeepsAlphaTotal ? &total : nullptr);
}

}  // namespace zt
