// Shift hue as the host runs it: schema, names, CanActivate and Activate on host documents.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "frame/config.h"
#include "frame/object.h"
#include "host/text.h"
#include "host/zthost.h"
#include "operations/colour/shift_hue.h"
#include "operations/colour/shift_hue_kernels.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using optest::PixelDocument;
using optest::State;

namespace {

ComPtr<IDocumentOperation> ShiftHue() {
    ComPtr<IClassFactory> factory;
    DllGetClassObject(CDocumentOperationRasterImageShiftHue::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    if (factory) factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    return op;
}

ComPtr<IConfig> ConfigWithAngle(float aAngle) {
    ComPtr<IConfig> config;
    ShiftHue()->ConfigCreate(zthost::OperationManager(), config.out());
    const char16_t* key = u"Angle";
    CZTStr keyText(key);
    const char16_t* keys[] = {keyText.get()};
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTFloat;
    v.fVal = aAngle;
    EXPECT_EQ(S_OK, config->ItemValuesSet(1, keys, &v));
    return config;
}

std::string NameOf(IConfig* aConfig, uint32_t aLanguage = LANG_ENGLISH) {
    ComPtr<IConfigDescriptor> d = ComPtr<IConfigDescriptor>::query(ShiftHue().get());
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(S_OK, d->Name(zthost::OperationManager(), aConfig, name.out()));
    return zthost::TextOf(name, aLanguage);
}

HRESULT RunShiftHue(IDocument* aDocument, IConfig* aConfig) {
    return ShiftHue()->Activate(zthost::OperationManager(), aDocument, aConfig, zthost::CreateOperationContext(),
                                nullptr, LANG_ENGLISH);
}

// Pixels with every kind of colour, alpha varying, in a deterministic pattern.
std::vector<TPixelChannel> Pattern(size_t aCount) {
    std::vector<TPixelChannel> p(aCount);
    uint32_t x = 12345;
    for (auto& px : p) {
        x = x * 1664525u + 1013904223u;
        px.n = x;
    }
    return p;
}

}  // namespace

TEST(ShiftHueOperation, NameGetIsTheStringTableEntry) {
    ComPtr<ILocalizedString> name;
    ASSERT_EQ(S_OK, ShiftHue()->NameGet(nullptr, name.out()));
    EXPECT_EQ("Raster Image - Shift Hue", zthost::TextOf(name, LANG_ENGLISH));
    EXPECT_EQ("Rastrový obrázek - Posun odstínu", zthost::TextOf(name, LANG_CZECH));
    EXPECT_EQ(E_POINTER, ShiftHue()->NameGet(nullptr, nullptr));
}

TEST(ShiftHueOperation, SchemaHasTheAngleItem) {
    ComPtr<IConfig> config;
    ASSERT_EQ(S_OK, ShiftHue()->ConfigCreate(zthost::OperationManager(), config.out()));
    auto items = zthost::DescribeConfig(config);
    ASSERT_EQ(1u, items.size());
    EXPECT_EQ(u"Angle", items[0].key);
    EXPECT_EQ(zthost::ConfigItemKind::ranged, items[0].kind);
    EXPECT_EQ(ECVTFloat, items[0].defaultValue->eTypeID);
    EXPECT_EQ(0.0f, items[0].defaultValue->fVal);
    EXPECT_EQ(-180.0f, items[0].from->fVal);
    EXPECT_EQ(180.0f, items[0].to->fVal);
    EXPECT_EQ(1.0f, items[0].step->fVal);
    EXPECT_EQ("Angle", zthost::TextOf(items[0].name, LANG_ENGLISH));
    EXPECT_EQ("Úhel", zthost::TextOf(items[0].name, LANG_CZECH));
    EXPECT_EQ("Angle to rotate hues in an image.", zthost::TextOf(items[0].help, LANG_ENGLISH));
    EXPECT_FALSE(zthost::TextOf(items[0].help, LANG_CZECH).empty());
}

TEST(ShiftHueOperation, NameWithoutConfigurationIsTheBareName) {
    EXPECT_EQ("Shift hue", NameOf(nullptr));
    EXPECT_EQ("Posun odstínu", NameOf(nullptr, LANG_CZECH));
}

TEST(ShiftHueOperation, NameShowsNegativeAnglesAsTheirPositiveTurn) {
    EXPECT_EQ("Shift hue - 350°", NameOf(ConfigWithAngle(-10.0f)));
    EXPECT_EQ("Shift hue - 40°", NameOf(ConfigWithAngle(40.0f)));
    EXPECT_EQ("Shift hue - 11°", NameOf(ConfigWithAngle(10.5f)));
    EXPECT_EQ("Shift hue - 360°", NameOf(ConfigWithAngle(-0.25f)));  // trunc(-0.25 + 360.5)
    EXPECT_EQ("Posun odstínu - 180°", NameOf(ConfigWithAngle(-180.0f), LANG_CZECH));
}

TEST(ShiftHueOperation, NameWithAWrongTypeFailsAsUnexpected) {
    ComPtr<IConfigBuilder> builder = zthost::Create<IConfigBuilder>(CLSID_ConfigBuilder);
    TConfigValue def = ConfigValueEmpty();
    def.eTypeID = ECVTInteger;
    def.iVal = 10;
    builder->ItemInsSimple(u"Angle", zthost::MakeText(u"Angle", u"Úhel"), nullptr, &def, nullptr, 0, nullptr);
    builder->Finalize(nullptr);
    ComPtr<IConfig> config = ComPtr<IConfig>::query(builder.get());
    ComPtr<IConfigDescriptor> d = ComPtr<IConfigDescriptor>::query(ShiftHue().get());
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(E_UNEXPECTED, d->Name(nullptr, config, name.out()));
    EXPECT_FALSE(name);
}

TEST(ShiftHueOperation, PreviewIconWaitsForTheIconRenderer) {
    ComPtr<IConfigDescriptor> d = ComPtr<IConfigDescriptor>::query(ShiftHue().get());
    ZTHICON icon = nullptr;
    EXPECT_EQ(E_NOTIMPL, d->PreviewIcon(nullptr, nullptr, 32, &icon));
}

TEST(ShiftHueOperation, CanActivateWithNullDocumentIsFalse) {
    EXPECT_EQ(S_FALSE, ShiftHue()->CanActivate(nullptr, nullptr, nullptr, nullptr));
}

TEST(ShiftHueOperation, CanActivateOnRasterImage) {
    auto doc = PixelDocument({2, 2}, {0, 0}, {2, 2}, std::vector<TPixelChannel>(4), 0);
    EXPECT_EQ(S_OK, ShiftHue()->CanActivate(nullptr, doc, nullptr, nullptr));
}

TEST(ShiftHueOperation, PixelLocalFilterLeavesRectanglesAlone) {
    ComPtr<IRasterImageFilter> f = ComPtr<IRasterImageFilter>::query(ShiftHue().get());
    TImageSize canvas{100, 100};
    TRasterImageRect r{{3, 4}, {10, 20}};
    EXPECT_EQ(S_FALSE, f->AdjustDirtyRect(nullptr, &canvas, &r));
    EXPECT_EQ(S_FALSE, f->NeededToCompute(nullptr, &canvas, &r));
    EXPECT_EQ(3, r.tTL.nX);
    EXPECT_EQ(20, r.tBR.nY);
    EXPECT_EQ(E_NOTIMPL, f->CopyTransformed(nullptr, nullptr, nullptr, nullptr));
    TMatrix3x3f m{};
    EXPECT_EQ(S_FALSE, f->GetTransform(nullptr, &canvas, &m));
}

TEST(ShiftHueOperation, RedTurnedBy120DegreesAndGreysKept) {
    std::vector<TPixelChannel> pixels(4);
    pixels[0].n = 0xFFFF0000u;  // red
    pixels[1].n = 0x80646464u;  // grey
    pixels[2].n = 0x00FF0000u;  // transparent red
    pixels[3].n = 0xFFC86432u;
    auto doc = PixelDocument({2, 2}, {0, 0}, {2, 2}, pixels, 0);
    ASSERT_EQ(S_OK, RunShiftHue(doc, ConfigWithAngle(120.0f)));
    auto s = State(doc);
    ASSERT_EQ(4u, s.content.size());
    EXPECT_EQ(0xFF00FF00u, s.content[0].n);
    EXPECT_EQ(0x80646464u, s.content[1].n);
    EXPECT_EQ(0x0000FF00u, s.content[2].n);
    EXPECT_EQ(ShiftHuePixel(pixels[3], ShiftHueShift(120.0f)).n, s.content[3].n);
    EXPECT_EQ(1u, s.bufferReplaceCount);
    ASSERT_TRUE(s.lastAlphaTotalGiven);
    EXPECT_EQ(255u + 128u + 0u + 255u, s.lastAlphaTotal);
}

TEST(ShiftHueOperation, DefaultPixelOutsideASmallerContentIsTransformedToo) {
    std::vector<TPixelChannel> pixels(2);
    pixels[0].n = 0xFFFF0000u;
    pixels[1].n = 0xFF00FF00u;
    auto doc = PixelDocument({10, 10}, {3, 4}, {2, 1}, pixels, 0x40FF0000u);
    ASSERT_EQ(S_OK, RunShiftHue(doc, ConfigWithAngle(120.0f)));
    auto s = State(doc);
    EXPECT_EQ(0x4000FF00u, s.defaultPixel.n);
    EXPECT_EQ(3, s.contentOrigin.nX);
    EXPECT_EQ(4, s.contentOrigin.nY);
    ASSERT_EQ(2u, s.content.size());
    EXPECT_EQ(0xFF00FF00u, s.content[0].n);
    EXPECT_EQ(0xFF0000FFu, s.content[1].n);
    // Reading outside the content gives the transformed default pixel.
    ComPtr<IDocumentImage> image;
    doc->QueryFeatureInterface(IDocumentImage::iid, image.out());
    TImagePoint at{0, 0};
    TImageSize one{1, 1};
    TPixelChannel p{};
    image->TileGet(CHANNEL_COLOR, &at, &one, nullptr, 1, &p, nullptr, ACCESS_MODE);
    EXPECT_EQ(0x4000FF00u, p.n);
}

TEST(ShiftHueOperation, WrongValueTypeIsUnexpectedAndLeavesTheImage) {
    ComPtr<IConfigBuilder> builder = zthost::Create<IConfigBuilder>(CLSID_ConfigBuilder);
    TConfigValue def = ConfigValueEmpty();
    def.eTypeID = ECVTInteger;
    def.iVal = 120;
    builder->ItemInsSimple(u"Angle", zthost::MakeText(u"Angle", u"Úhel"), nullptr, &def, nullptr, 0, nullptr);
    builder->Finalize(nullptr);
    ComPtr<IConfig> config = ComPtr<IConfig>::query(builder.get());
    std::vector<TPixelChannel> pixels(4);
    pixels[0].n = 0xFFFF0000u;
    auto doc = PixelDocument({2, 2}, {0, 0}, {2, 2}, pixels, 0x12345678u);
    EXPECT_EQ(E_UNEXPECTED, RunShiftHue(doc, config));
    auto s = State(doc);
    EXPECT_EQ(0u, s.bufferReplaceCount);
    EXPECT_EQ(0xFFFF0000u, s.content[0].n);
    EXPECT_EQ(0x12345678u, s.defaultPixel.n);
}

TEST(ShiftHueOperation, MissingKeyIsUnexpected) {
    ComPtr<IConfigBuilder> builder = zthost::Create<IConfigBuilder>(CLSID_ConfigBuilder);
    builder->Finalize(nullptr);
    ComPtr<IConfig> config = ComPtr<IConfig>::query(builder.get());
    auto doc = PixelDocument({2, 2}, {0, 0}, {2, 2}, std::vector<TPixelChannel>(4), 0);
    EXPECT_EQ(E_UNEXPECTED, RunShiftHue(doc, config));
    EXPECT_EQ(0u, State(doc).bufferReplaceCount);
}

TEST(ConfigValue, FloatItemReadAsLongThrowsEvenWhenWhole) {
    ComPtr<IConfig> config = ConfigWithAngle(40.0f);
    EXPECT_THROW(ReadLong(config, u"Angle"), CConfigValue::CCastException);
    EXPECT_EQ(40.0f, ReadFloat(config, u"Angle"));
    EXPECT_THROW(ReadFloat(config, u"NoSuchKey"), CConfigValue::CCastException);
}

namespace {
// Runs Shift hue on a copy of the pattern with a pool of aThreads workers.
std::vector<TPixelChannel> RunWithThreads(uint32_t aThreads, TImageSize aSize) {
    zthost::SetThreadCount(aThreads);
    auto doc = PixelDocument(aSize, {0, 0}, aSize, Pattern(size_t(aSize.nX) * aSize.nY), 0x80102030u);
    EXPECT_EQ(S_OK, RunShiftHue(doc, ConfigWithAngle(77.0f)));
    auto s = State(doc);
    EXPECT_TRUE(s.lastAlphaTotalGiven);
    uint64_t alpha = 0;
    for (const TPixelChannel& p : Pattern(size_t(aSize.nX) * aSize.nY)) alpha += p.bA;
    EXPECT_EQ(alpha, s.lastAlphaTotal);
    return s.content;
}
}  // namespace

TEST(ShiftHueThreads, SameOutputWithOneTwoThreeAndEightThreads) {
    const uint32_t before = zthost::ThreadCount();
    for (TImageSize size : {TImageSize{1024, 16}, TImageSize{1025, 16}, TImageSize{1, 20000}, TImageSize{257, 301}}) {
        std::vector<TPixelChannel> one = RunWithThreads(1, size);
        for (uint32_t threads : {2u, 3u, 8u}) {
            std::vector<TPixelChannel> many = RunWithThreads(threads, size);
            ASSERT_EQ(one.size(), many.size());
            for (size_t i = 0; i < one.size(); ++i)
                ASSERT_EQ(one[i].n, many[i].n) << size.nX << "x" << size.nY << " threads " << threads << " at " << i;
        }
    }
    zthost::SetThreadCount(before);
}

TEST(ShiftHueThreads, PoolWithMoreThreadsThanRowsWritesNothingOutsideTheImage) {
    // 20 rows and 22000 pixels would take the pool, which has more threads than rows here.
    const uint32_t before = zthost::ThreadCount();
    std::vector<TPixelChannel> one = RunWithThreads(1, {1100, 20});
    std::vector<TPixelChannel> many = RunWithThreads(32, {1100, 20});
    EXPECT_EQ(0, std::memcmp(one.data(), many.data(), one.size() * 4));
    zthost::SetThreadCount(before);
}

TEST(ShiftHueOperation, SingletonIsTheSameObjectAndHoldsTheModule) {
    const long before = ModuleLockCount();
    {
        ComPtr<IDocumentOperation> a = ShiftHue(), b = ShiftHue();
        EXPECT_EQ(a.get(), b.get());
        EXPECT_GT(ModuleLockCount(), before);
    }
    EXPECT_EQ(before, ModuleLockCount());
}
