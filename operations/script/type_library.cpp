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

namespace {

// Read-only constants of one type at successive dispatch ids.
void Constants(std::vector<STypeMember>& aMembers, int32_t aFirstId, uint16_t aType,
               std::initializer_list<const char16_t*> aNames) {
    int32_t id = aFirstId;
    for (const char16_t* name : aNames) aMembers.push_back({name, id++, K::propertyGet, aType, {}});
}

std::vector<STypeParam> Floats4() {
    return {{u"fR", VT_R4, false}, {u"fG", VT_R4, false}, {u"fB", VT_R4, false}, {u"fA", VT_R4, false}};
}

}  // namespace

const SInterfaceType& ScriptedBlenderType() {
    static const SInterfaceType type = [] {
        std::vector<STypeMember> m;
        Constants(m, 1, VT_UI4,
                  {u"OpClear",     u"OpColorBurn", u"OpColorDodge", u"OpContrast",  u"OpDarken",  u"OpDifference",
                   u"OpDst",       u"OpDstAtop",   u"OpDstIn",      u"OpDstOut",    u"OpDstOver", u"OpExclusion",
                   u"OpHardLight", u"OpInvert",    u"OpInvertRGB",  u"OpLighten",   u"OpMinus",   u"OpMultiply",
                   u"OpOverlay",   u"OpPlus",      u"OpScreen",     u"OpSoftLight", u"OpSrc",     u"OpSrcAtop",
                   u"OpSrcIn",     u"OpSrcOut",    u"OpSrcOver",    u"OpXor"});
        m.push_back({u"GammaCorrection", 29, K::propertyGetPut, VT_R4, {}});
        m.push_back({u"CreateCanvas",
                     30,
                     K::method,
                     VT_DISPATCH,
                     {{u"sizeX", VT_UI4, false}, {u"sizeY", VT_UI4, false}, {u"fill", VT_UI4, false}}});
        m.push_back({u"Compose",
                     31,
                     K::method,
                     VT_EMPTY,
                     {{u"dst", VT_UNKNOWN, false},
                      {u"dstX1", VT_I4, false},
                      {u"dstY1", VT_I4, false},
                      {u"dstX2", VT_I4, false},
                      {u"dstY2", VT_I4, false},
                      {u"src", VT_VARIANT, false},
                      {u"srcX1", VT_I4, false},
                      {u"srcY1", VT_I4, false},
                      {u"outFill", VT_VARIANT, false},
                      {u"compositionMode", VT_UI4, false},
                      {u"parameter", VT_VARIANT, true}}});
        m.push_back({u"CanvasFromMask",
                     32,
                     K::method,
                     VT_DISPATCH,
                     {{u"context", VT_UNKNOWN, false}, {u"maskID", VT_BSTR, false}}});
        m.push_back({u"CanvasToMask",
                     33,
                     K::method,
                     VT_EMPTY,
                     {{u"context", VT_UNKNOWN, false}, {u"maskID", VT_BSTR, false}, {u"canvas", VT_UNKNOWN, false}}});
        Constants(m, 40, VT_UI4,
                  {u"OpRGBAPlus", u"OpRGBAMinus", u"OpRGBAMultiply", u"OpRGBAMultiply2x", u"OpNormalBumpmap",
                   u"OpHeightBumpmap", u"OpMapChannels"});
        m.push_back({u"MapChannels",
                     47,
                     K::method,
                     VT_UI4,
                     {{u"src1", VT_UI4, false},
                      {u"src2", VT_UI4, false},
                      {u"src3", VT_UI4, false},
                      {u"src4", VT_UI4, false},
                      {u"dst1", VT_UI4, false},
                      {u"dst2", VT_UI4, false},
                      {u"dst3", VT_UI4, false},
                      {u"dst4", VT_UI4, false}}});
        Constants(m, 48, VT_UI4,
                  {u"ChEmpty", u"ChR", u"ChG", u"ChB", u"ChA", u"ChY", u"ChCb", u"ChCr", u"ChH", u"ChL", u"ChS"});
        m.push_back({u"GetActiveColor",
                     59,
                     K::method,
                     VT_UI4,
                     {{u"context", VT_UNKNOWN, false}, {u"colorID", VT_BSTR, false}}});
        Constants(m, 60, VT_UI4, {u"DesktopSizeX", u"DesktopSizeY"});
        Constants(m, 62, VT_UI4,
                  {u"OpNormalDisplace", u"OpHeightDisplace", u"OpHeightToNormal", u"OpRGBAMaximum", u"OpRGBAMinimum",
                   u"OpRGBADifference", u"OpNormalReflection"});
        return SInterfaceType{u"IScriptedBlender", MakeGuid("7a2e5d14-3c9b-4f06-8d71-2b5e9c0a4f63"), std::move(m)};
    }();
    return type;
}

const SInterfaceType& ScriptedToolType() {
    static const SInterfaceType type = [] {
        std::vector<STypeMember> m = {
            {u"BlendMode", 1, K::propertyGetPut, VT_I4, {}},
            {u"RasterizationMode", 2, K::propertyGetPut, VT_I4, {}},
            {u"ShapeFillMode", 3, K::propertyGetPut, VT_I4, {}},
            {u"CoordinatesMode", 4, K::propertyGetPut, VT_I4, {}},
            {u"OutlineWidth", 5, K::propertyGetPut, VT_R4, {}},
            {u"GammaOverride", 6, K::propertyGetPut, VT_R4, {}},
            {u"SetFillColor", 7, K::method, VT_EMPTY, Floats4()},
            {u"SetOutlineColor", 8, K::method, VT_EMPTY, Floats4()},
            {u"SetFillStyle", 9, K::method, VT_EMPTY, {{u"styleID", VT_BSTR, false}, {u"styleParams", VT_BSTR, false}}},
            {u"Execute",
             10,
             K::method,
             VT_EMPTY,
             {{u"document", VT_UNKNOWN, false}, {u"toolID", VT_BSTR, false}, {u"toolParams", VT_BSTR, false}}},
        };
        Constants(m, 11, VT_I4,
                  {u"BMDrawOver", u"BMReplace", u"BMDrawUnder", u"RMBinary", u"RMSmooth", u"SFMOutline", u"SFMFilled"});
        Constants(m, 19, VT_I4, {u"SFMCombined", u"CMArbitrary", u"CMIntegral"});
        m.push_back({u"SetSelection",
                     22,
                     K::method,
                     VT_EMPTY,
                     {{u"context", VT_UNKNOWN, false}, {u"stateID", VT_BSTR, false}}});
        Constants(m, 23, VT_I4, {u"BMAdd"});
        m.push_back({u"OutlinePos", 24, K::propertyGetPut, VT_R4, {}});
        m.push_back({u"OutlineJoins", 25, K::propertyGetPut, VT_I4, {}});
        Constants(m, 26, VT_I4, {u"OJMiter", u"OJRound", u"OJBevel"});
        m.push_back({u"FromSRGB", 29, K::method, VT_R4, {{u"color", VT_INT, false}}});
        m.push_back({u"SetColor1", 30, K::method, VT_EMPTY, Floats4()});
        return SInterfaceType{u"IScriptedTool", MakeGuid("b35c8e21-6d4a-4f7b-a092-5e8f1c3d7a46"), std::move(m)};
    }();
    return type;
}

const STypeLibrary& ScriptingTypeLibrary() {
    static const STypeLibrary library = {MakeGuid("2d83935d-1e47-4080-9445-0ed230709121"),
                                         u"ZTOperationImageRasterLib",
                                         u"ZTOperationImageRaster 1.0 Type Library",
                                         MakeGuid("be98ae0a-517c-414b-84fe-faab666d591e"),
                                         {&ScriptedRasterImageType(), &ScriptedBlenderType(), &ScriptedToolType()}};
    return library;
}

}  // namespace zt
