// The AVX-512 form of the streamed two-axis blur, published through the form table.
#include "operations/blur/blur_stream_avx512.h"

namespace zt {

namespace {

template <class Kernel>
HRESULT Streamed(const SStreamedBlurJob& aJob, const Kernel& aRows, const Kernel& aColumns, IThreadPool* aPool) {
    return avx512::CStreamedBlur<Kernel>(aJob.table, aJob.source, aJob.sourceStride, aJob.target, aRows, aColumns)
        .Run(aPool);
}

HRESULT Recursive(const SStreamedBlurJob& aJob, const CRecursiveBlurRGBA& aRows, const CRecursiveBlurRGBA& aColumns,
                  IThreadPool* aPool, TWidePixel* aIntermediate) {
    return avx512::CRecursiveTwoAxisBlur(aJob.table, aJob.source, aJob.sourceStride, aJob.target, aRows, aColumns)
        .Run(aPool, aIntermediate);
}

}  // namespace

const SStreamedBlurForm kStreamedBlurAvx512 = {&Streamed<CBoxBlurFloat>, &Streamed<CFractionBoxBlurFloat>,
                                               &Streamed<CLinearBlurFloat>, &Recursive};

}  // namespace zt
