// Work split into shares on the host's pool: the one share rule, the rules that decide when a
// run uses the pool, and the runner. Every threaded run of the module goes through here.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <new>
#include <utility>

#include "frame/classes.h"

namespace zt {

// ---- when a run uses the pool, side by side

// Pixel tasks: at least 16 rows and more than 16384 pixels, the product in 32 bits.
inline bool PoolForPixels(uint32_t aWidth, uint32_t aHeight) { return aHeight >= 16 && aWidth * aHeight > 16384u; }
// Colour adjustments: at least 4 rows and more than 4096 pixels.
inline bool PoolForAdjustments(uint32_t aWidth, uint32_t aHeight) {
    return aHeight >= 4 && uint64_t(aWidth) * aHeight > 4096u;
}
// Blur: at least 16 rows and at least 16384 pixels.
inline bool PoolForBlur(uint32_t aWidth, uint32_t aHeight) {
    return aHeight >= 16 && uint64_t(aWidth) * aHeight >= 16384u;
}

// Bevel: always, whatever the size; its tiles decide how many shares have work.
inline bool PoolForBevel() { return true; }

// ---- the share rule

// Share aIndex of aTotal over aLines lines: lines [first, end) with n = min(aTotal, aLines)
// shares, first = aIndex x aLines / n. The test is strict on purpose: only an index beyond
// the line count has no share (any is false), so with more shares than lines the share whose
// index equals the line count gets the line past the end. The runner never makes more shares
// than lines; tasks that could be handed such a share take the clamped form.
struct SShare {
    bool any;
    uint32_t first, end;
};
inline SShare ShareOf(uint32_t aIndex, uint32_t aTotal, uint32_t aLines) {
    if (aIndex > aLines) return {false, 0, 0};
    const uint64_t n = std::max<uint32_t>(1, std::min(aLines, aTotal));
    return {true, uint32_t(uint64_t(aLines) * aIndex / n), uint32_t(uint64_t(aLines) * (aIndex + 1) / n)};
}
// The same share kept inside the lines: the share at the line count is empty.
inline SShare ClampedShareOf(uint32_t aIndex, uint32_t aTotal, uint32_t aLines) {
    const SShare s = ShareOf(aIndex, aTotal, aLines);
    return {s.any, std::min(s.first, aLines), std::min(s.end, aLines)};
}

// ---- the runner

// The host's pool when aUse holds and the host has one.
ComPtr<IThreadPool> PoolIf(bool aUse);
// The pool's thread count; 1 without a pool.
uint32_t PoolThreads(IThreadPool* aPool);

// Runs aTask over aLines lines: as aShares shares on the pool (0: one per pool thread) when
// there is a pool and every share gets at least one line, else as one share on this thread.
// The pool's own failure is ignored, as the task reports through its own state.
void RunShares(IThreadedTask& aTask, uint32_t aLines, IThreadPool* aPool, uint32_t aShares = 0);

// A task made of a body that is called once per share with the share's lines and index:
// whatever the body makes before its loop is the share's own state. The pool does not pass
// results on, so the task keeps the first failure of any share; an exception ends its share
// there (no memory: E_OUTOFMEMORY) instead of leaving a pool thread.
template <class Body>
class CShareTask final : public CStackUnknown<IThreadedTask> {
public:
    CShareTask(uint32_t aLines, Body& aBody) : lines_(aLines), body_(aBody) {}
    HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
        const SShare share = ClampedShareOf(aIndex, aTotal, lines_);
        if (!share.any) return S_FALSE;
        if (share.first >= share.end) return S_OK;
        HRESULT hr;
        try {
            hr = body_(share.first, share.end, aIndex);
        } catch (const std::bad_alloc&) {
            hr = E_OUTOFMEMORY;
        } catch (...) {
            hr = E_UNEXPECTED;
        }
        if (FAILED(hr)) {
            HRESULT none = S_OK;
            failure_.compare_exchange_strong(none, hr);
        }
        return hr;
    }
    // S_OK, or the first failure of a share.
    HRESULT Result() const { return failure_.load(); }

private:
    uint32_t lines_;
    Body& body_;
    std::atomic<HRESULT> failure_{S_OK};
};

// Runs aBody(first, end, share) -> HRESULT over aLines lines, on the pool when aPool is given
// (see RunShares); gives S_OK or the first failure of a share.
template <class Body>
HRESULT ParallelLines(uint32_t aLines, IThreadPool* aPool, Body&& aBody, uint32_t aShares = 0) {
    CShareTask<std::remove_reference_t<Body>> task(aLines, aBody);
    RunShares(task, aLines, aPool, aShares);
    return task.Result();
}

}  // namespace zt
