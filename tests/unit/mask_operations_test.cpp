// Auto mask and Modify mask through the host's operation manager, with nested operations.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "frame/host_masks.h"
#include "host/masks.h"
#include "operations/fill/auto_mask.h"
#include "operations/fill/modify_mask.h"
#include "operations/shape/drop_shadow.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

// The manager creates nested operations by class id: the module's classes must be known to it.
class MaskOperations : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        zthost::ModuleFunctions f;
        f.getClassObject = &DllGetClassObject;
        f.enumClasses = &DllEnumClasses;
        f.canUnloadNow = &DllCanUnloadNow;
        f.setHostCreateInstance = &ZTSetHostCreateInstance;
        module_ = zthost::Module::FromFunctions(f);
    }
    static void TearDownTestSuite() { module_.reset(); }

    static ComPtr<IDocumentOperation> Auto() { return Operation<CDocumentOperationRasterImageAutoMask>(); }
    static ComPtr<IDocumentOperation> Modify() { return Operation<CDocumentOperationRasterImageModifyMask>(); }

    static HRESULT Activate(IDocumentOperation* aOperation, IDocument* aDocument, IConfig* aConfig,
                            IOperationContext* aContext) {
        return aOperation->Activate(zthost::OperationManager(), aDocument, aConfig, aContext, nullptr, LANG_ENGLISH);
    }

    // A configuration whose inner operation is the shift of hues by 120 degrees.
    static ComPtr<IConfig> ShiftHueInside(IDocumentOperation* aOperation) {
        ComPtr<IConfig> config = ConfigOf(aOperation);
        Set(config, "Operation", "ShiftHue");
        Set(config, "Operation/Angle", "120");
        return config;
    }

    // A configuration whose inner operation fails: a convolution matrix it cannot read.
    static ComPtr<IConfig> FailingInside(IDocumentOperation* aOperation) {
        ComPtr<IConfig> config = ConfigOf(aOperation);
        Set(config, "Operation", "Convolution");
        Set(config, "Operation/Matrix", "x");
        return config;
    }

    // The same inner operation straight on a copy: the "new" pixels.
    static std::vector<uint32_t> ShiftedDirectly(IDocument* aDocument) {
        ComPtr<IDocument> copy = zthost::CopyRasterDocument(aDocument);
        ComPtr<IDocumentOperation> hue;
        ComPtr<IConfig> config = ConfigOf(Auto());
        Set(config, "Operation", "ShiftHue");
        Set(config, "Operation/Angle", "120");
        ComPtr<IConfig> inner;
        config->SubConfigGet(u"Operation", inner.out());
        CConfigValue id;
        ReadItem(config, u"Operation", id);
        EXPECT_EQ(S_OK, zthost::OperationManager()->Activate(nullptr, copy, &id.Raw(), inner, nullptr, nullptr,
                                                             LANG_ENGLISH));
        return Content(copy);
    }

    static std::vector<uint8_t> MaskBytes(ISharedStateImageMask* aMask) {
        int32_t x, y;
        uint32_t w, h;
        aMask->GetBounds(&x, &y, &w, &h);
        std::vector<uint8_t> b(size_t(w) * h);
        aMask->GetMask(x, y, w, h, w, b.data());
        return b;
    }

    static std::shared_ptr<zthost::Module> module_;
};
std::shared_ptr<zthost::Module> MaskOperations::module_;

const std::vector<uint32_t> kOpaque = {0xFFC02020u, 0xFF20C020u, 0xFF2020C0u, 0xFF808000u, 0xFFC02020u, 0xFF20C020u,
                                       0xFF2020C0u, 0xFF808000u, 0xFFC02020u, 0xFF20C020u, 0xFF2020C0u, 0xFF808000u};

}  // namespace

TEST_F(MaskOperations, NamesAndItems) {
    EXPECT_EQ("Raster Image - Mask", ListedName(Auto()));
    EXPECT_EQ("Raster Image - Modify Mask", ListedName(Modify()));
    const auto items = zthost::DescribeConfig(ConfigOf(Auto()));
    ASSERT_EQ(2u, items.size());
    EXPECT_EQ(u"SelectionSync", items[0].key);
    EXPECT_EQ(u"Operation", items[1].key);
    EXPECT_EQ(zthost::ConfigItemKind::operation, items[1].kind);
}

TEST_F(MaskOperations, AutoMaskWithoutStateRunsTheInnerOperationDirectly) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    const std::vector<uint32_t> expected = ShiftedDirectly(doc);
    EXPECT_EQ(S_OK, Activate(Auto(), doc, ShiftHueInside(Auto()), zthost::CreateOperationContext()));
    EXPECT_EQ(expected, Content(doc));
}

TEST_F(MaskOperations, AutoMaskOverTheWholeCanvasMakesNoCopy) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    const std::vector<uint32_t> expected = ShiftedDirectly(doc);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"IMAGEMASK", zthost::CreateRectangularMask(-1, 0, 6, 3));
    EXPECT_EQ(S_OK, Activate(Auto(), doc, ShiftHueInside(Auto()), context));
    EXPECT_EQ(expected, Content(doc));
    // The inner operation replaced the document's own buffer: it ran on the document itself.
    EXPECT_EQ(1u, State(doc).bufferReplaceCount);
}

TEST_F(MaskOperations, AutoMaskRectangleSmallerThanTheCanvasLeavesTheRest) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    const std::vector<uint32_t> shifted = ShiftedDirectly(doc);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"IMAGEMASK", zthost::CreateRectangularMask(1, 1, 2, 2));
    EXPECT_EQ(S_OK, Activate(Auto(), doc, ShiftHueInside(Auto()), context));
    const std::vector<uint32_t> after = Content(doc);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) {
            const bool inside = x >= 1 && x < 3 && y >= 1;
            EXPECT_EQ(inside ? shifted[y * 4 + x] : kOpaque[y * 4 + x], after[y * 4 + x]) << x << "," << y;
        }
    EXPECT_EQ(0u, State(doc).bufferReplaceCount);  // the copy was changed, not the document
}

TEST_F(MaskOperations, AutoMaskMixesByMaskBytes) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    const std::vector<uint32_t> shifted = ShiftedDirectly(doc);
    const std::vector<uint8_t> bytes = {0, 128, 255, 255, 0, 128, 255, 255, 0, 128, 255, 255};
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"SEL", zthost::CreateImageMask(0, 0, 4, 3, 4, bytes.data()));
    ComPtr<IConfig> config = ShiftHueInside(Auto());
    Set(config, "SelectionSync", "SEL");
    EXPECT_EQ(S_OK, Activate(Auto(), doc, config, context));
    const std::vector<uint32_t> after = Content(doc);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(kOpaque[y * 4], after[y * 4]);          // mask 0: old exactly
        EXPECT_EQ(shifted[y * 4 + 2], after[y * 4 + 2]);  // mask 255: new exactly
        // Mask 128 on opaque pixels: (N x 32640 + O x 32385) / 65025 per channel, alpha 255.
        const uint32_t n = shifted[y * 4 + 1], o = kOpaque[y * 4 + 1];
        uint32_t mixed = 0xFF000000u;
        for (int shift = 0; shift < 24; shift += 8)
            mixed |= ((((n >> shift) & 255) * 32640 + ((o >> shift) & 255) * 32385) / 65025) << shift;
        EXPECT_EQ(mixed, after[y * 4 + 1]);
    }
}

TEST_F(MaskOperations, AutoMaskInnerFailureLeavesTheDocument) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"IMAGEMASK", zthost::CreateRectangularMask(1, 1, 2, 2));
    EXPECT_TRUE(FAILED(Activate(Auto(), doc, FailingInside(Auto()), context)));
    EXPECT_EQ(kOpaque, Content(doc));
}

TEST_F(MaskOperations, AutoMaskCanActivateAsksTheInnerOperation) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    EXPECT_EQ(S_FALSE, Auto()->CanActivate(zthost::OperationManager(), nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, Auto()->CanActivate(zthost::OperationManager(), doc, nullptr, nullptr));
    EXPECT_EQ(S_OK, Auto()->CanActivate(zthost::OperationManager(), doc, ShiftHueInside(Auto()), nullptr));
}

TEST_F(MaskOperations, ModifyMaskCanActivateOnlyWithAState) {
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    ComPtr<IConfig> config = ShiftHueInside(Modify());
    EXPECT_EQ(S_OK, Modify()->CanActivate(nullptr, nullptr, nullptr, context));
    EXPECT_EQ(S_FALSE, Modify()->CanActivate(nullptr, nullptr, config, context));
    context->StateSet(u"IMAGEMASK", zthost::CreateRectangularMask(0, 0, 1, 1));
    EXPECT_EQ(S_OK, Modify()->CanActivate(nullptr, nullptr, config, context));
}

TEST_F(MaskOperations, ModifyMaskKeepsBytesThroughAnOperationThatKeepsAlpha) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    const std::vector<uint8_t> bytes = {0, 1, 128, 255, 7, 0, 254, 3};
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"IMAGEMASK", zthost::CreateImageMask(1, 1, 4, 2, 4, bytes.data()));
    EXPECT_EQ(S_OK, Activate(Modify(), doc, ShiftHueInside(Modify()), context));
    ComPtr<ISharedStateImageMask> mask;
    ASSERT_EQ(S_OK, context->StateGet(u"IMAGEMASK", ISharedStateImageMask::iid, mask.out()));
    int32_t x, y;
    uint32_t w, h;
    mask->GetBounds(&x, &y, &w, &h);
    EXPECT_EQ(1, x);
    EXPECT_EQ(1, y);
    EXPECT_EQ(4u, w);
    EXPECT_EQ(2u, h);
    EXPECT_EQ(bytes, MaskBytes(mask));
    EXPECT_EQ(kOpaque, Content(doc));  // the document itself is not touched
}

TEST_F(MaskOperations, ModifyMaskBoundsFollowTheContentAfterTheInnerOperation) {
    ComPtr<IDocument> doc = Image(10, 10, std::vector<uint32_t>(100, 0));
    const std::vector<uint8_t> bytes(16, 255);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"IMAGEMASK", zthost::CreateImageMask(2, 2, 4, 4, 4, bytes.data()));
    ComPtr<IConfig> config = ConfigOf(Modify());
    // A sharp shadow alone, one pixel down and right: the content grows by one on those sides.
    Set(config, "Operation", "DropShadow");
    Set(config, "Operation/Size", "0");
    Set(config, "Operation/Blending", "2");
    EXPECT_EQ(S_OK, Activate(Modify(), doc, config, context));
    ComPtr<ISharedStateImageMask> mask;
    ASSERT_EQ(S_OK, context->StateGet(u"IMAGEMASK", ISharedStateImageMask::iid, mask.out()));
    int32_t x, y;
    uint32_t w, h;
    mask->GetBounds(&x, &y, &w, &h);
    EXPECT_EQ(2, x);
    EXPECT_EQ(2, y);
    EXPECT_EQ(5u, w);
    EXPECT_EQ(5u, h);
    const std::vector<uint8_t> b = MaskBytes(mask);
    for (uint32_t j = 0; j < 5; ++j)
        for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(i >= 1 && j >= 1 ? 255 : 0, b[j * 5 + i]) << i << "," << j;
    EXPECT_EQ(S_FALSE, mask->IsRectangular());
}

TEST_F(MaskOperations, ModifyMaskWithoutStateRunsOnAnEmptyImage) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    EXPECT_EQ(S_OK, Activate(Modify(), doc, ShiftHueInside(Modify()), context));
    ComPtr<ISharedStateImageMask> mask;
    ASSERT_EQ(S_OK, context->StateGet(u"IMAGEMASK", ISharedStateImageMask::iid, mask.out()));
    uint32_t w = 1, h = 1;
    mask->GetBounds(nullptr, nullptr, &w, &h);
    EXPECT_EQ(0u, w * h);
}

TEST_F(MaskOperations, ModifyMaskInnerFailureKeepsTheOldState) {
    ComPtr<IDocument> doc = Image(4, 3, kOpaque);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    ComPtr<ISharedStateImageMask> before = zthost::CreateRectangularMask(0, 0, 2, 2);
    context->StateSet(u"IMAGEMASK", before);
    EXPECT_TRUE(FAILED(Activate(Modify(), doc, FailingInside(Modify()), context)));
    ComPtr<ISharedStateImageMask> after;
    context->StateGet(u"IMAGEMASK", ISharedStateImageMask::iid, after.out());
    EXPECT_EQ(before.get(), after.get());
    EXPECT_EQ(kOpaque, Content(doc));
}

TEST_F(MaskOperations, ModifyMaskNeedsARasterImage) {
    EXPECT_EQ(E_POINTER, Activate(Modify(), nullptr, ShiftHueInside(Modify()), zthost::CreateOperationContext()));
}

namespace {

// 64 x 48 canvas, a 40 x 30 content at (12, 9): an opaque disc-like blob in a clear frame.
ComPtr<IDocument> Blob() {
    std::vector<uint32_t> pixels(40 * 30, 0u);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            if ((x - 20) * (x - 20) + (y - 15) * (y - 15) < 12 * 12) pixels[size_t(y) * 40 + x] = 0xFF3060C0u;
    return Document({64, 48}, {12, 9}, {40, 30}, pixels);
}

}  // namespace

TEST_F(MaskOperations, AMaskOfBytesIsNeverThePlainRectangleEvenWhenEveryByteIsSet) {
    ComPtr<IDocument> doc = Blob();
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    const std::vector<uint8_t> all(64 * 48, 255);
    context->StateSet(u"IMAGEMASK", zthost::CreateImageMask(0, 0, 64, 48, 64, all.data()));
    ComPtr<IConfig> config = ConfigOf(Auto());
    Set(config, "Operation", "DropShadow");
    Set(config, "Operation/Size", "3");
    Set(config, "Operation/Density", "150");
    ASSERT_EQ(S_OK, Activate(Auto(), doc, config, context));
    // Auto mask copied, ran, mixed and wrote the whole mask rectangle.
    const zthost::RasterImageState s = State(doc);
    EXPECT_EQ(0, s.contentOrigin.nX);
    EXPECT_EQ(0, s.contentOrigin.nY);
    EXPECT_EQ(64u, s.contentSize.nX);
    EXPECT_EQ(48u, s.contentSize.nY);
    EXPECT_EQ(0u, s.bufferReplaceCount);
}

TEST_F(MaskOperations, DropShadowTakesAMaskFullySetOverItsWorkAreaAsNoMask) {
    // Size 3, offsets 1, 1: the work rectangle is 46 x 36 at (10, 7). The mask's one clear byte
    // at (0, 0) lies outside it.
    std::vector<uint8_t> bytes(64 * 48, 255);
    bytes[0] = 0;
    auto run = [&](ComPtr<ISharedStateImageMask> aMask) {
        ComPtr<IDocument> doc = Blob();
        ComPtr<IDocumentOperation> shadow = Operation<CDocumentOperationRasterImageDropShadow>();
        ComPtr<IConfig> config = ConfigOf(shadow);
        Set(config, "Size", "3");
        Set(config, "Density", "150");
        ComPtr<IOperationContext> context = zthost::CreateOperationContext();
        if (aMask) context->StateSet(u"IMAGEMASK", aMask);
        EXPECT_EQ(S_OK, Activate(shadow, doc, config, context));
        return Content(doc);
    };
    const std::vector<uint32_t> plain = run(nullptr);
    EXPECT_EQ(plain, run(zthost::CreateImageMask(0, 0, 64, 48, 64, bytes.data())));
    // A byte below 255 inside the work rectangle makes a mask, and the coverage changes.
    bytes[size_t(12) * 64 + 42] = 254;
    EXPECT_NE(plain, run(zthost::CreateImageMask(0, 0, 64, 48, 64, bytes.data())));
}
