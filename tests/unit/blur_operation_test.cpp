// Blur as the host runs it: schema, names, rectangles, kernel choice, edges, growth of the
// content, radial and zoom forms, threads.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "frame/config.h"
#include "frame/object.h"
#include "host/zthost.h"
#include "operations/blur/blur.h"
#include "operations/blur/blur_radial.h"
#include "operations/blur/blur_stream.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using optest::PixelDocument;
using optest::State;

namespace {

ComPtr<IDocumentOperation> Blur() {
    ComPtr<IClassFactory> factory;
    DllGetClassObject(CDocumentOperationRasterImageBlur::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    if (factory) factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    return op;
}

// A configuration of the host's, with items set from text as a user would.
ComPtr<IConfig> Config(std::initializer_list<std::pair<const char*, const char*>> aItems) {
    ComPtr<IConfig> config;
    EXPECT_EQ(S_OK, Blur()->ConfigCreate(zthost::OperationManager(), config.out()));
    for (const auto& [key, value] : aItems) {
        std::string error;
        EXPECT_EQ(S_OK, zthost::ConfigSetFromString(config, key, value, &error)) << error;
    }
    return config;
}

// A stored configuration that holds values no editor would offer (Method 2, Direction 7).
class CStoredConfig final : public CStackUnknown<IConfig> {
public:
    CStoredConfig(int32_t aDirection, int32_t aMethod, float aRadius) {
        Set(u"Direction", Long(aDirection));
        Set(u"Method", Long(aMethod));
        TConfigValue r = ConfigValueEmpty();
        r.eTypeID = ECVTFloat;
        r.fVal = aRadius;
        Set(u"Radius", r);
        TConfigValue a = r;
        a.fVal = 2.0f;
        Set(u"Angle", a);
        Set(u"Zoom", Long(10));
        TConfigValue b = ConfigValueEmpty();
        b.eTypeID = ECVTBool;
        b.bVal = false;
        Set(u"EdgeReplication", b);
    }
    HRESULT ItemValueGet(const char16_t* aKey, TConfigValue* aValue) override {
        auto it = items_.find(std::u16string(aKey));
        *aValue = it == items_.end() ? ConfigValueEmpty() : it->second;
        return S_OK;
    }
    HRESULT ItemValuesSet(uint32_t, const char16_t* const*, const TConfigValue*) override { return E_NOTIMPL; }
    HRESULT ItemGetUIInfo(const char16_t*, const IID&, void**) override { return E_NOTIMPL; }
    HRESULT SubConfigGet(const char16_t*, IConfig**) override { return E_NOTIMPL; }
    HRESULT DuplicateCreate(IConfig**) override { return E_NOTIMPL; }
    HRESULT CopyFrom(IConfig*, const char16_t*) override { return E_NOTIMPL; }
    HRESULT ObserverIns(IConfigObserver*) override { return E_NOTIMPL; }
    HRESULT ObserverDel(IConfigObserver*) override { return E_NOTIMPL; }

private:
    static TConfigValue Long(int32_t v) {
        TConfigValue t = ConfigValueEmpty();
        t.eTypeID = ECVTInteger;
        t.iVal = v;
        return t;
    }
    void Set(const char16_t* aKey, TConfigValue aValue) { items_[aKey] = aValue; }
    std::map<std::u16string, TConfigValue> items_;
};

HRESULT RunBlur(IDocument* aDocument, IConfig* aConfig) {
    return Blur()->Activate(zthost::OperationManager(), aDocument, aConfig, zthost::CreateOperationContext(), nullptr,
                            LANG_ENGLISH);
}

std::vector<TPixelChannel> Pattern(size_t aCount, uint32_t aSeed = 1) {
    std::mt19937 rng(aSeed);
    std::vector<TPixelChannel> p(aCount);
    for (auto& px : p) {
        px.n = rng();
        if (px.n % 9 == 0) px.bA = 0;
        if (px.n % 4 == 0) px.bA = 255;
    }
    return p;
}

std::vector<TPixelChannel> Uniform(size_t aCount, uint32_t aColour) {
    std::vector<TPixelChannel> p(aCount);
    for (auto& px : p) px.n = aColour;
    return p;
}

std::string NameOf(IConfig* aConfig, uint32_t aLanguage = LANG_ENGLISH) {
    ComPtr<IConfigDescriptor> d = ComPtr<IConfigDescriptor>::query(Blur().get());
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(S_OK, d->Name(zthost::OperationManager(), aConfig, name.out()));
    return zthost::TextOf(name, aLanguage);
}

class ThreadCount {
public:
    explicit ThreadCount(uint32_t aThreads) : before_(zthost::ThreadCount()) { zthost::SetThreadCount(aThreads); }
    ~ThreadCount() { zthost::SetThreadCount(before_); }

private:
    uint32_t before_;
};

}  // namespace

// ---------------------------------------------------------------- texts and schema

TEST(BlurOperation, NameGetIsTheStringTableEntry) {
    ComPtr<ILocalizedString> name;
    ASSERT_EQ(S_OK, Blur()->NameGet(nullptr, name.out()));
    EXPECT_EQ("Raster Image - Blur", zthost::TextOf(name, LANG_ENGLISH));
    EXPECT_EQ("Rastrový obrázek - Rozostření", zthost::TextOf(name, LANG_CZECH));
}

TEST(BlurOperation, SchemaKeepsTheOrderAndTheGapOfMethod) {
    ComPtr<IConfig> config = Config({});
    auto items = zthost::DescribeConfig(config);
    ASSERT_EQ(6u, items.size());
    const char16_t* keys[] = {u"Direction", u"Method", u"EdgeReplication", u"Radius", u"Angle", u"Zoom"};
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(keys[i], items[i].key);

    EXPECT_EQ(zthost::ConfigItemKind::pickOne, items[0].kind);
    EXPECT_EQ(0, items[0].defaultValue->iVal);
    ASSERT_EQ(5u, items[0].options.size());
    const int32_t directions[] = {0, 2, 1, 3, 4};
    const char* directionNames[] = {"Horizontal and vertical blur", "Horizontal blur", "Vertical blur", "Radial blur",
                                    "Zoom blur"};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(directions[i], items[0].options[i]->value.iVal);
        EXPECT_EQ(directionNames[i], zthost::TextOf(items[0].options[i]->name, LANG_ENGLISH));
        EXPECT_TRUE(items[0].options[i]->conditions.empty());
    }
    EXPECT_EQ("Direction for blurring.", zthost::TextOf(items[0].help, LANG_ENGLISH));

    EXPECT_EQ("Distribution", zthost::TextOf(items[1].name, LANG_ENGLISH));
    EXPECT_EQ(1, items[1].defaultValue->iVal);
    ASSERT_EQ(3u, items[1].options.size());
    const int32_t methods[] = {0, 1, 3};  // 2 is not used
    const char* methodNames[] = {"Constant", "Linear", "Gaussian"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(methods[i], items[1].options[i]->value.iVal);
        EXPECT_EQ(methodNames[i], zthost::TextOf(items[1].options[i]->name, LANG_ENGLISH));
        ASSERT_EQ(1u, items[1].options[i]->conditions.size());
        const TConfigOptionCondition& c = items[1].options[i]->conditions[0];
        EXPECT_EQ(u"Direction", ZTStrView(c.bstrID));
        EXPECT_EQ(3u, c.eConditionType);
        EXPECT_EQ(2, c.tValue.iVal);
    }

    EXPECT_EQ(ECVTBool, items[2].defaultValue->eTypeID);
    EXPECT_FALSE(items[2].defaultValue->bVal);
    EXPECT_EQ("Canvas edge replication", zthost::TextOf(items[2].name, LANG_ENGLISH));
    EXPECT_EQ("Assume the pixel colors outside of canvas matches the image edges.",
              zthost::TextOf(items[2].help, LANG_ENGLISH));
    EXPECT_EQ(10.0f, items[3].defaultValue->fVal);
    EXPECT_EQ("Maximum distance in pixels that each pixel influences.", zthost::TextOf(items[3].help, LANG_ENGLISH));
    EXPECT_EQ(2.0f, items[4].defaultValue->fVal);
    EXPECT_EQ(nullptr, items[4].help.get());
    EXPECT_EQ(ECVTInteger, items[5].defaultValue->eTypeID);
    EXPECT_EQ(10, items[5].defaultValue->iVal);
    EXPECT_EQ("Amount", zthost::TextOf(items[5].name, LANG_ENGLISH));
    for (size_t i = 2; i < 6; ++i) {
        EXPECT_EQ(zthost::ConfigItemKind::simple, items[i].kind);
        EXPECT_EQ(nullptr, items[i].from);  // no range of their own
        ASSERT_EQ(1u, items[i].conditions->size());
        const TConfigOptionCondition& c = (*items[i].conditions)[0];
        EXPECT_EQ(i < 4 ? 3u : 0u, c.eConditionType);
        EXPECT_EQ(i < 4 ? 2 : int32_t(i - 1), c.tValue.iVal);
    }
    for (const auto& item : items) EXPECT_FALSE(zthost::TextOf(item.name, LANG_CZECH).empty());
}

TEST(BlurOperation, PreviewTextFollowsTheDirection) {
    EXPECT_EQ("Blur", NameOf(nullptr));
    EXPECT_EQ("Rozostření", NameOf(nullptr, LANG_CZECH));
    EXPECT_EQ("Blur - 10px", NameOf(Config({})));
    EXPECT_EQ("Vertical blur - 3px", NameOf(Config({{"Direction", "1"}, {"Radius", "2.5"}})));
    EXPECT_EQ("Horizontal blur - 2px", NameOf(Config({{"Direction", "2"}, {"Radius", "2.49"}})));
    EXPECT_EQ("Radial blur - 8°", NameOf(Config({{"Direction", "3"}, {"Angle", "7.5"}})));
    EXPECT_EQ("Zoom blur - 40px", NameOf(Config({{"Direction", "4"}, {"Zoom", "40"}})));
    EXPECT_EQ("Svislé rozostření - 10px", NameOf(Config({{"Direction", "1"}}), LANG_CZECH));
}

TEST(BlurOperation, CanActivateAndLayerStyle) {
    EXPECT_EQ(S_FALSE, Blur()->CanActivate(nullptr, nullptr, nullptr, nullptr));
    auto doc = PixelDocument({2, 2}, {0, 0}, {2, 2}, Uniform(4, 0));
    EXPECT_EQ(S_OK, Blur()->CanActivate(nullptr, doc, nullptr, nullptr));
    ComPtr<ILayerStyle> style = ComPtr<ILayerStyle>::query(Blur().get());
    ASSERT_TRUE(style);
    EXPECT_EQ(82, style->ExecutionPriority());
    EXPECT_EQ(S_FALSE, style->StyleFlagGet());
}

// ---------------------------------------------------------------- rectangles and scaling

TEST(BlurOperation, DirtyRectangleGrowsByTheReachOnTheBlurredSides) {
    ComPtr<IRasterImageFilter> f = ComPtr<IRasterImageFilter>::query(Blur().get());
    const TImageSize canvas{100, 80};
    TRasterImageRect r{{10, 20}, {30, 40}};
    EXPECT_EQ(S_OK, f->AdjustDirtyRect(Config({{"Radius", "2.5"}, {"Method", "0"}}), &canvas, &r));
    EXPECT_EQ(7, r.tTL.nX);
    EXPECT_EQ(17, r.tTL.nY);
    EXPECT_EQ(33, r.tBR.nX);
    EXPECT_EQ(43, r.tBR.nY);
    r = {{10, 20}, {30, 40}};
    EXPECT_EQ(S_OK, f->NeededToCompute(Config({{"Direction", "1"}, {"Radius", "4"}}), &canvas, &r));
    EXPECT_EQ(10, r.tTL.nX);
    EXPECT_EQ(16, r.tTL.nY);
    EXPECT_EQ(30, r.tBR.nX);
    EXPECT_EQ(44, r.tBR.nY);
    r = {{10, 20}, {30, 40}};
    EXPECT_EQ(S_OK, f->AdjustDirtyRect(Config({{"Direction", "2"}, {"Radius", "4"}}), &canvas, &r));
    EXPECT_EQ(6, r.tTL.nX);
    EXPECT_EQ(20, r.tTL.nY);
    // The plane's ends hold.
    r = RECT_WHOLE_PLANE;
    EXPECT_EQ(S_OK, f->AdjustDirtyRect(Config({}), &canvas, &r));
    EXPECT_EQ(INT32_MIN, r.tTL.nX);
    EXPECT_EQ(INT32_MAX, r.tBR.nY);
}

TEST(BlurOperation, GaussianRadialAndZoomDirtyTheWholeCanvas) {
    ComPtr<IRasterImageFilter> f = ComPtr<IRasterImageFilter>::query(Blur().get());
    const TImageSize canvas{100, 80};
    for (auto config : {Config({{"Method", "3"}}), Config({{"Direction", "3"}}), Config({{"Direction", "4"}})}) {
        TRasterImageRect r{{10, 20}, {30, 40}};
        EXPECT_EQ(S_OK, f->AdjustDirtyRect(config, &canvas, &r));
        EXPECT_EQ(0, r.tTL.nX);
        EXPECT_EQ(0, r.tTL.nY);
        EXPECT_EQ(100, r.tBR.nX);
        EXPECT_EQ(80, r.tBR.nY);
        r = {{10, 20}, {30, 40}};
        EXPECT_EQ(E_FAIL, f->AdjustDirtyRect(config, nullptr, &r));
        EXPECT_EQ(10, r.tTL.nX);
    }
    TRasterImageRect r{{10, 20}, {30, 40}};
    EXPECT_EQ(S_OK, f->AdjustDirtyRect(nullptr, &canvas, &r));
    EXPECT_EQ(10, r.tTL.nX);
    EXPECT_EQ(S_OK, f->AdjustDirtyRect(Config({}), &canvas, nullptr));
}

TEST(BlurOperation, TransformScalesRadiusAndZoomByTheMeanScale) {
    ComPtr<IRasterImageFilter> f = ComPtr<IRasterImageFilter>::query(Blur().get());
    ComPtr<IConfig> config = Config({{"Radius", "3"}, {"Zoom", "7"}});
    const TMatrix3x3f identity{{1, 0, 0, 0, 1, 0, 5, 6, 1}};
    EXPECT_EQ(S_FALSE, f->Transform(config, nullptr, &identity));
    const TMatrix3x3f squeeze{{2, 0, 0, 0, 0.5f, 0, 0, 0, 1}};  // sqrt(2 * 0.5) = 1
    EXPECT_EQ(S_FALSE, f->Transform(config, nullptr, &squeeze));
    // A rotation by 90 degrees with scale 1.5: m00 = 0, m10 = -1.5, m01 = 1.5, m11 = 0.
    const TMatrix3x3f turn{{0, 1.5f, 0, -1.5f, 0, 0, 0, 0, 1}};
    EXPECT_EQ(S_OK, f->Transform(config, nullptr, &turn));
    EXPECT_EQ(4.5f, ReadFloat(config, u"Radius"));
    EXPECT_EQ(10, ReadLong(config, u"Zoom"));  // 10.5 cut
    EXPECT_EQ(E_HOST_INVALID_PARAM, f->Transform(nullptr, nullptr, &turn));
    EXPECT_EQ(E_HOST_INVALID_PARAM, f->Transform(config, nullptr, nullptr));
}

// ---------------------------------------------------------------- runs

TEST(BlurOperation, RadiusBelowATenthLeavesTheImageAlone) {
    const auto pixels = Pattern(6 * 5);
    for (const char* method : {"0", "1", "3"}) {
        auto doc = PixelDocument({6, 5}, {0, 0}, {6, 5}, pixels);
        EXPECT_EQ(S_FALSE, RunBlur(doc, Config({{"Radius", "0.09"}, {"Method", method}})));
        auto s = State(doc);
        EXPECT_EQ(0u, s.bufferReplaceCount);
        EXPECT_EQ(6u, s.contentSize.nX);
        EXPECT_EQ(pixels[7].n, s.content[7].n);
    }
}

TEST(BlurOperation, RadiusOfATenthGrowsTheContentByOneOnTheBlurredSides) {
    const auto pixels = Pattern(6 * 5);
    const struct {
        const char* direction;
        int32_t x, y;
        uint32_t w, h;
    } cases[] = {{"0", -1, -1, 8, 7}, {"1", 0, -1, 6, 7}, {"2", -1, 0, 8, 5}};
    for (const auto& c : cases) {
        for (const char* method : {"0", "1", "3"}) {
            auto doc = PixelDocument({6, 5}, {0, 0}, {6, 5}, pixels);
            EXPECT_EQ(S_OK, RunBlur(doc, Config({{"Radius", "0.1"}, {"Method", method}, {"Direction", c.direction}})));
            auto s = State(doc);
            EXPECT_EQ(c.x, s.contentOrigin.nX) << c.direction << method;
            EXPECT_EQ(c.y, s.contentOrigin.nY);
            EXPECT_EQ(c.w, s.contentSize.nX);
            EXPECT_EQ(c.h, s.contentSize.nY);
        }
    }
}

TEST(BlurOperation, ConstantWholeRadiusIsTheBoxAndHalfRadiusTheFractionBox) {
    // One opaque white pixel on a transparent default, blurred horizontally.
    auto whole = PixelDocument({1, 1}, {0, 0}, {1, 1}, Uniform(1, 0xFFFFFFFF));
    ASSERT_EQ(S_OK, RunBlur(whole, Config({{"Direction", "2"}, {"Method", "0"}, {"Radius", "2"}})));
    auto s = State(whole);
    ASSERT_EQ(5u, s.contentSize.nX);
    EXPECT_EQ(-2, s.contentOrigin.nX);
    // Each window of 5 holds the pixel once: alpha 255 / 5 = 51, colour white.
    for (const auto& p : s.content) EXPECT_EQ(0x33FFFFFFu, p.n);

    auto half = PixelDocument({1, 1}, {0, 0}, {1, 1}, Uniform(1, 0xFFFFFFFF));
    ASSERT_EQ(S_OK, RunBlur(half, Config({{"Direction", "2"}, {"Method", "0"}, {"Radius", "2.5"}})));
    s = State(half);
    ASSERT_EQ(7u, s.contentSize.nX);
    EXPECT_EQ(-3, s.contentOrigin.nX);
    // Weights 0.5, 1, 1, 1, 1, 1, 0.5 over 6: the ends see half the pixel (21.75 -> 21),
    // the rest all of it (42.5 + 0.5 -> 43).
    const uint32_t alpha[] = {21, 43, 43, 43, 43, 43, 21};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(alpha[i] << 24 | 0xFFFFFFu, s.content[i].n) << i;
}

TEST(BlurOperation, LinearOfRadiusOneEqualsConstantOfHalf) {
    const auto pixels = Pattern(20 * 17, 5);
    auto a = PixelDocument({20, 17}, {0, 0}, {20, 17}, pixels, 0x80204060);
    auto b = PixelDocument({20, 17}, {0, 0}, {20, 17}, pixels, 0x80204060);
    ASSERT_EQ(S_OK, RunBlur(a, Config({{"Method", "1"}, {"Radius", "1"}})));
    ASSERT_EQ(S_OK, RunBlur(b, Config({{"Method", "0"}, {"Radius", "0.5"}})));
    auto sa = State(a), sb = State(b);
    EXPECT_EQ(22u, sa.contentSize.nX);
    ASSERT_EQ(sa.content.size(), sb.content.size());
    for (size_t i = 0; i < sa.content.size(); ++i) ASSERT_EQ(sb.content[i].n, sa.content[i].n) << i;
}

TEST(BlurOperation, WithoutEdgeReplicationTheBorderFadesToTheDefault) {
    const uint32_t colour = 0xFF4080C0;
    auto doc = PixelDocument({8, 8}, {0, 0}, {8, 8}, Uniform(64, colour));
    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Method", "0"}, {"Radius", "2"}})));
    auto s = State(doc);
    ASSERT_EQ(12u, s.contentSize.nX);
    EXPECT_EQ(-2, s.contentOrigin.nX);
    // The canvas's corner pixel (content index 2, 2) sees 3 x 3 of 5 x 5 samples.
    // Rows: 3 of 5 samples, 0.6 in the intermediate (19660 / 32768); columns: 3 of 5 rows
    // of that: 1.79993 * 51 + 0.5 = 92.3.
    EXPECT_EQ(92, s.content[2 * 12 + 2].bA);
    EXPECT_EQ(255, s.content[6 * 12 + 6].bA);  // the middle
    EXPECT_GT(s.content[0].bA, 0);             // the grown area holds part of the image
}

TEST(BlurOperation, WithEdgeReplicationTheEdgesKeepTheirColour) {
    const uint32_t colour = 0xFF4080C0;
    for (const char* method : {"0", "1", "3"}) {
        auto doc = PixelDocument({8, 8}, {0, 0}, {8, 8}, Uniform(64, colour));
        ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Method", method}, {"Radius", "2"}, {"EdgeReplication", "true"}})));
        auto s = State(doc);
        ASSERT_EQ(12u, s.contentSize.nX);
        EXPECT_EQ(-2, s.contentOrigin.nY);
        for (const auto& p : s.content) {
            EXPECT_EQ(255, p.bA) << method;
            EXPECT_NEAR(0x40, p.bR, 1);
            EXPECT_NEAR(0x80, p.bG, 1);
            EXPECT_NEAR(0xC0, p.bB, 1);
        }
    }
}

TEST(BlurOperation, EdgeReplicationOnlyOnSidesThatReachTheCanvasEdge) {
    // Content 4..8 of a canvas 12 wide: the left side is the default colour, the right
    // side (8 >= 12? no) too; on y the content covers the canvas and replicates.
    auto doc = PixelDocument({12, 4}, {4, 0}, {4, 4}, Uniform(16, 0xFFFFFFFF));
    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Method", "0"}, {"Radius", "1"}, {"EdgeReplication", "true"}})));
    auto s = State(doc);
    EXPECT_EQ(3, s.contentOrigin.nX);
    EXPECT_EQ(-1, s.contentOrigin.nY);
    ASSERT_EQ(6u, s.contentSize.nX);
    ASSERT_EQ(6u, s.contentSize.nY);
    // Top row (above the canvas) replicates the white edge; left column fades.
    EXPECT_EQ(0xFFFFFFFFu, s.content[3].n);
    EXPECT_EQ(85, s.content[2 * 6 + 0].bA);  // one of three columns holds the image
}

TEST(BlurOperation, ContentOverhangingTheLeftEdgeStaysInsideItsBuffer) {
    // Content from -3 to 7 on a canvas 20 wide, replicated: the area starts at 0.
    auto doc = PixelDocument({20, 3}, {-3, 0}, {10, 3}, Pattern(30, 9));
    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Method", "1"}, {"Radius", "2"}, {"EdgeReplication", "true"}})));
    auto s = State(doc);
    EXPECT_EQ(-2, s.contentOrigin.nX);
    EXPECT_EQ(7u + 4u, s.contentSize.nX);
    // Content wholly left of the canvas: nothing to blur.
    auto gone = PixelDocument({20, 3}, {-30, 0}, {10, 3}, Pattern(30, 9));
    EXPECT_EQ(S_FALSE, RunBlur(gone, Config({{"EdgeReplication", "true"}})));
}

TEST(BlurOperation, StoredMethodTwoHandsOverTheTargetUnwritten) {
    auto doc = PixelDocument({6, 5}, {0, 0}, {6, 5}, Pattern(30));
    CStoredConfig config(0, 2, 3.0f);
    ASSERT_EQ(S_OK, RunBlur(doc, &config));
    auto s = State(doc);
    EXPECT_EQ(1u, s.bufferReplaceCount);
    EXPECT_EQ(-3, s.contentOrigin.nX);
    EXPECT_EQ(12u, s.contentSize.nX);
    EXPECT_EQ(11u, s.contentSize.nY);
}

TEST(BlurOperation, UnknownDirectionFailsAndEmptyAreaIsNothingToDo) {
    auto doc = PixelDocument({6, 5}, {0, 0}, {6, 5}, Pattern(30));
    CStoredConfig config(7, 0, 3.0f);
    EXPECT_EQ(E_FAIL, RunBlur(doc, &config));
    EXPECT_EQ(0u, State(doc).bufferReplaceCount);
    auto empty = PixelDocument({6, 5}, {0, 0}, {0, 0}, std::vector<TPixelChannel>());
    EXPECT_EQ(S_FALSE, RunBlur(empty, Config({})));
}

TEST(BlurOperation, WrongTypeOrNoMemoryLeavesTheImage) {
    auto doc = PixelDocument({6, 5}, {0, 0}, {6, 5}, Pattern(30));
    class CWrong final : public CStackUnknown<IConfig> {
    public:
        HRESULT ItemValueGet(const char16_t*, TConfigValue* aValue) override {
            *aValue = ConfigValueEmpty();
            aValue->eTypeID = ECVTFloat;  // "Direction" is a long
            return S_OK;
        }
        HRESULT ItemValuesSet(uint32_t, const char16_t* const*, const TConfigValue*) override { return E_NOTIMPL; }
        HRESULT ItemGetUIInfo(const char16_t*, const IID&, void**) override { return E_NOTIMPL; }
        HRESULT SubConfigGet(const char16_t*, IConfig**) override { return E_NOTIMPL; }
        HRESULT DuplicateCreate(IConfig**) override { return E_NOTIMPL; }
        HRESULT CopyFrom(IConfig*, const char16_t*) override { return E_NOTIMPL; }
        HRESULT ObserverIns(IConfigObserver*) override { return E_NOTIMPL; }
        HRESULT ObserverDel(IConfigObserver*) override { return E_NOTIMPL; }
    } wrong;
    EXPECT_EQ(E_UNEXPECTED, RunBlur(doc, &wrong));
    zthost::SetBufferLimit(10);
    EXPECT_EQ(E_OUTOFMEMORY, RunBlur(doc, Config({})));
    zthost::SetBufferLimit(UINT64_MAX);
    EXPECT_EQ(0u, State(doc).bufferReplaceCount);
}

TEST(BlurOperation, IntermediateRefusedByTheDocumentComesFromTheHeap) {
    // The two-axis passes ask the document for their intermediate first. A document that has
    // room for the target only (60 x 44 grown by 2 x 3) must give the same pixels.
    const auto pixels = Pattern(60 * 44, 7);
    for (const char* method : {"0", "3"}) {
        for (int streamed = 0; streamed < 2; ++streamed) {
            std::vector<TPixelChannel> result[2];
            for (int limited = 0; limited < 2; ++limited) {
                gStreamedBlurAllowed = streamed == 1;
                auto doc = PixelDocument({60, 44}, {0, 0}, {60, 44}, pixels);
                zthost::SetBufferLimit(limited ? 66 * 50 : UINT64_MAX);
                const HRESULT hr = RunBlur(doc, Config({{"Method", method}, {"Radius", "3"}}));
                zthost::SetBufferLimit(UINT64_MAX);
                gStreamedBlurAllowed = true;
                ASSERT_EQ(S_OK, hr) << method;
                result[limited] = State(doc).content;
            }
            ASSERT_EQ(result[0].size(), result[1].size());
            for (size_t i = 0; i < result[0].size(); ++i)
                ASSERT_EQ(result[0][i].n, result[1][i].n) << method << " " << i;
        }
    }
}

// ---------------------------------------------------------------- radial and zoom

TEST(BlurRadial, StepConstantsAreTheBlursOwn) {
    // trunc(2 * 3.141528 * 65536 / 181) = 2274, / 64 = 35; the second-order term 35^2 >> 11 = 0.
    EXPECT_EQ(35, RadialStep(2.0f));
    // 20 degrees: 22749 / 64 = 355, 355^2 >> 11 = 61.
    EXPECT_EQ(355, RadialStep(20.0f));
    EXPECT_EQ(-35, RadialStep(-2.0f));
    EXPECT_EQ(0, RadialStep(0.0f));
    // A step of 35 from (65536, 0): x loses nothing, y gains (256 * 35) >> 8 = 35.
    const SFixedPoint p = RadialRotate({65536, 0}, 35, 0);
    EXPECT_EQ(65536, p.x);
    EXPECT_EQ(35, p.y);
    const SFixedPoint q = RadialRotate({65536, 65536}, 355, 61);
    // x: 65536 - ((4 * 61 >> 8) + (256 * 355 >> 8)) = 65536 - (0 + 355); y: 65536 + (355 - 0).
    EXPECT_EQ(65181, q.x);
    EXPECT_EQ(65891, q.y);
}

TEST(BlurRadial, AngleZeroKeepsEveryPixel) {
    const auto pixels = Pattern(9 * 7, 11);
    auto doc = PixelDocument({9, 7}, {0, 0}, {9, 7}, pixels);
    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Direction", "3"}, {"Angle", "0"}})));
    auto s = State(doc);
    for (size_t i = 0; i < pixels.size(); ++i) {
        // 129 samples of the pixel itself: the colour comes back exactly, alpha too.
        const TPixelChannel p = pixels[i];
        EXPECT_EQ(p.bA == 0 ? 0u : p.n, s.content[i].n) << i;
    }
}

TEST(BlurRadial, CornerLosesSamplesButNotAlpha) {
    // Uniform alpha 200: whatever count of samples falls inside, alpha is 200 * count / count.
    auto doc = PixelDocument({16, 16}, {0, 0}, {16, 16}, Uniform(256, 0xC8102030));
    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Direction", "3"}, {"Angle", "20"}})));
    auto s = State(doc);
    EXPECT_EQ(0xC8102030u, s.content[0].n);
    EXPECT_EQ(0xC8102030u, s.content[255].n);
    // A corner pixel's far samples fall outside: sums over the inside ones only, so a lone
    // opaque corner on a transparent image keeps 255 / count.
    std::vector<TPixelChannel> lone(256);
    lone[0].n = 0xFFFFFFFF;
    std::vector<TPixelChannel> out(256);
    RadialBlur(lone.data(), out.data(), 16, 16, 20.0f);
    // Turned either way the corner's points leave the image at once: only the samples
    // still on the corner pixel count, so it keeps its full alpha.
    EXPECT_EQ(0xFFFFFFFFu, out[0].n);
    // Its neighbour sees the opaque corner and transparent pixels: alpha falls below 255.
    EXPECT_LT(out[1].bA, 255);
}

TEST(BlurRadial, SmallTurnOfAOnePixelImageStaysOnThePixel) {
    // The pixel's centre is half a pixel from the turning point; a turn of 2 degrees keeps
    // all 128 samples on the pixel, so the count is 129 and the pixel comes back.
    std::vector<TPixelChannel> one(1), out(1);
    one[0].n = 0x7F336699;
    RadialBlur(one.data(), out.data(), 1, 1, 2.0f);
    EXPECT_EQ(0x7F336699u, out[0].n);
}

TEST(BlurRadial, ExtremeAngleWrapsWithoutOverflow) {
    // Far beyond the slider: the fixed-point rotation wraps as defined, every sample stays
    // inside the image (checked by the sanitizer build) and alpha survives where it must.
    std::vector<TPixelChannel> in = Uniform(8 * 6, 0xFF336699u), out(8 * 6);
    RadialBlur(in.data(), out.data(), 8, 6, 1e30f);
    RadialBlur(in.data(), out.data(), 8, 6, -1e30f);
    EXPECT_EQ(0xFF336699u, out[3 * 8 + 4].n);  // the centre samples itself and its like
}

TEST(BlurZoom, ZeroZoomGivesEachPixel65TimesItself) {
    const auto pixels = Pattern(9 * 7, 13);
    auto doc = PixelDocument({9, 7}, {0, 0}, {9, 7}, pixels);
    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Direction", "4"}, {"Zoom", "0"}})));
    auto s = State(doc);
    for (size_t i = 0; i < pixels.size(); ++i) {
        const TPixelChannel p = pixels[i];
        EXPECT_EQ(p.bA == 0 ? 0u : p.n, s.content[i].n) << i;
    }
}

TEST(BlurZoom, FullStepLandsEverySampleOnTheCentrePixel) {
    // 4 x 4, zoom 16384: the first step takes every point to (0, 0) of the fixed-point
    // frame, which is pixel (2, 2); all 64 samples are that pixel.
    std::vector<TPixelChannel> in(16), out(16);
    for (auto& p : in) p.n = 0xFF000000;
    in[2 * 4 + 2].n = 0xFFFFFFFF;
    in[1 * 4 + 0].n = 0x00000000;
    ZoomBlur(in.data(), out.data(), 4, 4, 16384);
    EXPECT_EQ(255, out[0].bA);  // 65 * 255 / 65
    EXPECT_EQ(251, out[0].bR);  // 64 * 255 * 255 / (65 * 255) = 251.07
    EXPECT_EQ(0xFFFFFFFFu, out[2 * 4 + 2].n);
    EXPECT_EQ(251, out[1 * 4 + 0].bA);  // 64 * 255 / 65
    EXPECT_EQ(255, out[1 * 4 + 0].bR);  // only white samples carry colour
}

TEST(BlurZoom, OnePixelHighImageKeepsItsSamplesInside) {
    // The point converges on the row below a one-row image; the sample is held on the row.
    std::vector<TPixelChannel> in(3), out(3);
    in[0].n = 0xFF000000;
    in[1].n = 0xFFFFFFFF;
    in[2].n = 0x00000000;
    ZoomBlur(in.data(), out.data(), 3, 1, 16384);
    // Pixel 0: itself and 64 samples of pixel 2 (transparent): alpha 255 / 65.
    EXPECT_EQ(3, out[0].bA);
    EXPECT_EQ(0, out[0].bR);
    // Negative and very large amounts stay inside the image too.
    ZoomBlur(in.data(), out.data(), 3, 1, -100000);
    ZoomBlur(in.data(), out.data(), 3, 1, 1000000);
    // Pixel 0 is opaque and counts itself: alpha at least 255 / 65.
    EXPECT_GE(out[0].bA, 3);
}

TEST(BlurZoom, ZoomRunsOnTheWholeCanvasWithTheDefaultPixel) {
    auto doc = PixelDocument({10, 6}, {2, 2}, {3, 2}, Uniform(6, 0xFFFF0000), 0xFF0000FF);
    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Direction", "4"}, {"Zoom", "0"}})));
    auto s = State(doc);
    EXPECT_EQ(0, s.contentOrigin.nX);
    ASSERT_EQ(10u, s.contentSize.nX);
    ASSERT_EQ(6u, s.contentSize.nY);
    EXPECT_EQ(0xFF0000FFu, s.content[0].n);
    EXPECT_EQ(0xFFFF0000u, s.content[2 * 10 + 2].n);
}

// ---------------------------------------------------------------- threads

TEST(BlurThreads, SameOutputOnOneAndManyThreads) {
    const auto pixels = Pattern(150 * 130, 21);
    for (const char* direction : {"0", "1", "2"}) {
        for (const char* method : {"0", "1", "3"}) {
            for (const char* radius : {"3", "4.5"}) {
                std::vector<TPixelChannel> first;
                for (uint32_t threads : {1u, 2u, 3u, 8u}) {
                    ThreadCount count(threads);
                    auto doc = PixelDocument({150, 130}, {0, 0}, {150, 130}, pixels, 0x40808080);
                    ASSERT_EQ(S_OK,
                              RunBlur(doc, Config({{"Direction", direction}, {"Method", method}, {"Radius", radius}})));
                    auto s = State(doc);
                    if (first.empty()) first = s.content;
                    ASSERT_EQ(first.size(), s.content.size());
                    for (size_t i = 0; i < first.size(); ++i)
                        ASSERT_EQ(first[i].n, s.content[i].n) << direction << method << radius << " " << threads;
                }
            }
        }
    }
}

TEST(BlurThreads, NarrowImagesOnAPoolWithMoreThreadsThanLines) {
    ThreadCount count(8);
    const struct { uint32_t w, h; } sizes[] = {{1, 20000}, {20000, 1}, {2, 9000}, {1, 16}};
    for (const auto& size : sizes) {
        for (const char* direction : {"0", "1", "2"}) {
            for (const char* method : {"0", "1", "3"}) {
                for (const char* replicate : {"false", "true"}) {
                    auto doc = PixelDocument({size.w, size.h}, {0, 0}, {size.w, size.h},
                                             Uniform(size_t(size.w) * size.h, 0xFF336699));
                    ASSERT_EQ(S_OK, RunBlur(doc, Config({{"Direction", direction},
                                                         {"Method", method},
                                                         {"Radius", "1"},
                                                         {"EdgeReplication", replicate}})));
                    auto s = State(doc);
                    if (std::string(replicate) == "true") {
                        for (const auto& p : s.content) {
                            ASSERT_EQ(255, p.bA) << size.w << "x" << size.h << direction << method;
                            ASSERT_NEAR(0x33, p.bR, 1);
                        }
                    }
                }
            }
        }
    }
}

TEST(BlurOperation, VerticalBlurIsTheHorizontalBlurOfTheTransposedImage) {
    // The transposing source and destination (and the staging of grouped lines) walk
    // columns exactly as the plain forms walk rows.
    const uint32_t w = 37, h = 53;
    const auto pixels = Pattern(size_t(w) * h, 31);
    std::vector<TPixelChannel> transposed(pixels.size());
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) transposed[size_t(x) * h + y] = pixels[size_t(y) * w + x];
    for (const char* method : {"0", "1", "3"}) {
        for (const char* radius : {"2", "3.5"}) {
            auto v = PixelDocument({w, h}, {0, 0}, {w, h}, pixels, 0x80402010);
            auto t = PixelDocument({h, w}, {0, 0}, {h, w}, transposed, 0x80402010);
            ASSERT_EQ(S_OK, RunBlur(v, Config({{"Direction", "1"}, {"Method", method}, {"Radius", radius}})));
            ASSERT_EQ(S_OK, RunBlur(t, Config({{"Direction", "2"}, {"Method", method}, {"Radius", radius}})));
            auto sv = State(v), st = State(t);
            ASSERT_EQ(sv.contentSize.nX, st.contentSize.nY);
            ASSERT_EQ(sv.contentSize.nY, st.contentSize.nX);
            const uint32_t H = sv.contentSize.nY;
            for (uint32_t y = 0; y < H; ++y)
                for (uint32_t x = 0; x < w; ++x)
                    ASSERT_EQ(st.content[size_t(x) * H + y].n, sv.content[size_t(y) * w + x].n)
                        << method << " " << radius << " " << x << "," << y;
        }
    }
}

TEST(BlurThreads, StreamedTwoAxisBlurGivesThePixelsOfTheTwoPasses) {
    if (!StreamedBlurAvailable()) GTEST_SKIP() << "the two passes are the only path on this processor";
    // Content away from the canvas edges and touching them, odd sizes, one-pixel lines.
    const struct {
        uint32_t cw, ch, x, y, w, h;
    } layouts[] = {{90, 70, 5, 7, 61, 45},
                   {61, 45, 0, 0, 61, 45},
                   {40, 300, 0, 3, 40, 290},
                   {1, 50, 0, 0, 1, 50},
                   {50, 1, 0, 0, 50, 1}};
    for (const auto& l : layouts) {
        const auto pixels = Pattern(size_t(l.w) * l.h, l.w + l.h);
        for (const char* method : {"0", "1", "3"}) {
            for (const char* radius : {"0.5", "3", "4.5", "12"}) {
                for (const char* replicate : {"false", "true"}) {
                    for (uint32_t threads : {1u, 3u}) {
                        ThreadCount count(threads);
                        // The two passes, the AVX2 form, and the AVX-512 form where there is one.
                        std::vector<TPixelChannel> result[3];
                        const int paths = WideLookupsAvailable() ? 3 : 2;
                        for (int path = 0; path < paths; ++path) {
                            gStreamedBlurAllowed = path > 0;
                            gWideLookupsAllowed = path > 1;
                            auto doc = PixelDocument({l.cw, l.ch}, {int32_t(l.x), int32_t(l.y)}, {l.w, l.h}, pixels,
                                                     0x40808080);
                            const HRESULT hr = RunBlur(
                                doc, Config({{"Method", method}, {"Radius", radius}, {"EdgeReplication", replicate}}));
                            gStreamedBlurAllowed = true;
                            gWideLookupsAllowed = true;
                            ASSERT_EQ(S_OK, hr);
                            result[path] = State(doc).content;
                        }
                        for (int path = 1; path < paths; ++path) {
                            ASSERT_EQ(result[0].size(), result[path].size());
                            for (size_t i = 0; i < result[0].size(); ++i)
                                ASSERT_EQ(result[0][i].n, result[path][i].n)
                                    << "path " << path << " " << l.w << "x" << l.h << " method " << method << " radius "
                                    << radius << (std::string(replicate) == "true" ? " replicated" : "") << " pixel "
                                    << i;
                        }
                    }
                }
            }
        }
    }
}
