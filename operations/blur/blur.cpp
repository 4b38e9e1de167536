#include "operations/blur/blur.h"

#include <cmath>
#include <memory>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/image.h"
#include "frame/numeric.h"
#include "frame/text.h"
#include "operations/blur/blur_kernels.h"
#include "operations/blur/blur_radial.h"
#include "operations/blur/blur_stream.h"
#include "operations/blur/blur_strings.h"
#include "pixel/pixel_task.h"

namespace zt {

struct SBlurSettings {
    int32_t direction, method;
    bool edgeReplication;
    float radius, angle;
    int32_t zoom;
};

namespace {

constexpr const char16_t* kBlur = u"[0409]Blur[0405]Rozostření";
constexpr const char16_t* kHorizontalAndVertical =
    u"[0409]Horizontal and vertical blur[0405]Vodorovné a svislé rozostření";
constexpr const char16_t* kHorizontal = u"[0409]Horizontal blur[0405]Vodorovné rozostření";
constexpr const char16_t* kVertical = u"[0409]Vertical blur[0405]Svislé rozostření";
constexpr const char16_t* kRadial = u"[0409]Radial blur[0405]Radiální rozostření";
constexpr const char16_t* kZoom = u"[0409]Zoom blur[0405]Rozostření přiblížením";
constexpr const char16_t* kReachHelp =
    u"[0409]Maximum distance in pixels that each pixel influences.[0405]Největší vzdálenost v pixelech, "
    u"kterou každý pixel ovlivní.";

enum EDirection : int32_t { kBoth = 0, kVerticalOnly = 1, kHorizontalOnly = 2, kRadialBlur = 3, kZoomBlur = 4 };
enum EMethod : int32_t { kConstant = 0, kLinear = 1, kGaussian = 3 };

// What lies beyond one side of the blurred area: the default colour, or (null) the edge.
struct SSide {
    const float* f;
    const double* d;
};

// The blurred area of one axis and the meaning of its two sides.
struct SAxis {
    int64_t origin, size;
    bool replicateLow, replicateHigh;
};

SAxis DecideAxis(int64_t aOrigin, int64_t aSize, int64_t aCanvas, bool aReplicate) {
    SAxis a{aOrigin, aSize, false, false};
    if (!aReplicate) return a;
    if (a.origin <= 0) {
        a.size = a.size - a.origin;  // longer, not shorter; the high side's test corrects it
        a.origin = 0;
        a.replicateLow = true;
    }
    if (a.origin + a.size >= aCanvas) {
        a.size = aCanvas - a.origin;
        a.replicateHigh = true;
    }
    // Content that overhangs the low edge makes the area longer than the content; the
    // pixels behind the content are not in the buffer, so the area stops where it does.
    a.size = std::min(a.size, aOrigin + aSize - a.origin);
    if (a.size < 0) a.size = 0;
    return a;
}

// The four kernels as makers of a line kernel for a length and two sides.
struct SBoxMaker {
    uint32_t radius;
    CBoxBlurFloat operator()(uint32_t aLength, SSide aFront, SSide aBack) const {
        return {aLength, radius, aFront.f, aBack.f};
    }
};
struct SFractionMaker {
    float r;
    CFractionBoxBlurFloat operator()(uint32_t aLength, SSide aFront, SSide aBack) const {
        const float total = 2.0f * r + 1.0f;
        const float whole = std::ceil(r);
        return {aLength, 1.0f / total, total, r + 1.0f - whole, uint32_t(whole), aFront.f, aBack.f};
    }
};
struct SLinearMaker {
    uint32_t radius;
    CLinearBlurFloat operator()(uint32_t aLength, SSide aFront, SSide aBack) const {
        return {aLength, radius, aFront.f, aBack.f};
    }
};
struct SRecursiveMaker {
    double r;
    CRecursiveBlurRGBA operator()(uint32_t aLength, SSide aFront, SSide aBack) const {
        return CRecursiveBlurRGBA(aLength, r, aFront.d, aBack.d);
    }
};

struct SPlanarRun {
    IDocumentRasterImage* image;  // whose allocator gives the intermediate
    const TSRGBFloatRecord* table;
    const TPixelChannel* source;
    uint32_t sourceStride;
    TPixelChannel* target;
    uint32_t width, height;  // the area
    uint32_t targetStride;   // E
    int32_t direction;
    bool usePool;
    SSide left, right, top, bottom;
};

template <class Maker>
HRESULT RunPlanar(const SPlanarRun& aRun, const Maker& aMake) {
    using Kernel = decltype(aMake(0u, SSide{}, SSide{}));
    const uint32_t W = aRun.width, H = aRun.height, E = aRun.targetStride;
    const ComPtr<IThreadPool> pool = PoolIf(aRun.usePool);
    if (aRun.direction == kHorizontalOnly)
        return BlurLines(CFloatSRGBPreMulSrc{aRun.table, aRun.source, aRun.sourceStride},
                         CFloatSRGBDeMulDst{aRun.table, aRun.target, E}, aMake(W, aRun.left, aRun.right), H, pool);
    if (aRun.direction == kVerticalOnly)
        return BlurLines(CFloatSRGBPreMulTransposingSrc{aRun.table, aRun.source, aRun.sourceStride},
                         CFloatSRGBDeMulTransposingDst{aRun.table, aRun.target, E}, aMake(H, aRun.top, aRun.bottom), W,
                         pool);
    if (const SStreamedBlurForm* form = StreamedBlurForm()) {
        const SStreamedBlurJob job{aRun.table, aRun.source, aRun.sourceStride, aRun.target};
        const Kernel rows = aMake(W, aRun.left, aRun.right), columns = aMake(H, aRun.top, aRun.bottom);
        if constexpr (kIsRecursive<Kernel>) {
            const CScratchBuffer scratch(aRun.image, RecursiveIntermediateLength(rows, columns) * sizeof(TWidePixel));
            TWidePixel* const wide = scratch.As<TWidePixel>();
            if (!wide) return E_OUTOFMEMORY;
            return form->recursive(job, rows, columns, pool, wide);
        } else {
            return RunStreamed(*form, job, rows, columns, pool);
        }
    }
    // Two axes: rows into the rows of the intermediate (E wide pixels each), then its
    // columns, a group of neighbours at a time, into the columns of the target. Every pass
    // reads and writes runs of neighbouring pixels; the values are those of an intermediate
    // stored by columns.
    const CScratchBuffer scratch(aRun.image, uint64_t(E) * H * sizeof(TWidePixel));
    TWidePixel* const wide = scratch.As<TWidePixel>();
    if (!wide) return E_OUTOFMEMORY;
    const HRESULT hr = BlurLines(CFloatSRGBPreMulSrc{aRun.table, aRun.source, aRun.sourceStride}, CWideRowDst{wide, E},
                                 aMake(W, aRun.left, aRun.right), H, pool);
    if (FAILED(hr)) return hr;
    using WideSrc = std::conditional_t<kIsRecursive<Kernel>, CWideColumnSrc, CFloatWideColumnSrc>;
    return BlurLines(WideSrc{wide, E}, CFloatSRGBDeMulTransposingDst{aRun.table, aRun.target, E},
                     aMake(H, aRun.top, aRun.bottom), E, pool);
}

HRESULT RadialOrZoom(IDocumentRasterImage* aImage, TImageSize aCanvas, const SBlurSettings& aSettings) {
    const size_t count = size_t(aCanvas.nX) * aCanvas.nY;
    std::unique_ptr<TPixelChannel[]> block(new (std::nothrow) TPixelChannel[2 * count]);
    if (!block) return E_OUTOFMEMORY;
    const TImagePoint origin{0, 0};
    HRESULT hr =
        aImage->TileGet(CHANNEL_COLOR, &origin, &aCanvas, nullptr, uint32_t(count), block.get(), nullptr, ACCESS_MODE);
    if (FAILED(hr)) return hr;
    TPixelChannel* result = block.get() + count;
    if (aSettings.direction == kRadialBlur)
        RadialBlur(block.get(), result, aCanvas.nX, aCanvas.nY, aSettings.angle);
    else
        ZoomBlur(block.get(), result, aCanvas.nX, aCanvas.nY, aSettings.zoom);
    return aImage->TileSet(CHANNEL_COLOR, &origin, &aCanvas, nullptr, uint32_t(count), result, 1);
}

HRESULT ActivateBlur(IDocument* aDocument, const SBlurSettings& s) {
    if (!aDocument) return E_POINTER;
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    if (!image) return E_NOINTERFACE;

    TImageSize canvas{1, 1}, contentSize{0, 0};
    TImagePoint contentOrigin{0, 0};
    if (FAILED(image->CanvasGet(&canvas, nullptr, &contentOrigin, &contentSize, nullptr))) return E_FAIL;
    const TPixelChannel D = ReadDefaultPixel(image);

    const SAxis ax = DecideAxis(contentOrigin.nX, contentSize.nX, canvas.nX, s.edgeReplication);
    const SAxis ay = DecideAxis(contentOrigin.nY, contentSize.nY, canvas.nY, s.edgeReplication);
    if (ax.size == 0 || ay.size == 0) return S_FALSE;

    if (s.direction == kRadialBlur || s.direction == kZoomBlur) return RadialOrZoom(image, canvas, s);

    if (s.direction != kBoth && s.direction != kVerticalOnly && s.direction != kHorizontalOnly) return E_FAIL;
    if (!(s.radius >= 0.1f)) return S_FALSE;
    // No buffer holds a reach beyond the 32-bit sizes; such a radius is a request for too much memory.
    if (!(s.radius <= 1.0e9f)) return E_OUTOFMEMORY;
    const int64_t reach = int64_t(std::ceil(s.radius));
    const int64_t rx = s.direction == kVerticalOnly ? 0 : reach, ry = s.direction == kHorizontalOnly ? 0 : reach;
    const int64_t grownX = ax.size + 2 * rx, grownY = ay.size + 2 * ry;
    if (grownX > INT32_MAX || grownY > INT32_MAX) return E_OUTOFMEMORY;

    const uint32_t W = uint32_t(ax.size), H = uint32_t(ay.size);
    const uint32_t E = uint32_t(grownX);
    const TImagePoint newOrigin{Wrap32(ax.origin - rx), Wrap32(ay.origin - ry)};
    CAutoPixelBuffer target(image, {E, uint32_t(grownY)});
    HRESULT hr = S_OK;
    {
        CLockedImageBuffer source(image);
        if (!source.pixels) return E_FAIL;
        ComPtr<IGammaTableCache> gamma = HostCreate<IGammaTableCache>(CLSID_GammaTableCache);
        const TSRGBFloatRecord* table = gamma ? gamma->GetSRGBFloatTable() : nullptr;
        if (!table) return E_FAIL;

        const float alpha = float(D.bA) * kInv255;
        const float defaultF[4] = {alpha * table->toLinear[D.bB], alpha * table->toLinear[D.bG],
                                   alpha * table->toLinear[D.bR], alpha};
        const double alphaD = double(alpha);
        const double defaultD[4] = {alphaD * double(table->toLinear[D.bB]), alphaD * double(table->toLinear[D.bG]),
                                    alphaD * double(table->toLinear[D.bR]), alphaD};
        const SSide fixed{defaultF, defaultD}, edge{nullptr, nullptr};

        SPlanarRun run;
        run.image = image.get();
        run.table = table;
        run.source = source.At(int32_t(ax.origin), int32_t(ay.origin));
        run.sourceStride = source.allocSize.nX;
        run.target = target.Data();
        run.width = W;
        run.height = H;
        run.targetStride = E;
        run.direction = s.direction;
        run.usePool = PoolForBlur(W, H);
        run.left = ax.replicateLow ? edge : fixed;
        run.right = ax.replicateHigh ? edge : fixed;
        run.top = ay.replicateLow ? edge : fixed;
        run.bottom = ay.replicateHigh ? edge : fixed;

        int32_t method = s.method;
        float r = s.radius;
        if (method == kLinear && r <= 1.0f) {
            // A triangle this narrow is a box with soft ends; the reach stays.
            method = kConstant;
            r = r * 0.668707f - r * 0.247619f * r + r * 0.361905f * r * r - r * 0.282993f * r * r;
        }
        switch (method) {
            case kConstant:
                if (std::ceil(r) == r)
                    hr = RunPlanar(run, SBoxMaker{uint32_t(r)});
                else
                    hr = RunPlanar(run, SFractionMaker{r});
                break;
            case kLinear: hr = RunPlanar(run, SLinearMaker{uint32_t(std::ceil(r))}); break;
            case kGaussian: hr = RunPlanar(run, SRecursiveMaker{double(r)}); break;
            default: break;  // the target is handed over unwritten
        }
    }
    if (FAILED(hr)) return hr;
    return target.Replace(newOrigin, D, nullptr);
}

int32_t Rounded(float aValue) { return TruncateToInt32(aValue + 0.5f); }

// Moves an edge outwards, held at the ends of the plane.
int32_t Grow(int32_t aEdge, int64_t aBy) {
    return int32_t(std::clamp<int64_t>(int64_t(aEdge) + aBy, INT32_MIN, INT32_MAX));
}

}  // namespace

const CSchema<SBlurSettings>& CDocumentOperationRasterImageBlur::Schema() {
    using S = SBlurSettings;
    const SSchemaCondition planar{u"Direction", ECOCLessEqual, Long(2)};
    static const CSchema<S> schema = {
        PickOne(u"Direction", &S::direction, u"[0409]Direction[0405]Směr",
                u"[0409]Direction for blurring.[0405]Směr rozostření.", int32_t(kBoth),
                {{kBoth, "both", kHorizontalAndVertical},
                 {kHorizontalOnly, "horizontal", kHorizontal},
                 {kVerticalOnly, "vertical", kVertical},
                 {kRadialBlur, "radial", kRadial},
                 {kZoomBlur, "zoom", kZoom}}),
        // Value 2 is not used, and stored configurations keep the gap.
        PickOne(u"Method", &S::method, u"[0409]Distribution[0405]Rozložení",
                u"[0409]Method for spreading pixel color to its neighborhood.[0405]Způsob, jak se barva pixelu "
                u"rozprostře do jeho okolí.",
                int32_t(kLinear),
                {{kConstant, "constant", u"[0409]Constant[0405]Konstantní", {planar}},
                 {kLinear, "linear", u"[0409]Linear[0405]Lineární", {planar}},
                 {kGaussian, "gaussian", u"[0409]Gaussian[0405]Gaussovské", {planar}}}),
        Simple(u"EdgeReplication", &S::edgeReplication, u"[0409]Canvas edge replication[0405]Opakování okrajů plátna",
               u"[0409]Assume the pixel colors outside of canvas matches the image edges.[0405]Předpokládat, že "
               u"barvy pixelů mimo plátno odpovídají okrajům obrázku.",
               false, {planar}),
        Simple(u"Radius", &S::radius, u"[0409]Radius[0405]Poloměr", kReachHelp, 10.0f, {planar}),
        Simple(u"Angle", &S::angle, u"[0409]Angle[0405]Úhel", nullptr, 2.0f, {{u"Direction", ECOCEqual, Long(3)}}),
        Simple(u"Zoom", &S::zoom, u"[0409]Amount[0405]Míra", kReachHelp, 10, {{u"Direction", ECOCEqual, Long(4)}}),
    };
    return schema;
}

HRESULT CDocumentOperationRasterImageBlur::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                    IOperationContext*, ZTHWND, uint32_t) {
    return GuardRun([&] { return ActivateBlur(aDocument, Schema().ReadSettings(aConfig)); });
}

HRESULT CDocumentOperationRasterImageBlur::Transform(IConfig* aConfig, const TImageSize*, const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        const float s = MatrixScale(*aMatrix).s;
        if (IsUnitScale(s)) return S_FALSE;
        SBlurSettings scaled;
        scaled.radius = Schema().Read(aConfig, &SBlurSettings::radius) * s;
        scaled.zoom = int32_t(float(Schema().Read(aConfig, &SBlurSettings::zoom)) * s);
        return Schema().WriteSettings(aConfig, scaled, &SBlurSettings::radius, &SBlurSettings::zoom);
    });
}

HRESULT CDocumentOperationRasterImageBlur::AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas,
                                                           TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    return Guard([&] {
        const int32_t direction = Schema().Read(aConfig, &SBlurSettings::direction);
        const int32_t method = Schema().Read(aConfig, &SBlurSettings::method);
        const float radius = Schema().Read(aConfig, &SBlurSettings::radius);
        if (direction != kRadialBlur && direction != kZoomBlur && method != kGaussian) {
            const int64_t c = int64_t(std::ceil(radius));
            if (direction == kBoth || direction == kHorizontalOnly) {
                aRect->tTL.nX = Grow(aRect->tTL.nX, -c);
                aRect->tBR.nX = Grow(aRect->tBR.nX, c);
            }
            if (direction == kBoth || direction == kVerticalOnly) {
                aRect->tTL.nY = Grow(aRect->tTL.nY, -c);
                aRect->tBR.nY = Grow(aRect->tBR.nY, c);
            }
            return S_OK;
        }
        // Radial, zoom and the Gaussian, whose recursive filter has no finite reach.
        if (!aCanvas) return E_FAIL;
        *aRect = {{0, 0}, {int32_t(aCanvas->nX), int32_t(aCanvas->nY)}};
        return S_OK;
    });
}

HRESULT CDocumentOperationRasterImageBlur::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas,
                                                           TRasterImageRect* aRect) {
    return AdjustDirtyRect(aConfig, aCanvas, aRect);
}

HRESULT CDocumentOperationRasterImageBlur::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kBlur), aName);
        const int32_t direction = Schema().Read(aConfig, &SBlurSettings::direction);
        const char16_t* text = nullptr;
        switch (direction) {
            case kBoth: text = kBlur; break;
            case kVerticalOnly: text = kVertical; break;
            case kHorizontalOnly: text = kHorizontal; break;
            case kRadialBlur:
                return HandOut(Printf(MultiLanguage(u"%s - %i°"), MultiLanguage(kRadial),
                                      Rounded(Schema().Read(aConfig, &SBlurSettings::angle))),
                               aName);
            case kZoomBlur:
                return HandOut(Printf(MultiLanguage(u"%s - %ipx"), MultiLanguage(kZoom),
                                      Schema().Read(aConfig, &SBlurSettings::zoom)),
                               aName);
            default: return HandOut(MultiLanguage(kBlur), aName);
        }
        return HandOut(Printf(MultiLanguage(u"%s - %ipx"), MultiLanguage(text),
                              Rounded(Schema().Read(aConfig, &SBlurSettings::radius))),
                       aName);
    });
}

}  // namespace zt
