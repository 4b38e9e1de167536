#include "apps/ztraster/layers.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "apps/ztraster/cli.h"
#include "apps/ztraster/image_io.h"
#include "host/layered_document.h"
#include "host/zthost.h"

namespace ztcli {

namespace {

std::string Quoted(const std::string& aText) { return "\"" + aText + "\""; }

long long Coordinate(const std::string& aWhole, const std::string& aPart) {
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(aPart.c_str(), &end, 10);
    if (aPart.empty() || *end || errno || v < INT32_MIN || v > INT32_MAX)
        Usage("--layer: " + Quoted(aWhole) + T(" is not of the form FILE[@X,Y]", " nemá tvar SOUBOR[@X,Y]"));
    return v;
}

struct Picture {
    uint32_t width = 0, height = 0;
    std::vector<uint32_t> pixels;
};

// The canvas (or content) of a layer as TileGet reads it.
Picture Read(IDocument* aLayer, bool aContentRegion) {
    ComPtr<IDocumentImage> image;
    aLayer->QueryFeatureInterface(IDocumentImage::iid, image.out());
    if (!image) Failed(T("a layer has no image", "vrstva nemá obrázek"));
    TImageSize canvas{1, 1}, size{0, 0};
    TImagePoint origin{0, 0};
    image->CanvasGet(&canvas, nullptr, &origin, &size, nullptr);
    const TImagePoint from = aContentRegion ? origin : TImagePoint{0, 0};
    const TImageSize extent = aContentRegion ? size : canvas;
    Picture p;
    if (extent.nX == 0 || extent.nY == 0) return p;
    if (uint64_t(extent.nX) * extent.nY > (uint64_t(1) << 31))
        Failed(T("a layer has more than 2^31 pixels", "vrstva má víc než 2^31 pixelů"));
    p.width = extent.nX;
    p.height = extent.nY;
    p.pixels.resize(size_t(p.width) * p.height);
    HRESULT hr = image->TileGet(CHANNEL_COLOR, &from, &extent, nullptr, uint32_t(p.pixels.size()),
                                reinterpret_cast<TPixelChannel*>(p.pixels.data()), nullptr, ACCESS_MODE);
    if (FAILED(hr)) Failed(T("reading a layer failed: ", "čtení vrstvy selhalo: ") + ResultText(hr));
    return p;
}

void Write(const std::string& aPath, Picture&& aPicture) {
    if (aPicture.width == 0) Failed(T("the result is empty: nothing to write", "výsledek je prázdný: není co zapsat"));
    ztio::Image out;
    out.width = aPicture.width;
    out.height = aPicture.height;
    out.pixels = std::move(aPicture.pixels);
    std::string error;
    if (!ztio::WriteImage(aPath, out, &error)) Failed(error);
}

// Straight-alpha "over" of one pixel onto another, in 8-bit sRGB values.
uint32_t Over(uint32_t aBelow, uint32_t aAbove) {
    const uint32_t aa = aAbove >> 24, ab = aBelow >> 24;
    if (aa == 255 || ab == 0) return aAbove;
    if (aa == 0) return aBelow;
    const uint32_t below = ab * (255 - aa);   // scaled by 255
    const uint32_t alpha = aa * 255 + below;  // scaled by 255
    uint32_t out = ((alpha + 127) / 255) << 24;
    for (int shift = 0; shift < 24; shift += 8) {
        const uint32_t c =
            (((aAbove >> shift) & 255) * aa * 255 + ((aBelow >> shift) & 255) * below + alpha / 2) / alpha;
        out |= std::min<uint32_t>(c, 255) << shift;
    }
    return out;
}

}  // namespace

LayerOption ParseLayer(const std::string& aText) {
    LayerOption o;
    const size_t at = aText.rfind('@');
    const size_t comma = at == std::string::npos ? std::string::npos : aText.find(',', at);
    if (at != std::string::npos && comma != std::string::npos) {
        o.file = aText.substr(0, at);
        o.x = static_cast<int32_t>(Coordinate(aText, aText.substr(at + 1, comma - at - 1)));
        o.y = static_cast<int32_t>(Coordinate(aText, aText.substr(comma + 1)));
    } else {
        o.file = aText;
    }
    if (o.file.empty()) Usage("--layer: " + Quoted(aText) + T(" names no file", " neuvádí soubor"));
    return o;
}

LayeredInput MakeLayeredInput(const std::vector<LayerOption>& aLayers, const TImageSize* aCanvas,
                              TPixelChannel aDefault, float aGamma) {
    LayeredInput in;
    for (const auto& layer : aLayers) {
        ztio::Image image;
        std::string error;
        if (!ztio::ReadImage(layer.file, &image, &error)) Usage(error);
        zthost::RasterImageInit init;
        init.canvas = aCanvas ? *aCanvas : TImageSize{image.width, image.height};
        init.contentOrigin = {layer.x, layer.y};
        init.contentSize = {image.width, image.height};
        init.pixels = reinterpret_cast<const TPixelChannel*>(image.pixels.data());
        init.defaultPixel = aDefault;
        init.gamma = aGamma;
        ComPtr<IDocument> doc = zthost::CreateRasterDocument(init);
        if (!doc) Failed(T("there is not enough memory for the document", "na dokument není dost paměti"));
        in.layers.push_back(doc);
    }
    in.document = zthost::CreateLayeredDocument(in.layers);
    if (!in.document) Failed(T("there is not enough memory for the document", "na dokument není dost paměti"));
    return in;
}

void WriteLayers(const std::string& aPattern, const std::vector<ComPtr<IDocument>>& aLayers, bool aFlatten,
                 bool aContentRegion) {
    if (aFlatten) {
        std::vector<Picture> pictures;
        Picture flat;
        for (const auto& layer : aLayers) {
            pictures.push_back(Read(layer, aContentRegion));
            flat.width = std::max(flat.width, pictures.back().width);
            flat.height = std::max(flat.height, pictures.back().height);
        }
        flat.pixels.assign(size_t(flat.width) * flat.height, 0);
        for (const auto& p : pictures)
            for (uint32_t y = 0; y < p.height; ++y)
                for (uint32_t x = 0; x < p.width; ++x) {
                    uint32_t& target = flat.pixels[size_t(y) * flat.width + x];
                    target = Over(target, p.pixels[size_t(y) * p.width + x]);
                }
        Write(aPattern, std::move(flat));
        return;
    }
    const size_t mark = aPattern.find("%d");
    if (mark == std::string::npos)
        Usage(T("a layered result needs -o with %d (one file per layer) or --flatten",
                "vrstvený výsledek potřebuje -o s %d (soubor pro každou vrstvu) nebo --flatten"));
    for (size_t i = 0; i < aLayers.size(); ++i) {
        std::string path = aPattern;
        path.replace(mark, 2, std::to_string(i));
        Write(path, Read(aLayers[i], aContentRegion));
    }
}

}  // namespace ztcli
