// The pixel producers that operations hand to CanvasSet: thin objects over the kernels.
#pragma once

#include "frame/object.h"
#include "frame/operation.h"
#include "operations/geometry/resample_kernels.h"

namespace zt {

class CResamplingHelperNearest final : public CStackUnknown<IRasterImageTransformer> {
public:
    HRESULT ProcessTile(uint32_t aChannelCount, float aGamma, const TPixelChannel* aDefault, const TMatrix3x3f* aMatrix,
                        const TPixelChannel* aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize,
                        TImageStride aSourceStride, TPixelChannel* aTarget, TImagePoint aTargetOrigin,
                        TImageSize aTargetSize, TImageStride aTargetStride) override;
};

class CResamplingHelperCoverage final : public CStackUnknown<IRasterImageTransformer> {
public:
    CResamplingHelperCoverage(TImageSize aSourceSize, TImageSize aTargetSize, bool aCubic)
        : setup_{aSourceSize, aTargetSize, aCubic} {}
    HRESULT ProcessTile(uint32_t aChannelCount, float aGamma, const TPixelChannel* aDefault, const TMatrix3x3f* aMatrix,
                        const TPixelChannel* aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize,
                        TImageStride aSourceStride, TPixelChannel* aTarget, TImagePoint aTargetOrigin,
                        TImageSize aTargetSize, TImageStride aTargetStride) override;

private:
    resample::SCoverageSetup setup_;
};

class CTransformHelperRotate final : public CStackUnknown<IRasterImageTransformer> {
public:
    HRESULT ProcessTile(uint32_t aChannelCount, float aGamma, const TPixelChannel* aDefault, const TMatrix3x3f* aMatrix,
                        const TPixelChannel* aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize,
                        TImageStride aSourceStride, TPixelChannel* aTarget, TImagePoint aTargetOrigin,
                        TImageSize aTargetSize, TImageStride aTargetStride) override;
};

// Also a class of the table (CLSID_BilinearTransformHelper), so that the host can make it.
class CTransformHelperTransform : public IRasterImageTransformer {
public:
    static constexpr CLSID classId = MakeGuid("7d22d397-d956-491e-9b55-652021dd6bac");
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IRasterImageTransformer>(this, aIID); }
    HRESULT ProcessTile(uint32_t aChannelCount, float aGamma, const TPixelChannel* aDefault, const TMatrix3x3f* aMatrix,
                        const TPixelChannel* aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize,
                        TImageStride aSourceStride, TPixelChannel* aTarget, TImagePoint aTargetOrigin,
                        TImageSize aTargetSize, TImageStride aTargetStride) override;
};

// The same producer on the stack of a run.
class CStackTransformHelper final : public CStackUnknown<IRasterImageTransformer> {
public:
    HRESULT ProcessTile(uint32_t aChannelCount, float aGamma, const TPixelChannel* aDefault, const TMatrix3x3f* aMatrix,
                        const TPixelChannel* aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize,
                        TImageStride aSourceStride, TPixelChannel* aTarget, TImagePoint aTargetOrigin,
                        TImageSize aTargetSize, TImageStride aTargetStride) override;
};

}  // namespace zt
