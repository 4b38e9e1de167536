#include "operations/script/type_library.h"

namespace zt {

namespace {

using K = EMemberKind;

// The four coordinates every pixel member starts with; Z and W are accepted and not used.
std::vector<STypeParam> Position(std::vector<STypeParam> aMore = {}) {
    std::vector<STypeParam> p = {
        {u"posX", VT_UI4, false}, {u"posY", VT_UI4, false}, {u"posZ", VT_UI4, false}, {u"posW", VT_UI4, false}};
    p.insert(p.end(), aMore.begin(), aMore.end());
    return p;
}

std::vector<STypeParam> SizeAndOffset(std::vector<STypeParam> aMore = {}) {
    std::vector<STypeParam> p = {{u"sizeX", VT_UI4, false},  {u"sizeY", VT_UI4, false},  {u"sizeZ", VT_UI4, false},
                                 {u"sizeW", VT_UI4, false},  {u"offsetX", VT_I4, false}, {u"offsetY", VT_I4, false},
                                 {u"offsetZ", VT_I4, false}, {u"offsetW", VT_I4, false}};
    p.insert(p.end(), aMore.begin(), aMore.end());
    return p;
}

}  // namespace

const SInterfaceType& ScriptedRasterImageType() {
    static const SInterfaceType type = {
        u"IScriptedRasterImage",
        MakeGuid("4f1c7a52-8b3e-4d6a-9e21-6c0d5b3a7f18"),
        {
            {u"GetPixelColor", 1, K::method, VT_UI4, Position()},
            {u"GetPixelAlpha", 2, K::method, VT_UI1, Position()},
            {u"GetPixelRed", 3, K::method, VT_UI1, Position()},
            {u"GetPixelGreen", 4, K::method, VT_UI1, Position()},
            {u"GetPixelBlue", 5, K::method, VT_UI1, Position()},
            {u"GetPixel", 6, K::method, VT_UI4, Position()},
            {u"SetPixelColor", 7, K::method, VT_EMPTY, Position({{u"pixelColor", VT_UI4, false}})},
            {u"SetPixelAlpha", 8, K::method, VT_EMPTY, Position({{u"pixelAlpha", VT_UI1, false}})},
            {u"SetPixelRed", 9, K::method, VT_EMPTY, Position({{u"pixelRed", VT_UI1, false}})},
            {u"SetPixelGreen", 10, K::method, VT_EMPTY, Position({{u"pixelGreen", VT_UI1, false}})},
            {u"SetPixelBlue", 11, K::method, VT_EMPTY, Position({{u"pixelBlue", VT_UI1, false}})},
            {u"SetPixel", 12, K::method, VT_EMPTY, Position({{u"packedPixel", VT_UI4, false}})},
            {u"sizeX", 13, K::propertyGet, VT_UI4, {}},
            {u"sizeY", 14, K::propertyGet, VT_UI4, {}},
            {u"sizeZ", 15, K::propertyGet, VT_UI4, {}},
            {u"sizeW", 16, K::propertyGet, VT_UI4, {}},
            {u"Resize", 17, K::method, VT_EMPTY, SizeAndOffset()},
            {u"GetPixelH", 18, K::method, VT_R4, Position()},
            {u"GetPixelL", 19, K::method, VT_R4, Position()},
            {u"GetPixelS", 20, K::method, VT_R4, Position()},
            {u"SetPixelHLS", 21, K::method, VT_EMPTY,
             Position({{u"pixelH", VT_R4, false}, {u"pixelL", VT_R4, false}, {u"pixelS", VT_R4, false}})},
            {u"HasAlpha", 22, K::method, VT_BOOL, {}},
            {u"SetAlpha", 23, K::method, VT_EMPTY, {{u"alpha", VT_BOOL, false}}},
            {u"FillResize", 24, K::method, VT_EMPTY, SizeAndOffset({{u"fillColor", VT_UI4, false}})},
            {u"resolutionXNum", 25, K::propertyGet, VT_UI4, {}},
            {u"resolutionXDenom", 26, K::propertyGet, VT_UI4, {}},
            {u"resolutionYNum", 27, K::propertyGet, VT_UI4, {}},
            {u"resolutionYDenom", 28, K::propertyGet, VT_UI4, {}},
            {u"resolutionZNum", 29, K::propertyGet, VT_UI4, {}},
            {u"resolutionZDenom", 30, K::propertyGet, VT_UI4, {}},
            {u"resolutionWNum", 31, K::propertyGet, VT_UI4, {}},
            {u"resolutionWDenom", 32, K::propertyGet, VT_UI4, {}},
            {u"SetResolution",
             33,
             K::method,
             VT_EMPTY,
             {{u"a_nResXNum", VT_UI4, false},
              {u"a_nResXDenom", VT_UI4, false},
              {u"a_nResYNum", VT_UI4, false},
              {u"a_nResYDenom", VT_UI4, false},
              {u"a_nResZNum", VT_UI4, false},
              {u"a_nResZDenom", VT_UI4, false},
              {u"a_nResWNum", VT_UI4, false},
              {u"a_nResWDenom", VT_UI4, false}}},
            {u"previewScale", 34, K::propertyGet, VT_R4, {}},
        },
    };
    return type;
}

const STypeLibrary& ScriptingTypeLibrary() {
    static const STypeLibrary library = {MakeGuid("2d83935d-1e47-4080-9445-0ed230709121"),
                                         u"ZTOperationImageRasterLib",
                                         u"ZTOperationImageRaster 1.0 Type Library",
                                         MakeGuid("be98ae0a-517c-414b-84fe-faab666d591e"),
                                         {&ScriptedRasterImageType()}};
    return library;
}

}  // namespace zt
