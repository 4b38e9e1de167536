// Bevel: lights the image as if its shape were raised from the canvas, from a height map made
// of its opacity, in tiles on the host's pool; or writes the normal map of that height.
#pragma once

#include <atomic>
#include <vector>

#include "frame/host_masks.h"
#include "frame/object.h"
#include "frame/operation_base.h"
#include "operations/shape/bevel_kernels.h"
#include "operations/shape/shape_strings.h"

namespace zt {

struct SBevelSettings;

class CRasterImageBevel : public COperation<CRasterImageBevel, IRasterImageFilter, ILayerStyle> {
public:
    static constexpr CLSID classId = MakeGuid("bc29f53a-6940-4c6d-abc9-ebe5536d07ed");
    static constexpr uint32_t nameId = IDS_NAME_BEVEL;
    static const CSchema<SBevelSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    uint8_t ExecutionPriority() override { return 54; }
    HRESULT StyleFlagGet() override { return S_OK; }
};

// One share of a bevel run: the tile of its index, its height map from the alpha as it was
// before the run, and its own area lit in the shared buffer. A share without a tile gives 1.
class CBevelTask final : public CStackUnknown<IThreadedTask> {
public:
    SBevelParams params;
    TPixelChannel* buffer = nullptr;  // (W + 2) x (H + 2), the ring around the rectangle
    uint32_t width = 0, height = 0;
    TImagePoint origin{0, 0};               // the rectangle's top left on the canvas
    ISharedStateImageMask* mask = nullptr;  // null: no mask takes part
    const uint16_t* table = nullptr;        // the host's 513-entry sRGB table

    // The alpha of the buffer before any share writes, so that every share sees the same.
    void TakeAlpha();
    HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override;
    // S_OK, or the first failure of a share (the pool does not pass results on).
    HRESULT Result() const { return failure_.load(); }

private:
    std::vector<uint8_t> alpha_;
    std::atomic<HRESULT> failure_{S_OK};
};

}  // namespace zt
