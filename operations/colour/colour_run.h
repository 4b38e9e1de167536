// What the colour operations share beyond the pixel task: a runner that never lets a share
// past the last row, and the host's name for a colour.
#pragma once

#include "frame/classes.h"
#include "frame/text.h"
#include "pixel/pixel_task.h"

namespace zt {

// Shares whose index reaches the row count have no rows: they return at once. With fewer
// rows than pool threads the pixel task alone would give share `rows` the row below the
// destination; with this cap every share stays on its own row.
class CRowLimitedTask final : public CStackUnknown<IThreadedTask> {
public:
    CRowLimitedTask(IThreadedTask* aInner, uint32_t aRows) : inner_(aInner), rows_(aRows) {}
    HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
        if (aIndex >= rows_) return S_FALSE;
        return inner_->Execute(aIndex, aTotal);
    }

private:
    IThreadedTask* inner_;
    uint32_t rows_;
};

// Runs aTask over aRows rows on the host's pool when aUsePool holds and there is a pool,
// else as one share on the calling thread.
inline void RunRowsTask(IThreadedTask* aTask, uint32_t aRows, bool aUsePool) {
    if (aUsePool) {
        if (ComPtr<IThreadPool> pool = HostCreate<IThreadPool>(CLSID_ThreadPool)) {
            CRowLimitedTask limited(aTask, aRows);
            pool->Execute(0, &limited);  // the pool's failure is ignored, as for every pixel task
            return;
        }
    }
    aTask->Execute(0, 1);
}

// Runs an Op over the content of a locked image into aDestination (content size, rows tight).
template <class Op>
void RunPixelOp(IDocumentRasterImage* aImage, const SContent& aContent, TPixelChannel* aDestination, const Op& aOp,
                bool aUsePool) {
    if (!aContent.size.nX || !aContent.size.nY) return;
    CLockedImageBuffer source(aImage);
    const TImagePoint end{aContent.origin.nX + int32_t(aContent.size.nX),
                          aContent.origin.nY + int32_t(aContent.size.nY)};
    CPixelLevelTask<Op> task(&source, ReadDefaultPixel(aImage), aContent.origin, end, aDestination, &aOp);
    RunRowsTask(&task, aContent.size.nY, aUsePool);
}

// The name of a colour 0xAABBGGRR (red lowest) from the host's naming service; null when
// the service is absent or knows no name near it.
inline ComPtr<ILocalizedString> HostColorName(uint32_t aColor) {
    ComPtr<ILocalizedString> name;
    if (ComPtr<IColorNameProvider> names = HostCreate<IColorNameProvider>(CLSID_ColorNameProvider))
        names->ColorName(aColor, name.out());
    return name;
}

}  // namespace zt
