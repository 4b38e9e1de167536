#include "pixel/parallel.h"

namespace zt {

ComPtr<IThreadPool> PoolIf(bool aUse) { return aUse ? HostCreate<IThreadPool>(CLSID_ThreadPool) : nullptr; }

uint32_t PoolThreads(IThreadPool* aPool) {
    uint32_t threads = 1;
    if (aPool && (FAILED(aPool->ThreadCount(&threads)) || threads == 0)) threads = 1;
    return threads;
}

void RunShares(IThreadedTask& aTask, uint32_t aLines, IThreadPool* aPool, uint32_t aShares) {
    const uint32_t shares = aShares ? aShares : PoolThreads(aPool);
    if (aPool && shares > 1 && shares <= aLines)
        aPool->Execute(shares, &aTask);
    else
        aTask.Execute(0, 1);
}

}  // namespace zt
