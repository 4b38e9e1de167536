#include "operations/shape/bevel.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/image.h"
#include "frame/text.h"
#include "operations/shape/shape_run.h"
#include "pixel/parallel.h"

namespace zt {

struct SBevelSettings {
    int32_t source;
    std::u16string selectionId;
    int32_t amount, blur, method, angle;
    SColorF light;
    bool keepFlat, sunken;
    SVectorF specular;
    int32_t output;
};

namespace {

constexpr const char16_t* kBevel = u"[0409]Bevel[0405]Reliéf";
struct SMethodText {
    int32_t method;
    const char* nickname;
    const char16_t* label;
};
constexpr SMethodText kMethods[] = {
    {EBevelEdges, "bevel", u"[0409]Bevel edges[0405]Zkosené hrany"},
    {EBevelRound, "round", u"[0409]Round edges[0405]Zaoblené hrany"},
    {EBevelRidged, "ridged", u"[0409]Ridged edges[0405]Hřebenové hrany"},
    {EBevelSimple, "simple", u"[0409]Simple bevel[0405]Jednoduchý reliéf"},
};

// Amounts past this would make distances that no longer fit their cells.
constexpr int32_t kLargestAmount = 1 << 22;

}  // namespace

const CSchema<SBevelSettings>& CRasterImageBevel::Schema() {
    using S = SBevelSettings;
    static const CSchema<S> schema = [] {
        std::vector<SOption<int32_t>> methods;
        for (const SMethodText& m : kMethods) methods.push_back({m.method, m.nickname, m.label});
        const std::vector<SSchemaCondition> lit = {{u"Method", ECOCNotEqual, Long(EBevelSimple)}};
        return CSchema<S>{
            PickOne(u"Source", &S::source, u"[0409]Height source[0405]Zdroj výšky",
                    u"[0409]Defines how to obtain the height map for bevel effect.[0405]Určuje, jak se získá výšková "
                    u"mapa pro reliéf.",
                    1,
                    {{1, "opacity", u"[0409]Opacity[0405]Neprůhlednost"},
                     {3, "mask", u"[0409]Opacity and image mask[0405]Neprůhlednost a maska obrázku"}}),
            Simple(u"SelectionID", &S::selectionId, u"[0409]Mask ID[0405]ID masky",
                   u"[0409]Identifier of the image mask.[0405]Identifikátor masky obrázku.", u"IMAGEMASK",
                   {{u"Source", ECOCEqual, Long(3)}}),
            Simple(u"Amount", &S::amount, u"[0409]Amount[0405]Velikost",
                   u"[0409]Size of beveled region in pixels.[0405]Velikost zkosené oblasti v pixelech.", 10),
            Simple(u"Blur", &S::blur, u"[0409]Smoothing[0405]Vyhlazení",
                   u"[0409]Radius for smoothing in pixels. Makes the beveled shape round.[0405]Poloměr vyhlazení "
                   u"v pixelech. Zaobluje zkosený tvar.",
                   2),
            PickOne(u"Method", &S::method, u"[0409]Method[0405]Metoda",
                    u"[0409]Choose one of the beveling methods.[0405]Zvolte jednu z metod reliéfu.", 1,
                    std::move(methods)),
            Ranged(u"Angle", &S::angle, u"[0409]Angle[0405]Úhel",
                   u"[0409]Angle of the cut edge.[0405]Úhel zkosené hrany.", 45, 20, 70, 1,
                   {{u"Method", ECOCEqual, Long(EBevelEdges)}}),
            Simple(u"Light", &S::light, u"[0409]Light direction[0405]Směr světla",
                   u"[0409]Direction of parallel light rays shining on the height map.[0405]Směr rovnoběžných "
                   u"paprsků světla dopadajících na výškovou mapu.",
                   SColorF{0.27059805f, 0.27059805f, 0.0f, 0.9238795f}),
            Simple(u"KeepFlat", &S::keepFlat, u"[0409]Keep flat level[0405]Zachovat rovné plochy",
                   u"[0409]Adjust the light level to avoid changing flat surfaces.[0405]Upraví úroveň světla, aby se "
                   u"rovné plochy nezměnily.",
                   false, {{u"Method", ECOCEqual, Long(EBevelSimple)}}),
            Simple(u"Sunken", &S::sunken, u"[0409]Sunken[0405]Vmáčknutý",
                   u"[0409]If enabled, the shape will appear sunken insted of pulled out.[0405]Je-li zapnuto, tvar "
                   u"bude vypadat vmáčknutý místo vytažený.",
                   false, lit),
            Simple(u"SpecClr", &S::specular, u"[0409]Specular color[0405]Barva odlesku",
                   u"[0409]Color of the light that is reflected by the surface without diffusion.[0405]Barva "
                   u"světla, které povrch odráží bez rozptylu.",
                   SVectorF{0.5f, 0.5f, 0.5f}, lit),
            PickOne(u"Output", &S::output, u"[0409]Output[0405]Výstup", u"[0409]Output[0405]Výstup", 0,
                    {{EBevelImage, "image", u"[0409]Image[0405]Obrázek"},
                     {EBevelNormalMap, "normal", u"[0409]Normal map[0405]Normálová mapa"}}),
        };
    }();
    return schema;
}

void CBevelTask::TakeAlpha() {
    const size_t count = (size_t(width) + 2) * (size_t(height) + 2);
    alpha_.resize(count);
    for (size_t i = 0; i < count; ++i) alpha_[i] = buffer[i].bA;
}

HRESULT CBevelTask::Execute(uint32_t aIndex, uint32_t aTotal) {
    const uint32_t margin = uint32_t(params.amount) + uint32_t(params.blur);
    SBevelTile tile;
    if (!BevelTileOf(aIndex, aTotal, width, height, margin, &tile)) return S_FALSE;
    HRESULT hr = S_OK;
    try {
        const SBevelArea& o = tile.outer;
        std::vector<uint8_t> maskBytes;
        if (mask) {
            // The mask over the outer area and its ring, on the canvas.
            const uint32_t w = o.x1 - o.x0 + 2, h = o.y1 - o.y0 + 2;
            maskBytes.resize(size_t(w) * h);
            hr = mask->GetMask(origin.nX + int32_t(o.x0) - 1, origin.nY + int32_t(o.y0) - 1, w, h, w, maskBytes.data());
        }
        if (SUCCEEDED(hr)) {
            std::vector<uint32_t> map;
            BevelHeightMap(alpha_.data(), size_t(width) + 2, o, mask ? maskBytes.data() : nullptr, params, map);
            BevelLightTile(buffer, size_t(width) + 2, width, height, tile, map, params, table);
        }
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    if (FAILED(hr)) {
        HRESULT none = S_OK;
        failure_.compare_exchange_strong(none, hr);
    }
    return hr;
}

namespace {

HRESULT Run(IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext) {
    using S = SBevelSettings;
    const CSchema<S>& schema = CRasterImageBevel::Schema();
    S s = schema.ReadSettings(aConfig, &S::amount, &S::blur, &S::method, &S::angle, &S::sunken);
    ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
    if (!image) return E_FAIL;
    ComPtr<IGammaTableCache> gamma = HostCreate<IGammaTableCache>(CLSID_GammaTableCache);
    if (!gamma) return E_FAIL;
    const TPixelChannel fill = ReadDefaultPixel(image);
    TImageSize canvas{1, 1}, size{0, 0};
    TImagePoint origin{0, 0};
    if (FAILED(image->CanvasGet(&canvas, nullptr, &origin, &size, nullptr))) return E_FAIL;

    if (fill.bA != 0) {
        // A default that shows: the work area reaches the canvas.
        auto reach = [](int32_t& aOrigin, uint32_t& aSize, uint32_t aCanvas) {
            if (aOrigin > 0) aOrigin = 0;
            if (int64_t(aOrigin) + aSize < int64_t(aCanvas)) aSize = uint32_t(int64_t(aCanvas) - aOrigin);
        };
        reach(origin.nX, size.nX, canvas.nX);
        reach(origin.nY, size.nY, canvas.nY);
    }
    if (size.nX == 0 || size.nY == 0) return S_FALSE;
    if ((uint64_t(size.nX) + 2) * (uint64_t(size.nY) + 2) > UINT32_MAX) return E_OUTOFMEMORY;
    const S late = schema.ReadSettings(aConfig, &S::source, &S::light, &S::keepFlat, &S::specular, &S::output);

    CBevelTask task;
    task.params = {std::clamp(s.amount, 0, kLargestAmount),
                   std::clamp(s.blur, 0, kLargestAmount),
                   s.method,
                   s.angle,
                   s.sunken,
                   late.keepFlat,
                   late.output,
                   BevelLight(late.light.r, late.light.g, late.light.b, late.light.a),
                   {late.specular.x, late.specular.y, late.specular.z}};
    task.width = size.nX;
    task.height = size.nY;
    task.origin = origin;
    task.table = gamma->GetSRGBTable();
    ComPtr<ISharedStateImageMask> mask;
    if (late.source & 2) {
        CZTStr name(schema.Read(aConfig, &S::selectionId));
        if (aContext) aContext->StateGet(name, ISharedStateImageMask::iid, mask.out());
        task.mask = mask.get();
    }

    const TImagePoint ring{origin.nX - 1, origin.nY - 1};
    const TImageSize whole{size.nX + 2, size.nY + 2};
    const uint32_t count = whole.nX * whole.nY;
    std::vector<TPixelChannel> pixels(count);
    HRESULT hr = image->TileGet(CHANNEL_COLOR, &ring, &whole, nullptr, count, pixels.data(), nullptr, ACCESS_MODE);
    if (FAILED(hr)) return hr;
    task.buffer = pixels.data();
    task.TakeAlpha();

    if (ComPtr<IThreadPool> pool = PoolIf(PoolForBevel()))
        pool->Execute(0, &task);
    else
        task.Execute(0, 1);
    if (FAILED(task.Result())) return task.Result();

    const TImageStride stride{1, whole.nX};
    return image->TileSet(CHANNEL_COLOR, &origin, &size, &stride, count - whole.nX - 1, pixels.data() + whole.nX + 1,
                          1);
}

}  // namespace

HRESULT CRasterImageBevel::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                    IOperationContext* aContext, ZTHWND, uint32_t) {
    return GuardRun([&] { return Run(aDocument, aConfig, aContext); });
}

HRESULT CRasterImageBevel::Transform(IConfig* aConfig, const TImageSize*, const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        const float scale = MatrixScale(*aMatrix).s;
        if (IsUnitScale(scale)) return S_FALSE;
        using S = SBevelSettings;
        S s = Schema().ReadSettings(aConfig, &S::amount, &S::blur);
        auto scaled = [&](int32_t aValue) {
            const float v = float(aValue) * scale + 0.5f;
            if (!(v > 1.0f)) return 1;
            return v < 2147483520.0f ? static_cast<int32_t>(v) : INT32_MAX;
        };
        s.amount = scaled(s.amount);
        s.blur = scaled(s.blur);
        return Schema().WriteSettings(aConfig, s, &S::amount, &S::blur);
    });
}

HRESULT CRasterImageBevel::AdjustDirtyRect(IConfig* aConfig, const TImageSize*, TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    return Guard([&] {
        using S = SBevelSettings;
        const S s = Schema().ReadSettings(aConfig, &S::amount, &S::blur);
        const int64_t d = int64_t(s.amount) + s.blur;
        aRect->tTL.nX = MoveSide(aRect->tTL.nX, -d);
        aRect->tTL.nY = MoveSide(aRect->tTL.nY, -d);
        aRect->tBR.nX = MoveSide(aRect->tBR.nX, d);
        aRect->tBR.nY = MoveSide(aRect->tBR.nY, d);
        return S_OK;
    });
}

HRESULT CRasterImageBevel::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) {
    return AdjustDirtyRect(aConfig, aCanvas, aRect);
}

HRESULT CRasterImageBevel::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kBevel), aName);
        using S = SBevelSettings;
        const S s = Schema().ReadSettings(aConfig, &S::method, &S::amount);
        const char16_t* text = kBevel;
        for (const SMethodText& m : kMethods)
            if (m.method == s.method) text = m.label;
        return HandOut(Printf(MultiLanguage(u"%s - %ipx"), MultiLanguage(text), s.amount), aName);
    });
}

}  // namespace zt
