// The mask state: a bounding rectangle and, unless the selection is the plain rectangle, one
// byte per pixel in it.
#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include "host/masks.h"
#include "host/object.h"
#include "host/registry.h"

namespace zthost {
namespace {

class ImageMask : public ISharedStateImageMask {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ISharedStateImageMask>(this, aIID); }

    HRESULT IsRectangular() override {
        std::lock_guard lock(mutex_);
        return bytes_.empty() ? S_OK : S_FALSE;
    }

    HRESULT GetBounds(int32_t* aX, int32_t* aY, uint32_t* aWidth, uint32_t* aHeight) override {
        std::lock_guard lock(mutex_);
        if (aX) *aX = x_;
        if (aY) *aY = y_;
        if (aWidth) *aWidth = width_;
        if (aHeight) *aHeight = height_;
        return S_OK;
    }

    HRESULT GetMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight, uint32_t aStride,
                    uint8_t* aBytes) override {
        if (aWidth == 0 || aHeight == 0) return S_OK;
        if (!aBytes) return E_POINTER;
        if (aStride < aWidth) return E_INVALIDARG;
        std::lock_guard lock(mutex_);
        const int64_t x0 = x_, y0 = y_, x1 = x0 + width_, y1 = y0 + height_;
        for (uint32_t row = 0; row < aHeight; ++row) {
            uint8_t* out = aBytes + size_t(row) * aStride;
            const int64_t y = int64_t(aY) + row;
            if (y < y0 || y >= y1) {
                std::fill_n(out, aWidth, uint8_t(0));
                continue;
            }
            for (uint32_t col = 0; col < aWidth; ++col) {
                const int64_t x = int64_t(aX) + col;
                if (x < x0 || x >= x1)
                    out[col] = 0;
                else
                    out[col] = bytes_.empty() ? 255 : bytes_[size_t(y - y0) * width_ + size_t(x - x0)];
            }
        }
        return S_OK;
    }

    HRESULT SetMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight, uint32_t aStride,
                    const uint8_t* aBytes) override {
        std::lock_guard lock(mutex_);
        if (!aBytes || aWidth == 0 || aHeight == 0) {
            x_ = aX, y_ = aY, width_ = 0, height_ = 0;
            bytes_.clear();
            return S_OK;
        }
        if (aStride < aWidth) return E_INVALIDARG;
        try {
            // Bytes make a mask even when every one is 255: only a rectangle set as such is
            // the plain rectangle.
            std::vector<uint8_t> bytes(size_t(aWidth) * aHeight);
            for (uint32_t row = 0; row < aHeight; ++row)
                std::copy_n(aBytes + size_t(row) * aStride, aWidth, bytes.data() + size_t(row) * aWidth);
            bytes_.swap(bytes);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        x_ = aX, y_ = aY, width_ = aWidth, height_ = aHeight;
        return S_OK;
    }

    void SetRectangle(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight) {
        std::lock_guard lock(mutex_);
        x_ = aX, y_ = aY, width_ = aWidth, height_ = aHeight;
        bytes_.clear();
    }

private:
    std::mutex mutex_;
    int32_t x_ = 0, y_ = 0;
    uint32_t width_ = 0, height_ = 0;
    std::vector<uint8_t> bytes_;  // empty: the plain rectangle
};

}  // namespace

HRESULT CreateImageMaskState(const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    auto* mask = new (std::nothrow) HeapObject<ImageMask>();
    if (!mask) return E_OUTOFMEMORY;
    HRESULT hr = mask->QueryInterface(aIID, aOut);
    mask->Release();
    return hr;
}

ComPtr<ISharedStateImageMask> CreateImageMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight,
                                              uint32_t aStride, const uint8_t* aBytes) {
    ComPtr<ISharedStateImageMask> mask;
    if (FAILED(CreateImageMaskState(ISharedStateImageMask::iid, mask.out()))) return nullptr;
    if (FAILED(mask->SetMask(aX, aY, aWidth, aHeight, aStride, aBytes))) return nullptr;
    return mask;
}

ComPtr<ISharedStateImageMask> CreateRectangularMask(int32_t aX, int32_t aY, uint32_t aWidth, uint32_t aHeight) {
    ComPtr<ISharedStateImageMask> mask;
    if (FAILED(CreateImageMaskState(ISharedStateImageMask::iid, mask.out()))) return nullptr;
    static_cast<ImageMask*>(mask.get())->SetRectangle(aX, aY, aWidth, aHeight);
    return mask;
}

}  // namespace zthost
