#include "apps/ztraster/masks.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "apps/ztraster/cli.h"
#include "apps/ztraster/image_io.h"
#include "frame/host_masks.h"
#include "host/masks.h"

namespace ztcli {

namespace {

std::string Quoted(const std::string& aText) { return "\"" + aText + "\""; }

long long Number(const std::string& aOption, const std::string& aWhole, const std::string& aPart, long long aMin,
                 long long aMax, const char* aForm) {
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(aPart.c_str(), &end, 10);
    if (aPart.empty() || *end || errno || v < aMin || v > aMax)
        Usage(aOption + ": " + Quoted(aWhole) + T(" is not of the form ", " nemá tvar ") + aForm + " (" +
              Quoted(aPart) + T(" is not an integer from ", " není celé číslo od ") + std::to_string(aMin) +
              T(" to ", " do ") + std::to_string(aMax) + ")");
    return v;
}

std::vector<std::string> Split(const std::string& aText) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (true) {
        const size_t comma = aText.find(',', start);
        parts.push_back(aText.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) return parts;
        start = comma + 1;
    }
}

}  // namespace

MaskOption ParseMaskFile(const std::string& aText) {
    MaskOption m;
    const size_t at = aText.rfind('@');
    m.file = aText.substr(0, at);
    if (at != std::string::npos) {
        const std::vector<std::string> xy = Split(aText.substr(at + 1));
        if (xy.size() != 2)
            Usage("--mask: " + Quoted(aText) + T(" is not of the form FILE[@X,Y]", " nemá tvar SOUBOR[@X,Y]"));
        m.x = int32_t(Number("--mask", aText, xy[0], INT32_MIN, INT32_MAX, "FILE[@X,Y]"));
        m.y = int32_t(Number("--mask", aText, xy[1], INT32_MIN, INT32_MAX, "FILE[@X,Y]"));
    }
    if (m.file.empty()) Usage(T("--mask needs a file name", "--mask potřebuje jméno souboru"));
    return m;
}

MaskOption ParseMaskRect(const std::string& aText) {
    const std::vector<std::string> p = Split(aText);
    if (p.size() != 4) Usage("--mask-rect: " + Quoted(aText) + T(" is not of the form X,Y,W,H", " nemá tvar X,Y,Š,V"));
    MaskOption m;
    m.rectangle = true;
    m.x = int32_t(Number("--mask-rect", aText, p[0], INT32_MIN, INT32_MAX, "X,Y,W,H"));
    m.y = int32_t(Number("--mask-rect", aText, p[1], INT32_MIN, INT32_MAX, "X,Y,W,H"));
    m.width = uint32_t(Number("--mask-rect", aText, p[2], 0, UINT32_MAX, "X,Y,W,H"));
    m.height = uint32_t(Number("--mask-rect", aText, p[3], 0, UINT32_MAX, "X,Y,W,H"));
    return m;
}

uint8_t MaskByteOf(TPixelChannel aPixel) {
    const uint32_t luma = (77u * aPixel.bR + 150u * aPixel.bG + 29u * aPixel.bB) >> 8;
    return uint8_t(luma * aPixel.bA / 255);
}

std::u16string MaskStateName(IConfig* aConfig) {
    for (const char16_t* key : {u"MaskID", u"SelectionSync"}) {
        TConfigValue v = ConfigValueEmpty();
        CZTStr k(key);
        if (aConfig) aConfig->ItemValueGet(k, &v);
        std::u16string name;
        const bool found = v.eTypeID == ECVTString;
        if (found) name = std::u16string(ZTStrView(v.bstrVal));
        ConfigValueClear(v);
        if (found) return name;
    }
    return IMAGEMASK_STATE;
}

void InstallMasks(const std::vector<MaskOption>& aMasks, IConfig* aConfig, IOperationContext* aContext) {
    if (aMasks.empty() || !aContext) return;
    const MaskOption& m = aMasks.back();
    ComPtr<ISharedStateImageMask> state;
    if (m.rectangle) {
        state = zthost::CreateRectangularMask(m.x, m.y, m.width, m.height);
    } else {
        ztio::Image image;
        std::string error;
        if (!ztio::ReadImage(m.file, &image, &error)) Usage("--mask: " + error);
        std::vector<uint8_t> bytes(size_t(image.width) * image.height);
        for (size_t i = 0; i < bytes.size(); ++i) {
            TPixelChannel p;
            p.n = image.pixels[i];
            bytes[i] = MaskByteOf(p);
        }
        state = zthost::CreateImageMask(m.x, m.y, image.width, image.height, image.width, bytes.data());
    }
    if (!state) Failed(T("there is not enough memory for the mask", "na masku není dost paměti"));
    const std::u16string name = MaskStateName(aConfig);
    CZTStr key(name);
    if (FAILED(aContext->StateSet(key, state)))
        Failed(T("the mask could not be given to the run", "masku nelze předat běhu"));
}

}  // namespace ztcli
