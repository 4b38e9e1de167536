// Automation: the conversion of tagged values, the generic dispatcher over a type table, and
// the scripted raster image through it.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/automation.h"
#include "operations/script/scripted_raster_image.h"
#include "operations/script/type_library.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

TVariant Double(double aValue) {
    TVariant v = VariantEmpty();
    v.vt = VT_R8;
    v.dblVal = aValue;
    return v;
}

HRESULT Convert(const TVariant& aFrom, uint16_t aType, CVariant* aTo) {
    return VariantConvert(aFrom, aType, aTo->out());
}

// Invoke with arguments in the order a script writes them.
HRESULT Call(IDispatch* aObject, const char16_t* aName, uint16_t aFlags, std::vector<TVariant> aArgs,
             CVariant* aResult = nullptr, uint32_t* aArgError = nullptr) {
    int32_t id = 0;
    const char16_t* names[] = {aName};
    HRESULT hr = aObject->GetIDsOfNames(IID{}, names, 1, 0, &id);
    if (FAILED(hr)) return hr;
    std::vector<TVariant> reversed(aArgs.rbegin(), aArgs.rend());
    int32_t put = DISPID_PROPERTYPUT;
    TDispParams params{reversed.data(), aFlags == DISPATCH_PROPERTYPUT ? &put : nullptr, uint32_t(reversed.size()),
                       aFlags == DISPATCH_PROPERTYPUT ? 1u : 0u};
    hr = aObject->Invoke(id, IID{}, 0, aFlags, &params, aResult ? aResult->out() : nullptr, nullptr, aArgError);
    for (TVariant& v : aArgs) VariantClear(v);
    return hr;
}

TVariant U(uint32_t aValue) { return VariantOfUnsigned(aValue); }

ComPtr<IScriptedRasterImage> ImageOf(IDocument* aDocument) {
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    return CScriptedRasterImage::Create(aDocument, image);
}

uint32_t Pixel(IScriptedRasterImage* aImage, uint32_t aX, uint32_t aY) {
    CVariant r;
    EXPECT_EQ(S_OK, Call(aImage, u"GetPixel", DISPATCH_METHOD, {U(aX), U(aY), U(0), U(0)}, &r));
    return r.Raw().ulVal;
}

float Float(IScriptedRasterImage* aImage, const char16_t* aName, uint32_t aX, uint32_t aY) {
    CVariant r;
    EXPECT_EQ(S_OK, Call(aImage, aName, DISPATCH_METHOD, {U(aX), U(aY), U(0), U(0)}, &r));
    return r.Raw().fltVal;
}

}  // namespace

TEST(VariantConvert, NumbersWithRangesAndRoundingHalfToEven) {
    CVariant out;
    EXPECT_EQ(S_OK, Convert(Double(2.5), VT_I4, &out));
    EXPECT_EQ(2, out.Raw().lVal);
    EXPECT_EQ(S_OK, Convert(Double(3.5), VT_I4, &out));
    EXPECT_EQ(4, out.Raw().lVal);
    EXPECT_EQ(DISP_E_OVERFLOW, Convert(VariantOf(int32_t(256)), VT_UI1, &out));
    EXPECT_EQ(DISP_E_OVERFLOW, Convert(VariantOf(int32_t(-1)), VT_UI4, &out));
    EXPECT_EQ(S_OK, Convert(VariantOf(true), VT_I4, &out));
    EXPECT_EQ(-1, out.Raw().lVal);
    EXPECT_EQ(S_OK, Convert(VariantEmpty(), VT_UI4, &out));
    EXPECT_EQ(0u, out.Raw().ulVal);
    TVariant null = VariantEmpty();
    null.vt = VT_NULL;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, Convert(null, VT_I4, &out));
    EXPECT_EQ(DISP_E_OVERFLOW, Convert(Double(1e300), VT_R4, &out));
}

TEST(VariantConvert, TextToAndFromNumbersAndBooleans) {
    CVariant out;
    CVariant text;
    *text.out() = VariantOfString(u" 12 ");
    EXPECT_EQ(S_OK, Convert(text.Raw(), VT_I4, &out));
    EXPECT_EQ(12, out.Raw().lVal);
    *text.out() = VariantOfString(u"abc");
    EXPECT_EQ(DISP_E_TYPEMISMATCH, Convert(text.Raw(), VT_R8, &out));
    *text.out() = VariantOfString(u"TRUE");
    EXPECT_EQ(S_OK, Convert(text.Raw(), VT_BOOL, &out));
    EXPECT_EQ(-1, out.Raw().boolVal);
    EXPECT_EQ(S_OK, Convert(VariantOf(0.5f), VT_BSTR, &out));
    EXPECT_EQ(u"0.5", ZTStrView(out.Raw().bstrVal));
    EXPECT_EQ(S_OK, Convert(VariantOf(int32_t(-7)), VT_BSTR, &out));
    EXPECT_EQ(u"-7", ZTStrView(out.Raw().bstrVal));
    EXPECT_EQ(DISP_E_BADVARTYPE, Convert(VariantOf(int32_t(1)), 99, &out));
}

TEST(Dispatcher, NamesCountsKindsAndOptionalParameters) {
    const SInterfaceType type = {u"ITest",
                                 IID{},
                                 {{u"Size", 1, EMemberKind::propertyGet, VT_UI4, {}},
                                  {u"Level", 2, EMemberKind::propertyGetPut, VT_R4, {}},
                                  {u"Mix",
                                   3,
                                   EMemberKind::method,
                                   VT_I4,
                                   {{u"a", VT_I4, false}, {u"b", VT_UI1, false}, {u"c", VT_VARIANT, true}}}}};
    const char16_t* names[] = {u"mIx"};
    int32_t id = 0;
    EXPECT_EQ(S_OK, DispatchIDsOfNames(type, names, 1, &id));
    EXPECT_EQ(3, id);
    const char16_t* unknown[] = {u"Nope"};
    EXPECT_EQ(DISP_E_UNKNOWNNAME, DispatchIDsOfNames(type, unknown, 1, &id));
    EXPECT_EQ(DISPID_UNKNOWN, id);

    int calls = 0;
    auto echo = [&](SInvocation& aCall) {
        ++calls;
        // The optional third argument comes as "missing" when it was left out.
        const bool missing = aCall.args[2].Raw().vt == VT_ERROR;
        GiveResult(aCall,
                   VariantOf(int32_t(aCall.args[0].Raw().lVal + aCall.args[1].Raw().bVal + (missing ? 0 : 1000))));
        return S_OK;
    };
    auto invoke = [&](int32_t aId, uint16_t aFlags, std::vector<TVariant> aArgs, CVariant* aResult,
                      uint32_t* aError = nullptr) {
        std::vector<TVariant> reversed(aArgs.rbegin(), aArgs.rend());
        TDispParams p{reversed.data(), nullptr, uint32_t(reversed.size()), 0};
        return DispatchInvoke(type, aId, aFlags, &p, aResult->out(), aError, echo);
    };
    CVariant r;
    EXPECT_EQ(S_OK, invoke(3, DISPATCH_METHOD, {VariantOf(int32_t(5)), Double(2)}, &r));
    EXPECT_EQ(7, r.Raw().lVal);
    EXPECT_EQ(S_OK, invoke(3, DISPATCH_METHOD, {VariantOf(int32_t(5)), Double(2), VariantEmpty()}, &r));
    EXPECT_EQ(1007, r.Raw().lVal);
    EXPECT_EQ(DISP_E_BADPARAMCOUNT, invoke(3, DISPATCH_METHOD, {VariantOf(int32_t(5))}, &r));
    uint32_t error = 99;
    EXPECT_EQ(DISP_E_OVERFLOW, invoke(3, DISPATCH_METHOD, {VariantOf(int32_t(5)), Double(300)}, &r, &error));
    EXPECT_EQ(0u, error);  // the second of two arguments is the first in the reversed array
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, invoke(3, DISPATCH_PROPERTYGET, {}, &r));      // a method is no property
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, invoke(1, DISPATCH_PROPERTYPUT, {U(3)}, &r));  // read-only
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, invoke(9, DISPATCH_METHOD, {}, &r));
    EXPECT_EQ(2, calls);  // only the two calls that passed the checks reached the object
}

TEST(ScriptedRasterImage, PixelFormsAndTheirSetters) {
    ComPtr<IDocument> doc = Image(2, 1, {0x80102030u, 0xFF0000FFu});
    ComPtr<IScriptedRasterImage> image = ImageOf(doc);
    CVariant r;
    ASSERT_EQ(S_OK, Call(image, u"GetPixelColor", DISPATCH_METHOD, {U(0), U(0), U(0), U(0)}, &r));
    EXPECT_EQ(0x302010u, r.Raw().ulVal);  // red low, no alpha
    ASSERT_EQ(S_OK, Call(image, u"getpixelred", DISPATCH_METHOD, {U(0), U(0), U(0), U(0)}, &r));
    EXPECT_EQ(VT_UI1, r.Raw().vt);
    EXPECT_EQ(0x10, r.Raw().bVal);
    // SetPixelAlpha keeps the colour, SetPixelColor keeps the alpha.
    ASSERT_EQ(S_OK, Call(image, u"SetPixelAlpha", DISPATCH_METHOD, {U(0), U(0), U(0), U(0), U(0x40)}));
    EXPECT_EQ(0x40102030u, Pixel(image, 0, 0));
    ASSERT_EQ(S_OK, Call(image, u"SetPixelColor", DISPATCH_METHOD, {U(0), U(0), U(0), U(0), U(0x0000FF)}));
    EXPECT_EQ(0x40FF0000u, Pixel(image, 0, 0));
    ASSERT_EQ(S_OK, Call(image, u"SetPixel", DISPATCH_METHOD, {U(1), U(0), U(0), U(0), U(0x12345678)}));
    EXPECT_EQ(0x12345678u, Pixel(image, 1, 0));
    // Two objects on one document address the same pixels.
    EXPECT_EQ(0x12345678u, Pixel(ImageOf(doc), 1, 0));
}

TEST(ScriptedRasterImage, HueLightnessSaturationAsTheScriptsSeeThem) {
    ComPtr<IScriptedRasterImage> image = ImageOf(Image(3, 1, {0xFF0000FFu, 0xFFFF0080u, 0xFF808080u}));
    EXPECT_FLOAT_EQ(240.0f, Float(image, u"GetPixelH", 0, 0));  // pure blue
    // Red highest, green below blue: a negative hue stays negative.
    EXPECT_LT(Float(image, u"GetPixelH", 1, 0), 0.0f);
    EXPECT_FLOAT_EQ(0.0f, Float(image, u"GetPixelS", 2, 0));
    EXPECT_NEAR(0.5019608f, Float(image, u"GetPixelL", 2, 0), 1e-6f);
    ASSERT_EQ(S_OK, Call(image, u"SetPixelHLS", DISPATCH_METHOD,
                         {U(2), U(0), U(0), U(0), VariantOf(0.0f), VariantOf(0.5f), VariantOf(0.0f)}));
    EXPECT_EQ(0xFF7F7F7Fu, Pixel(image, 2, 0));  // 127, truncated and not rounded
}

TEST(ScriptedRasterImage, ResizeAndFillResize) {
    const std::vector<uint32_t> pixels = {1, 2, 3, 4, 5, 6};
    ComPtr<IDocument> doc = Image(3, 2, pixels);
    ComPtr<IScriptedRasterImage> image = ImageOf(doc);
    // The same size at offset 0: nothing moves and no strip is filled.
    ASSERT_EQ(S_OK, Call(image, u"Resize", DISPATCH_METHOD,
                         {U(3), U(2), U(1), U(1), VariantOf(int32_t(0)), VariantOf(int32_t(0)), VariantOf(int32_t(0)),
                          VariantOf(int32_t(0))}));
    EXPECT_EQ(pixels, Content(doc));
    // An offset that pushes the old image wholly out fills the whole new canvas.
    ASSERT_EQ(S_OK, Call(image, u"FillResize", DISPATCH_METHOD,
                         {U(4), U(2), U(1), U(1), VariantOf(int32_t(10)), VariantOf(int32_t(0)), VariantOf(int32_t(0)),
                          VariantOf(int32_t(0)), U(0xFF00FF00)}));
    for (uint32_t y = 0; y < 2; ++y)
        for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(0xFF00FF00u, Pixel(image, x, y));
    CVariant r;
    ASSERT_EQ(S_OK, Call(image, u"sizeX", DISPATCH_PROPERTYGET, {}, &r));
    EXPECT_EQ(4u, r.Raw().ulVal);
}

TEST(ScriptedRasterImage, ConstantsResolutionAlphaAndTheDocument) {
    ComPtr<IDocument> doc = Image(1, 1, {0u});
    ComPtr<IScriptedRasterImage> image = ImageOf(doc);
    CVariant r;
    for (const char16_t* name : {u"sizeZ", u"sizeW"}) {
        ASSERT_EQ(S_OK, Call(image, name, DISPATCH_PROPERTYGET, {}, &r));
        EXPECT_EQ(1u, r.Raw().ulVal);
    }
    ASSERT_EQ(S_OK, Call(image, u"previewScale", DISPATCH_PROPERTYGET, {}, &r));
    EXPECT_EQ(1.0f, r.Raw().fltVal);
    ASSERT_EQ(S_OK, Call(image, u"resolutionZNum", DISPATCH_PROPERTYGET, {}, &r));
    EXPECT_EQ(0u, r.Raw().ulVal);
    ASSERT_EQ(S_OK,
              Call(image, u"SetResolution", DISPATCH_METHOD, {U(300), U(254), U(150), U(254), U(0), U(0), U(0), U(0)}));
    ASSERT_EQ(S_OK, Call(image, u"resolutionYNum", DISPATCH_PROPERTYGET, {}, &r));
    EXPECT_EQ(150u, r.Raw().ulVal);
    ASSERT_EQ(S_OK, Call(image, u"HasAlpha", DISPATCH_METHOD, {}, &r));
    EXPECT_EQ(-1, r.Raw().boolVal);
    EXPECT_EQ(S_OK, Call(image, u"SetAlpha", DISPATCH_METHOD, {VariantOf(true)}));
    EXPECT_EQ(E_FAIL, Call(image, u"SetAlpha", DISPATCH_METHOD, {VariantOf(false)}));
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(image, u"sizeX", DISPATCH_PROPERTYPUT, {U(5)}));
    // The document answers for itself through the image object.
    ComPtr<IDocument> same;
    ASSERT_EQ(S_OK, image->QueryInterface(IDocument::iid, same.out()));
    EXPECT_EQ(doc.get(), same.get());
    EXPECT_EQ(u"ZTOperationImageRaster 1.0 Type Library", std::u16string(ScriptingTypeLibrary().text));
}

TEST(TypeLibrary, EveryInterfaceHasUniqueIdsAndNamesAndTheCountsOfItsParts) {
    const STypeLibrary& library = ScriptingTypeLibrary();
    EXPECT_EQ(MakeGuid("2d83935d-1e47-4080-9445-0ed230709121"), library.id);
    ASSERT_EQ(3u, library.interfaces.size());
    for (const SInterfaceType* type : library.interfaces) {
        for (size_t i = 0; i < type->members.size(); ++i)
            for (size_t j = i + 1; j < type->members.size(); ++j) {
                EXPECT_NE(type->members[i].id, type->members[j].id) << Utf16ToUtf8(type->members[i].name);
                EXPECT_NE(type->Find(type->members[j].name), &type->members[i]);
            }
    }
    EXPECT_EQ(34u, ScriptedRasterImageType().members.size());
    // 42 operators, 11 channel codes, and the blender's other members.
    int operators = 0, channels = 0;
    for (const STypeMember& m : ScriptedBlenderType().members) {
        const std::u16string name = m.name;
        operators += name.rfind(u"Op", 0) == 0;
        channels += name.rfind(u"Ch", 0) == 0;
    }
    EXPECT_EQ(42, operators);
    EXPECT_EQ(11, channels);
    EXPECT_EQ(68, ScriptedBlenderType().Find(u"opnormalreflection")->id);
    EXPECT_EQ(EMemberKind::propertyGetPut, ScriptedBlenderType().Find(u"GammaCorrection")->kind);
    EXPECT_TRUE(ScriptedBlenderType().Find(u"Compose")->params.back().optional);
    EXPECT_EQ(30, ScriptedToolType().Find(u"SetColor1")->id);
    EXPECT_EQ(nullptr, ScriptedToolType().Find(int32_t(18)));  // 18 is not used
}
