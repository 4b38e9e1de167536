#include "operations/colour/convolution.h"

#include <memory>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/colour/colour_strings.h"
#include "operations/colour/convolution_kernels.h"

namespace zt {

struct SConvolutionFilterSettings {
    std::u16string matrix;
    float div, bias;
    bool ignoreAlpha;
};

namespace {
constexpr const char16_t* kConvolutionMatrix = u"[0409]Convolution matrix[0405]Konvoluční matice";
}  // namespace

const CSchema<SConvolutionFilterSettings>& CDocumentOperationRasterImageConvolution::Schema() {
    using S = SConvolutionFilterSettings;
    static const CSchema<S> schema = {
        Simple(u"Matrix", &S::matrix, u"[0409]Convolution matrix[0405]Konvoluční matice",
               u"[0409]Values in the convolution matrix represent weights of pixels. The number of rows and columns "
               u"must be odd.[0405]Hodnoty v konvoluční matici jsou váhy pixelů. Počet řádků i sloupců musí být "
               u"lichý.",
               u"0 0 0\r\n0 1 0\r\n0 0 0"),
        Simple(u"Div", &S::div, u"[0409]Divisor[0405]Dělitel",
               u"[0409]The sum of values from the convolution matrix is divided by this factor.[0405]Součet hodnot "
               u"z konvoluční matice se vydělí tímto číslem.",
               1.0f),
        Simple(u"Bias", &S::bias, u"[0409]Bias[0405]Posun",
               u"[0409]Value added to the final pixel.[0405]Hodnota přičtená k výslednému pixelu.", 0.0f),
        Simple(u"IgnoreAlpha", &S::ignoreAlpha, u"[0409]Ignore alpha[0405]Ignorovat průhlednost",
               u"[0409]If enabled, the filter will be applied to color channels only, leaving the alpha channel "
               u"intact.[0405]Je-li zapnuto, filtr se použije jen na barevné kanály a kanál průhlednosti zůstane "
               u"nedotčen.",
               false),
    };
    return schema;
}

HRESULT CDocumentOperationRasterImageConvolution::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                           IOperationContext*, ZTHWND, uint32_t) {
    using S = SConvolutionFilterSettings;
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentRasterImage> image;
        if (aDocument) aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        if (!image) return E_FAIL;
        TImageSize canvas{0, 0};
        image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);

        // The matrix is judged before the other settings are read.
        SConvolutionMatrix matrix;
        if (!ParseConvolutionMatrix(Schema().Read(aConfig, &S::matrix), &matrix) || matrix.width >= kConvolutionLimit ||
            matrix.height >= kConvolutionLimit)
            return Fail(E_HOST_INVALID_PARAM,
                        u"[0409]The convolution matrix must be rows of numbers, all rows of one length, at most "
                        u"31 rows and columns.[0405]Konvoluční matice musí být řádky čísel, všechny stejně "
                        u"dlouhé, nejvýše 31 řádků a sloupců.");
        const float div = Schema().Read(aConfig, &S::div);
        const float bias = Schema().Read(aConfig, &S::bias);
        const bool ignoreAlpha = Schema().Read(aConfig, &S::ignoreAlpha);

        const uint64_t count = uint64_t(canvas.nX) * canvas.nY;
        std::unique_ptr<TPixelChannel[]> source(new TPixelChannel[count]), target(new TPixelChannel[count]);
        const TImagePoint origin{0, 0};
        HRESULT hr = image->TileGet(CHANNEL_COLOR, &origin, &canvas, nullptr, uint32_t(count), source.get(), nullptr,
                                    ACCESS_MODE);
        if (FAILED(hr)) return hr;
        if (!ignoreAlpha) {
            PremultiplyPixels(source.get(), count);
            ConvolveFull(source.get(), target.get(), canvas.nX, canvas.nY, matrix, div, bias);
            UnpremultiplyPixels(target.get(), count);
        } else {
            ConvolveColour(source.get(), target.get(), canvas.nX, canvas.nY, matrix, div, bias);
        }
        return image->TileSet(CHANNEL_COLOR, &origin, &canvas, nullptr, uint32_t(count), target.get(), 1);
    });
}

HRESULT CDocumentOperationRasterImageConvolution::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    using S = SConvolutionFilterSettings;
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kConvolutionMatrix), aName);
        const std::u16string matrix = Schema().Read(aConfig, &S::matrix);
        const float div = Schema().Read(aConfig, &S::div);
        const float bias = Schema().Read(aConfig, &S::bias);
        switch (RecogniseConvolutionEffect(matrix, div, bias)) {
            case EConvolutionEffect::sharpen: return HandOut(MultiLanguage(u"[0409]Sharpen[0405]Zaostřit"), aName);
            case EConvolutionEffect::soften: return HandOut(MultiLanguage(u"[0409]Soften[0405]Změkčit"), aName);
            default: return HandOut(MultiLanguage(kConvolutionMatrix), aName);
        }
    });
}

}  // namespace zt
