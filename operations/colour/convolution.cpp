#include "operations/colour/convolution.h"

#include <memory>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/colour/colour_strings.h"
#include "operations/colour/convolution_kernel.h"

namespace zt {

namespace {
const SConfigSchema& Schema() {
    static const SConfigSchema schema = {
        Simple(u"Matrix", u"[0409]Convolution matrix[0405]Konvoluční matice",
               u"[0409]Values in the convolution matrix represent weights of pixels. The number of rows and columns "
               u"must be odd.[0405]Hodnoty v konvoluční matici jsou váhy pixelů. Počet řádků i sloupců musí být "
               u"lichý.",
               String(u"0 0 0\r\n0 1 0\r\n0 0 0")),
        Simple(u"Div", u"[0409]Divisor[0405]Dělitel",
               u"[0409]The sum of values from the convolution matrix is divided by this factor.[0405]Součet hodnot "
               u"z konvoluční matice se vydělí tímto číslem.",
               Float(1.0f)),
        Simple(u"Bias", u"[0409]Bias[0405]Posun",
               u"[0409]Value added to the final pixel.[0405]Hodnota přičtená k výslednému pixelu.", Float(0.0f)),
        Simple(u"IgnoreAlpha", u"[0409]Ignore alpha[0405]Ignorovat průhlednost",
               u"[0409]If enabled, the filter will be applied to color channels only, leaving the alpha channel "
               u"intact.[0405]Je-li zapnuto, filtr se použije jen na barevné kanály a kanál průhlednosti zůstane "
               u"nedotčen.",
               Bool(false)),
    };
    return schema;
}

constexpr const char16_t* kConvolutionMatrix = u"[0409]Convolution matrix[0405]Konvoluční matice";
}  // namespace

HRESULT CDocumentOperationRasterImageConvolution::NameGet(IOperationManager*, ILocalizedString** aName) {
    return NameFromTable(IDS_NAME_CONVOLUTION, aName);
}

HRESULT CDocumentOperationRasterImageConvolution::ConfigCreate(IOperationManager* aManager, IConfig** aConfig) {
    return ConfigFromSchema(aManager, Schema(), aConfig);
}

HRESULT CDocumentOperationRasterImageConvolution::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                              IOperationContext*) {
    return CanActivateOnRasterImage(aDocument);
}

HRESULT CDocumentOperationRasterImageConvolution::Activate(IOperationManager*, IDocument* aDocument,
                                                           IConfig* aConfig, IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentRasterImage> image;
        if (aDocument) aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        if (!image) return E_FAIL;
        TImageSize canvas{0, 0};
        image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);

        CConfigValue text;
        ReadItem(aConfig, u"Matrix", text);
        SConvolutionMatrix matrix;
        if (!ParseConvolutionMatrix(text.AsString(), &matrix) || matrix.width >= kConvolutionLimit ||
            matrix.height >= kConvolutionLimit)
            return E_HOST_INVALID_PARAM;
        const float div = ReadFloat(aConfig, u"Div");
        const float bias = ReadFloat(aConfig, u"Bias");
        const bool ignoreAlpha = ReadBool(aConfig, u"IgnoreAlpha");

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

HRESULT CDocumentOperationRasterImageConvolution::Name(IOperationManager*, IConfig* aConfig,
                                                       ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kConvolutionMatrix), aName);
        CConfigValue text;
        ReadItem(aConfig, u"Matrix", text);
        const float div = ReadFloat(aConfig, u"Div");
        const float bias = ReadFloat(aConfig, u"Bias");
        switch (RecogniseConvolutionEffect(text.AsString(), div, bias)) {
            case EConvolutionEffect::sharpen:
                return HandOut(MultiLanguage(u"[0409]Sharpen[0405]Zaostřit"), aName);
            case EConvolutionEffect::soften:
                return HandOut(MultiLanguage(u"[0409]Soften[0405]Změkčit"), aName);
            default:
                return HandOut(MultiLanguage(kConvolutionMatrix), aName);
        }
    });
}

}  // namespace zt
