// What an operation assumes of a document that tells little about itself.
#include <gtest/gtest.h>

#include "frame/image.h"
#include "host/zthost.h"
#include "operations/colour/shift_hue.h"

using namespace zt;

namespace {

// Forwards to a host document, but reports no content rectangle and no channels.
class CTerseDocument : public IDocument, public IDocumentRasterImage {
public:
    explicit CTerseDocument(IDocument* aInner) : inner_(aInner) {
        aInner->QueryFeatureInterface(IDocumentRasterImage::iid, image_.out());
    }
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IDocument, IBlockOperations>(this, aIID); }

    HRESULT WriteLock() override { return inner_->WriteLock(); }
    HRESULT WriteUnlock() override { return inner_->WriteUnlock(); }
    HRESULT QueryFeatureInterface(const IID& aIID, void** aOut) override {
        *aOut = FindInterface<IDocumentRasterImage, IDocumentEditableImage, IDocumentImage>(this, aIID);
        if (*aOut) static_cast<IUnknown*>(static_cast<IDocument*>(this))->AddRef();
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    HRESULT DocumentCopy(const char16_t* a, IDocumentBase* b, const char16_t* c, void* d) override {
        return inner_->DocumentCopy(a, b, c, d);
    }

    HRESULT CanvasGet(TImageSize*, TImageResolution*, TImagePoint*, TImageSize*, void*) override { return S_OK; }
    HRESULT ChannelsEnum(void*, void*, IEnumImageChannels* aEnum) override {
        aEnum->Consume(nullptr, 0, nullptr);
        return S_OK;
    }
    HRESULT TileGet(uint32_t a, const TImagePoint* b, const TImageSize* c, const TImageStride* d, uint32_t e,
                    TPixelChannel* f, void* g, uint32_t h) override {
        return image_->TileGet(a, b, c, d, e, f, g, h);
    }
    HRESULT Inspect(uint32_t a, const TImagePoint* b, const TImageSize* c, IImageVisitor* d, void* e,
                    uint32_t f) override {
        return image_->Inspect(a, b, c, d, e, f);
    }
    HRESULT BufferLock(uint32_t a, TImagePoint* b, TImageSize* c, TImagePoint* d, TImageSize* e,
                       const TPixelChannel** f, void* g, uint32_t h) override {
        return image_->BufferLock(a, b, c, d, e, f, g, h);
    }
    HRESULT BufferUnlock(uint32_t a, const TPixelChannel* b) override { return image_->BufferUnlock(a, b); }
    HRESULT ResolutionSet(const TImageResolution* a) override { return image_->ResolutionSet(a); }
    HRESULT ContentOriginSet(const TImagePoint* a) override { return image_->ContentOriginSet(a); }
    HRESULT CanvasSet(const TImageSize* a, const TImageResolution* b, const TMatrix3x3f* c,
                      IRasterImageTransformer* d) override {
        return image_->CanvasSet(a, b, c, d);
    }
    HRESULT ChannelsSet(uint32_t a, const uint32_t* b, const TPixelChannel* c) override {
        return image_->ChannelsSet(a, b, c);
    }
    HRESULT TileSet(uint32_t a, const TImagePoint* b, const TImageSize* c, const TImageStride* d, uint32_t e,
                    const TPixelChannel* f, int32_t g) override {
        return image_->TileSet(a, b, c, d, e, f, g);
    }
    HRESULT BufferReplace(TImagePoint a, TImageSize b, const TImagePoint* c, const TImageSize* d, const uint64_t* e,
                          TPixelChannel* f, ZTPixelDeleter g) override {
        return image_->BufferReplace(a, b, c, d, e, f, g);
    }
    HRESULT BufferAllocate(TImageSize a, TPixelChannel** b, ZTPixelDeleter* c) override {
        return image_->BufferAllocate(a, b, c);
    }

private:
    ComPtr<IDocument> inner_;
    ComPtr<IDocumentRasterImage> image_;
};

ComPtr<IDocument> EmptyHostDocument(uint32_t aDefault) {
    zthost::RasterImageInit init;
    init.canvas = {4, 4};
    init.contentSize = {0, 0};
    init.defaultPixel.n = aDefault;
    return zthost::CreateRasterDocument(init);
}

}  // namespace

TEST(ImageAccess, DocumentWithoutChannelOneHasDefaultPixelZero) {
    ComPtr<IDocument> host = EmptyHostDocument(0xFF112233u);
    ComPtr<IDocument> terse;
    terse.attach(CComObject<CTerseDocument>::Create<IDocument>(host.get()));
    ComPtr<IDocumentImage> image;
    terse->QueryFeatureInterface(IDocumentImage::iid, image.out());
    EXPECT_EQ(0u, ReadDefaultPixel(image).n);
    ComPtr<IDocumentImage> hostImage;
    host->QueryFeatureInterface(IDocumentImage::iid, hostImage.out());
    EXPECT_EQ(0xFF112233u, ReadDefaultPixel(hostImage).n);
}

TEST(ImageAccess, DocumentReportingNoContentIsSeenAsTheOnePixelAtTheOrigin) {
    ComPtr<IDocument> host = EmptyHostDocument(0xFF112233u);
    ComPtr<IDocument> terse;
    terse.attach(CComObject<CTerseDocument>::Create<IDocument>(host.get()));
    ComPtr<IDocumentImage> image;
    terse->QueryFeatureInterface(IDocumentImage::iid, image.out());
    SContent content = ReadContent(image);
    EXPECT_EQ(0, content.origin.nX);
    EXPECT_EQ(1u, content.size.nX);
    EXPECT_EQ(1u, content.size.nY);

    // Shift hue sees one pixel at the origin, which lies outside the host's (empty) buffer:
    // the default pixel as the document reports it (0, as it lists no channel), transformed.
    ComPtr<IClassFactory> factory;
    DllGetClassObject(CDocumentOperationRasterImageShiftHue::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    ComPtr<IConfig> config;
    op->ConfigCreate(zthost::OperationManager(), config.out());
    ASSERT_EQ(S_OK, op->Activate(nullptr, terse, config, nullptr, nullptr, LANG_ENGLISH));
    zthost::RasterImageState s;
    ASSERT_TRUE(zthost::InspectRasterDocument(host, &s));
    EXPECT_EQ(1u, s.contentSize.nX);
    EXPECT_EQ(1u, s.contentSize.nY);
    ASSERT_EQ(1u, s.content.size());
    EXPECT_EQ(0u, s.content[0].n);
    EXPECT_EQ(0u, s.defaultPixel.n);
}

TEST(ImageAccess, TileGetWhollyOutsideTheContentGivesDefaultPixelsOnly) {
    std::vector<TPixelChannel> pixels(4);
    for (auto& p : pixels) p.n = 0xFFFFFFFFu;
    zthost::RasterImageInit init;
    init.canvas = {10, 10};
    init.contentOrigin = {2, 2};
    init.contentSize = {2, 2};
    init.pixels = pixels.data();
    init.defaultPixel.n = 0x01020304u;
    ComPtr<IDocument> doc = zthost::CreateRasterDocument(init);
    ComPtr<IDocumentImage> image;
    doc->QueryFeatureInterface(IDocumentImage::iid, image.out());
    TImagePoint at{-50, 6};
    TImageSize size{3, 2};
    TPixelChannel out[6] = {};
    ASSERT_EQ(S_OK, image->TileGet(CHANNEL_COLOR, &at, &size, nullptr, 6, out, nullptr, ACCESS_MODE));
    for (auto& p : out) EXPECT_EQ(0x01020304u, p.n);
}
