// The AVX2 form of the streamed two-axis blur, published through the form table.
#include "operations/blur/blur_stream_avx2.h"

namespace zt {

namespace {

template <class Kernel>
HRESULT Streamed(const SStreamedBlurJob& aJob, const Kernel& aRows, const Kernel& aColumns, IThreadPool* aPool) {
    return avx2::CStreamedBlur<Kernel>(aJob.table, aJob.source, aJob.sourceStride, aJob.target, aRows, aColumns)
        .Run(aPool);
}

HRESULT Recursive(const SStreamedBlurJob& aJob, const CRecursiveBlurRGBA& aRows, const CRecursiveBlurRGBA& aColumns,
                  IThreadPool* aPool, TWidePixel* aIntermediate) {
    return avx2::CRecursiveTwoAxisBlur(aJob.table, aJob.source, aJob.sourceStride, aJob.target, aRows, aColumns)
        .Run(aPool, aIntermediate);
}

}  // namespace

const SStreamedBlurForm kStreamedBlurAvx2 = {&Streamed<CBoxBlurFloat>, &Streamed<CFractionBoxBlurFloat>,
                                             &Streamed<CLinearBlurFloat>, &Recursive};

}  // namespace zt
