// The in-memory raster document, through the interfaces the module uses.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "host/zthost.h"

namespace {

using zthost::RasterImageInit;
using zthost::RasterImageState;

constexpr uint32_t kDefault = 0x11223344;

TPixelChannel Px(uint32_t aValue) {
    TPixelChannel p;
    p.n = aValue;
    return p;
}

// Content pixel at (x, y): distinct from the default pixel and from every other pixel.
uint32_t ValueAt(int aX, int aY) { return 0xFF000000u | uint32_t(aY + 100) << 12 | uint32_t(aX + 100); }

// A 4 by 3 content at (2, 1) on a 10 by 8 canvas.
ComPtr<IDocument> MakeDocument() {
    static std::vector<TPixelChannel> pixels;
    pixels.clear();
    for (int y = 1; y < 4; ++y)
        for (int x = 2; x < 6; ++x) pixels.push_back(Px(ValueAt(x, y)));
    RasterImageInit init;
    init.canvas = {10, 8};
    init.contentOrigin = {2, 1};
    init.contentSize = {4, 3};
    init.pixels = pixels.data();
    init.defaultPixel = Px(kDefault);
    init.gamma = 1.8f;
    return zthost::CreateRasterDocument(init);
}

ComPtr<IDocumentRasterImage> RasterOf(IDocument* aDocument) {
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    return image;
}

RasterImageState StateOf(IDocument* aDocument) {
    RasterImageState state;
    EXPECT_TRUE(zthost::InspectRasterDocument(aDocument, &state));
    return state;
}

// Reads a rectangle with TileGet, tightly packed.
std::vector<uint32_t> Read(IDocumentRasterImage* aImage, TImagePoint aOrigin, TImageSize aSize) {
    std::vector<TPixelChannel> pixels(size_t(aSize.nX) * aSize.nY);
    EXPECT_EQ(aImage->TileGet(CHANNEL_COLOR, &aOrigin, &aSize, nullptr, uint32_t(pixels.size()), pixels.data(), nullptr,
                              ACCESS_MODE),
              S_OK);
    std::vector<uint32_t> values;
    for (auto p : pixels) values.push_back(p.n);
    return values;
}

// What the document should hold at (x, y), for the document of MakeDocument.
uint32_t Expected(int aX, int aY) { return aX >= 2 && aX < 6 && aY >= 1 && aY < 4 ? ValueAt(aX, aY) : kDefault; }

class TileRecorder : public IImageVisitor {
public:
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT Visit(uint32_t aTileCount, const TImageTile* aTiles, void*) override {
        ++visits;
        tiles.assign(aTiles, aTiles + aTileCount);
        // Expand every tile into the pixels it stands for while the pointers are valid.
        for (const auto& t : tiles)
            for (uint32_t y = 0; y < t.nSizeY; ++y)
                for (uint32_t x = 0; x < t.nSizeX; ++x)
                    covered.push_back({t.nX + int(x), t.nY + int(y), t.pData[y * t.nStrideY + x * t.nStrideX].n});
        return S_OK;
    }
    struct Pixel {
        int x, y;
        uint32_t value;
    };
    int visits = 0;
    std::vector<TImageTile> tiles;
    std::vector<Pixel> covered;
};

class ChannelCollector : public IEnumImageChannels {
public:
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT Range(uint32_t*, uint32_t*) override { return E_NOTIMPL; }
    HRESULT Consume(void*, uint32_t aCount, const uint32_t* aPairs) override {
        pairs.assign(aPairs, aPairs + 2 * aCount);
        return S_OK;
    }
    std::vector<uint32_t> pairs;
};

// Records its one call and writes a recognisable picture into the target.
class RecordingTransformer : public IRasterImageTransformer {
public:
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT ProcessTile(uint32_t aChannelCount, float aGamma, const TPixelChannel* aDefault, const TMatrix3x3f*,
                        const TPixelChannel* aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize,
                        TImageStride aSourceStride, TPixelChannel* aTarget, TImagePoint aTargetOrigin,
                        TImageSize aTargetSize, TImageStride aTargetStride) override {
        ++calls;
        channels = aChannelCount;
        gamma = aGamma;
        defaultPixel = aDefault->n;
        sourceOrigin = aSourceOrigin;
        sourceSize = aSourceSize;
        sourceStride = aSourceStride;
        targetOrigin = aTargetOrigin;
        targetSize = aTargetSize;
        targetStride = aTargetStride;
        for (uint32_t y = 0; y < aSourceSize.nY; ++y)
            for (uint32_t x = 0; x < aSourceSize.nX; ++x)
                source.push_back(aSource[y * aSourceStride.nY + x * aSourceStride.nX].n);
        if (FAILED(result)) return result;
        for (uint32_t y = 0; y < aTargetSize.nY; ++y)
            for (uint32_t x = 0; x < aTargetSize.nX; ++x) aTarget[y * aTargetStride.nY + x].n = y * 1000 + x;
        return result;
    }
    HRESULT result = S_OK;
    int calls = 0;
    uint32_t channels = 0, defaultPixel = 0;
    float gamma = 0;
    TImagePoint sourceOrigin{}, targetOrigin{};
    TImageSize sourceSize{}, targetSize{};
    TImageStride sourceStride{}, targetStride{};
    std::vector<uint32_t> source;
};

TEST(RasterDocument, CanvasGetReportsCanvasResolutionAndContent) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TImageSize canvas{}, contentSize{};
    TImagePoint origin{};
    TImageResolution resolution{};
    ASSERT_EQ(image->CanvasGet(&canvas, &resolution, &origin, &contentSize, nullptr), S_OK);
    EXPECT_EQ(canvas.nX, 10u);
    EXPECT_EQ(canvas.nY, 8u);
    EXPECT_EQ(origin.nX, 2);
    EXPECT_EQ(origin.nY, 1);
    EXPECT_EQ(contentSize.nX, 4u);
    EXPECT_EQ(contentSize.nY, 3u);
    EXPECT_EQ(resolution.nNumeratorX, 100u);
    EXPECT_EQ(resolution.nDenominatorY, 254u);
    EXPECT_EQ(image->CanvasGet(nullptr, nullptr, nullptr, nullptr, nullptr), S_OK);
}

TEST(RasterDocument, QueryFeatureInterfaceGivesTheImageInterfacesOnly) {
    auto document = MakeDocument();
    for (const IID& iid : {IDocumentRasterImage::iid, IDocumentEditableImage::iid, IDocumentImage::iid}) {
        void* feature = nullptr;
        EXPECT_EQ(document->QueryFeatureInterface(iid, &feature), S_OK);
        ASSERT_NE(feature, nullptr);
        static_cast<IUnknown*>(feature)->Release();
    }
    void* feature = reinterpret_cast<void*>(1);
    document->QueryFeatureInterface(IThreadPool::iid, &feature);
    EXPECT_EQ(feature, nullptr);
}

TEST(RasterDocument, ChannelsEnumGivesTheColourChannelWithTheDefaultPixel) {
    auto image = RasterOf(MakeDocument());
    ChannelCollector collector;
    ASSERT_EQ(image->ChannelsEnum(nullptr, nullptr, &collector), S_OK);
    EXPECT_EQ(collector.pairs, (std::vector<uint32_t>{CHANNEL_COLOR, kDefault}));
}

TEST(RasterDocument, TileGetOutsideTheContentGivesDefaultPixelsOnly) {
    auto image = RasterOf(MakeDocument());
    for (TImagePoint origin : {TImagePoint{-50, -50}, TImagePoint{6, 0}, TImagePoint{0, 4}, TImagePoint{100, 100}}) {
        auto values = Read(image, origin, {3, 2});
        EXPECT_EQ(values, std::vector<uint32_t>(6, kDefault)) << origin.nX << "," << origin.nY;
    }
}

TEST(RasterDocument, TileGetAcrossTheContentEdgeMixesContentAndDefaultPixels) {
    auto image = RasterOf(MakeDocument());
    auto values = Read(image, {0, 0}, {10, 8});
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x) EXPECT_EQ(values[y * 10 + x], Expected(x, y)) << x << "," << y;
}

TEST(RasterDocument, TileGetWithStridesLeavesTheGapsUntouched) {
    auto image = RasterOf(MakeDocument());
    TImagePoint origin{1, 0};
    TImageSize size{3, 2};
    TImageStride stride{2, 10};  // every second pixel, rows 10 apart
    std::vector<TPixelChannel> pixels(15, Px(0xDEADBEEF));
    ASSERT_EQ(image->TileGet(CHANNEL_COLOR, &origin, &size, &stride, 15, pixels.data(), nullptr, ACCESS_MODE), S_OK);
    for (int i = 0; i < 15; ++i) {
        int row = i / 10, column = i % 10;
        bool written = column % 2 == 0 && column / 2 < 3;
        uint32_t expected = written ? Expected(1 + column / 2, row) : 0xDEADBEEF;
        EXPECT_EQ(pixels[i].n, expected) << i;
    }
}

TEST(RasterDocument, TileGetRefusesABufferTooSmallAndOtherChannels) {
    auto image = RasterOf(MakeDocument());
    TImagePoint origin{0, 0};
    TImageSize size{3, 3};
    std::vector<TPixelChannel> pixels(8);
    EXPECT_EQ(image->TileGet(CHANNEL_COLOR, &origin, &size, nullptr, 8, pixels.data(), nullptr, ACCESS_MODE),
              E_INVALIDARG);
    EXPECT_EQ(image->TileGet(2, &origin, &size, nullptr, 9, pixels.data(), nullptr, ACCESS_MODE), E_HOST_INVALID_PARAM);
}

TEST(RasterDocument, RectanglesReachingPastThePlaneAreRefused) {
    auto image = RasterOf(MakeDocument());
    TImagePoint origin{INT32_MAX - 2, 0};
    TImageSize size{5, 1};
    std::vector<TPixelChannel> pixels(5);
    EXPECT_EQ(image->TileGet(CHANNEL_COLOR, &origin, &size, nullptr, 5, pixels.data(), nullptr, ACCESS_MODE),
              E_INVALIDARG);
    EXPECT_EQ(image->TileSet(CHANNEL_COLOR, &origin, &size, nullptr, 5, pixels.data(), 1), E_INVALIDARG);
}

TEST(RasterDocument, InspectCoversARectangleAroundTheContentWithOneValueTiles) {
    auto image = RasterOf(MakeDocument());
    TileRecorder recorder;
    TImagePoint origin{0, 0};
    TImageSize size{10, 8};
    ASSERT_EQ(image->Inspect(CHANNEL_COLOR, &origin, &size, &recorder, nullptr, ACCESS_MODE), S_OK);
    EXPECT_EQ(recorder.visits, 1);
    ASSERT_EQ(recorder.tiles.size(), 5u);
    // Above, left, content, right, below.
    const int expected[5][4] = {{0, 0, 10, 1}, {0, 1, 2, 3}, {2, 1, 4, 3}, {6, 1, 4, 3}, {0, 4, 10, 4}};
    for (int i = 0; i < 5; ++i) {
        const TImageTile& t = recorder.tiles[i];
        EXPECT_EQ(t.nChannelID, CHANNEL_COLOR);
        EXPECT_EQ(t.nX, expected[i][0]) << i;
        EXPECT_EQ(t.nY, expected[i][1]) << i;
        EXPECT_EQ(int(t.nSizeX), expected[i][2]) << i;
        EXPECT_EQ(int(t.nSizeY), expected[i][3]) << i;
        if (i == 2) {
            EXPECT_EQ(t.nStrideX, 1u);
            EXPECT_EQ(t.nStrideY, 4u);
            EXPECT_EQ(t.nPixels, 12u);
        } else {
            EXPECT_EQ(t.nStrideX, 0u);
            EXPECT_EQ(t.nStrideY, 0u);
            EXPECT_EQ(t.nPixels, 1u);
            EXPECT_EQ(t.pData->n, kDefault);
        }
    }
    // Every pixel exactly once, with its value.
    std::vector<int> seen(80, 0);
    for (const auto& p : recorder.covered) {
        ASSERT_TRUE(p.x >= 0 && p.x < 10 && p.y >= 0 && p.y < 8);
        ++seen[p.y * 10 + p.x];
        EXPECT_EQ(p.value, Expected(p.x, p.y)) << p.x << "," << p.y;
    }
    EXPECT_EQ(seen, std::vector<int>(80, 1));
}

TEST(RasterDocument, InspectWhollyOutsideTheContentGivesOneDefaultTile) {
    auto image = RasterOf(MakeDocument());
    TileRecorder recorder;
    TImagePoint origin{20, -7};
    TImageSize size{3, 4};
    ASSERT_EQ(image->Inspect(CHANNEL_COLOR, &origin, &size, &recorder, nullptr, ACCESS_MODE), S_OK);
    ASSERT_EQ(recorder.tiles.size(), 1u);
    EXPECT_EQ(recorder.tiles[0].nX, 20);
    EXPECT_EQ(recorder.tiles[0].nY, -7);
    EXPECT_EQ(recorder.tiles[0].nSizeX, 3u);
    EXPECT_EQ(recorder.tiles[0].nSizeY, 4u);
    EXPECT_EQ(recorder.tiles[0].nStrideX, 0u);
    EXPECT_EQ(recorder.tiles[0].nStrideY, 0u);
    EXPECT_EQ(recorder.tiles[0].nPixels, 1u);
    EXPECT_EQ(recorder.tiles[0].pData->n, kDefault);
}

TEST(RasterDocument, InspectOfTheContentRectangleGivesOneTile) {
    auto image = RasterOf(MakeDocument());
    TileRecorder recorder;
    TImagePoint origin{2, 1};
    TImageSize size{4, 3};
    ASSERT_EQ(image->Inspect(CHANNEL_COLOR, &origin, &size, &recorder, nullptr, ACCESS_MODE), S_OK);
    ASSERT_EQ(recorder.tiles.size(), 1u);
    EXPECT_EQ(recorder.tiles[0].nStrideX, 1u);
    EXPECT_EQ(recorder.tiles[0].pData->n, ValueAt(2, 1));
}

TEST(RasterDocument, BufferLockGivesTheBufferWithItsRectangles) {
    auto image = RasterOf(MakeDocument());
    TImagePoint allocOrigin{}, contentOrigin{};
    TImageSize allocSize{}, contentSize{};
    const TPixelChannel* pixels = nullptr;
    ASSERT_EQ(image->BufferLock(CHANNEL_COLOR, &allocOrigin, &allocSize, &contentOrigin, &contentSize, &pixels, nullptr,
                                ACCESS_MODE),
              S_OK);
    EXPECT_EQ(allocOrigin.nX, 2);
    EXPECT_EQ(allocOrigin.nY, 1);
    EXPECT_EQ(allocSize.nX, 4u);
    EXPECT_EQ(contentSize.nY, 3u);
    // The pixel at (x, y) is pixels[(y - allocOrigin.y) * allocSize.x + (x - allocOrigin.x)].
    EXPECT_EQ(pixels[(3 - 1) * 4 + (5 - 2)].n, ValueAt(5, 3));
    EXPECT_EQ(image->BufferUnlock(CHANNEL_COLOR, pixels), S_OK);
    EXPECT_EQ(image->BufferUnlock(CHANNEL_COLOR, pixels), E_UNEXPECTED);
}

TEST(RasterDocument, AnEmptyContentStillLocksOnePixelHoldingTheDefault) {
    RasterImageInit init;
    init.canvas = {5, 5};
    init.contentOrigin = {3, 2};
    init.defaultPixel = Px(kDefault);
    auto image = RasterOf(zthost::CreateRasterDocument(init));
    TImagePoint allocOrigin{}, contentOrigin{};
    TImageSize allocSize{}, contentSize{9, 9};
    const TPixelChannel* pixels = nullptr;
    ASSERT_EQ(image->BufferLock(CHANNEL_COLOR, &allocOrigin, &allocSize, &contentOrigin, &contentSize, &pixels, nullptr,
                                ACCESS_MODE),
              S_OK);
    EXPECT_EQ(contentSize.nX, 0u);
    EXPECT_EQ(contentSize.nY, 0u);
    EXPECT_EQ(allocOrigin.nX, 3);
    EXPECT_EQ(allocOrigin.nY, 2);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(pixels[0].n, kDefault);
    image->BufferUnlock(CHANNEL_COLOR, pixels);
}

TEST(RasterDocument, BufferAllocateGivesAtLeastOnePixelAndRefusesTooMany) {
    auto image = RasterOf(MakeDocument());
    TPixelChannel* pixels = nullptr;
    ZTPixelDeleter deleter = nullptr;
    ASSERT_EQ(image->BufferAllocate({0, 0}, &pixels, &deleter), S_OK);
    ASSERT_NE(pixels, nullptr);
    ASSERT_NE(deleter, nullptr);
    pixels[0].n = 1;  // must be writable
    deleter(pixels);
    pixels = reinterpret_cast<TPixelChannel*>(8);
    EXPECT_EQ(image->BufferAllocate({65536, 65536}, &pixels, &deleter), E_OUTOFMEMORY);
}

TEST(RasterDocument, BufferReplaceWithASmallerContentKeepsTheAllocOrigin) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TPixelChannel* pixels = nullptr;
    ZTPixelDeleter deleter = nullptr;
    ASSERT_EQ(image->BufferAllocate({6, 5}, &pixels, &deleter), S_OK);
    for (int i = 0; i < 30; ++i) pixels[i].n = 0xAA000000u + i;
    TImagePoint contentOrigin{0, -1};
    TImageSize contentSize{2, 3};
    uint64_t alphaTotal = 6 * 0xAA;
    ASSERT_EQ(image->BufferReplace({-2, -3}, {6, 5}, &contentOrigin, &contentSize, &alphaTotal, pixels, deleter), S_OK);

    TImagePoint allocOrigin{}, lockedOrigin{};
    TImageSize allocSize{}, lockedSize{};
    const TPixelChannel* locked = nullptr;
    image->BufferLock(CHANNEL_COLOR, &allocOrigin, &allocSize, &lockedOrigin, &lockedSize, &locked, nullptr,
                      ACCESS_MODE);
    EXPECT_EQ(allocOrigin.nX, -2);
    EXPECT_EQ(allocOrigin.nY, -3);
    EXPECT_EQ(allocSize.nX, 6u);
    EXPECT_EQ(allocSize.nY, 5u);
    EXPECT_EQ(lockedOrigin.nX, 0);
    EXPECT_EQ(lockedOrigin.nY, -1);
    EXPECT_EQ(lockedSize.nX, 2u);
    EXPECT_EQ(lockedSize.nY, 3u);
    EXPECT_EQ(locked, pixels);
    image->BufferUnlock(CHANNEL_COLOR, locked);

    // Content (x, y) sits at buffer index (y + 3) * 6 + (x + 2); around it, the default pixel.
    auto values = Read(image, {-1, -1}, {4, 3});
    for (int y = -1; y < 2; ++y)
        for (int x = -1; x < 3; ++x) {
            uint32_t expected = x >= 0 && x < 2 ? 0xAA000000u + (y + 3) * 6 + (x + 2) : kDefault;
            EXPECT_EQ(values[(y + 1) * 4 + (x + 1)], expected) << x << "," << y;
        }
    auto state = StateOf(document);
    EXPECT_EQ(state.bufferReplaceCount, 1u);
    EXPECT_TRUE(state.lastAlphaTotalGiven);
    EXPECT_EQ(state.lastAlphaTotal, 6u * 0xAA);
    EXPECT_EQ(state.content.size(), 6u);
    EXPECT_EQ(state.content[0].n, 0xAA000000u + 2 * 6 + 2);
}

TEST(RasterDocument, BufferReplaceWithoutContentMakesTheWholeBufferTheContent) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TPixelChannel* pixels = nullptr;
    ZTPixelDeleter deleter = nullptr;
    ASSERT_EQ(image->BufferAllocate({3, 2}, &pixels, &deleter), S_OK);
    for (int i = 0; i < 6; ++i) pixels[i].n = 0xFF000000u + i;
    ASSERT_EQ(image->BufferReplace({7, 7}, {3, 2}, nullptr, nullptr, nullptr, pixels, deleter), S_OK);
    auto state = StateOf(document);
    EXPECT_EQ(state.contentOrigin.nX, 7);
    EXPECT_EQ(state.contentOrigin.nY, 7);
    EXPECT_EQ(state.contentSize.nX, 3u);
    EXPECT_EQ(state.contentSize.nY, 2u);
    EXPECT_FALSE(state.lastAlphaTotalGiven);
    EXPECT_EQ(state.content[5].n, 0xFF000005u);
}

TEST(RasterDocument, BufferReplaceRefusesAContentOutsideItsBufferAndLeavesTheDocument) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TPixelChannel* pixels = nullptr;
    ZTPixelDeleter deleter = nullptr;
    ASSERT_EQ(image->BufferAllocate({2, 2}, &pixels, &deleter), S_OK);
    TImagePoint contentOrigin{1, 1};
    TImageSize contentSize{2, 2};
    EXPECT_EQ(image->BufferReplace({0, 0}, {2, 2}, &contentOrigin, &contentSize, nullptr, pixels, deleter),
              E_INVALIDARG);
    deleter(pixels);  // a refused buffer stays the caller's
    auto state = StateOf(document);
    EXPECT_EQ(state.bufferReplaceCount, 0u);
    EXPECT_EQ(state.contentSize.nX, 4u);
}

TEST(RasterDocument, ABufferReplacedWhileLockedStaysReadableUntilUnlocked) {
    auto image = RasterOf(MakeDocument());
    const TPixelChannel* locked = nullptr;
    image->BufferLock(CHANNEL_COLOR, nullptr, nullptr, nullptr, nullptr, &locked, nullptr, ACCESS_MODE);
    TPixelChannel* pixels = nullptr;
    ZTPixelDeleter deleter = nullptr;
    ASSERT_EQ(image->BufferAllocate({1, 1}, &pixels, &deleter), S_OK);
    pixels[0].n = 7;
    ASSERT_EQ(image->BufferReplace({0, 0}, {1, 1}, nullptr, nullptr, nullptr, pixels, deleter), S_OK);
    EXPECT_EQ(locked[0].n, ValueAt(2, 1));  // the sanitizer build watches this read
    EXPECT_EQ(image->BufferUnlock(CHANNEL_COLOR, locked), S_OK);
}

TEST(RasterDocument, TileSetGrowingTheContentFillsTheUnwrittenAreaWithTheDefaultPixel) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TImagePoint origin{7, 5};
    TImageSize size{2, 2};
    TPixelChannel written[4] = {Px(0xF0000001), Px(0xF0000002), Px(0xF0000003), Px(0xF0000004)};
    ASSERT_EQ(image->TileSet(CHANNEL_COLOR, &origin, &size, nullptr, 4, written, 1), S_OK);
    auto state = StateOf(document);
    EXPECT_EQ(state.contentOrigin.nX, 2);
    EXPECT_EQ(state.contentOrigin.nY, 1);
    EXPECT_EQ(state.contentSize.nX, 7u);
    EXPECT_EQ(state.contentSize.nY, 6u);
    for (int y = 1; y < 7; ++y)
        for (int x = 2; x < 9; ++x) {
            uint32_t expected = Expected(x, y);
            if (x >= 7 && y >= 5) expected = written[(y - 5) * 2 + (x - 7)].n;
            EXPECT_EQ(state.content[(y - 1) * 7 + (x - 2)].n, expected) << x << "," << y;
        }
}

TEST(RasterDocument, TileSetInsideTheContentKeepsTheContentRectangle) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TImagePoint origin{3, 2};
    TImageSize size{2, 1};
    TImageStride stride{2, 4};  // every second pixel of the source
    TPixelChannel source[3] = {Px(0xE0000001), Px(0), Px(0xE0000002)};
    ASSERT_EQ(image->TileSet(CHANNEL_COLOR, &origin, &size, &stride, 3, source, 0), S_OK);
    auto state = StateOf(document);
    EXPECT_EQ(state.contentSize.nX, 4u);
    EXPECT_EQ(state.contentSize.nY, 3u);
    EXPECT_EQ(state.content[1 * 4 + 1].n, 0xE0000001u);
    EXPECT_EQ(state.content[1 * 4 + 2].n, 0xE0000002u);
    EXPECT_EQ(state.content[1 * 4 + 3].n, ValueAt(5, 2));
}

TEST(RasterDocument, TileSetOnAnEmptyContentMakesTheRectangleTheContent) {
    RasterImageInit init;
    init.canvas = {4, 4};
    auto document = zthost::CreateRasterDocument(init);
    auto image = RasterOf(document);
    TImagePoint origin{-1, 2};
    TImageSize size{1, 1};
    TPixelChannel pixel = Px(0x80402010);
    ASSERT_EQ(image->TileSet(CHANNEL_COLOR, &origin, &size, nullptr, 1, &pixel, 1), S_OK);
    auto state = StateOf(document);
    EXPECT_EQ(state.contentOrigin.nX, -1);
    EXPECT_EQ(state.contentOrigin.nY, 2);
    ASSERT_EQ(state.content.size(), 1u);
    EXPECT_EQ(state.content[0].n, 0x80402010u);
}

TEST(RasterDocument, GrowingPastTheLargestPixelCountFailsWithoutChange) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TImagePoint origin{100000, 100000};
    TImageSize size{1, 1};
    TPixelChannel pixel = Px(1);
    EXPECT_EQ(image->TileSet(CHANNEL_COLOR, &origin, &size, nullptr, 1, &pixel, 1), E_OUTOFMEMORY);
    EXPECT_EQ(StateOf(document).contentSize.nX, 4u);

    RasterImageInit init;
    init.contentSize = {70000, 70000};
    EXPECT_FALSE(zthost::CreateRasterDocument(init));
}

TEST(RasterDocument, ChannelsSetChangesTheDefaultPixelOfTheColourChannelOnly) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    const uint32_t colour = CHANNEL_COLOR, other = 2;
    TPixelChannel value = Px(0x00ABCDEF);
    EXPECT_EQ(image->ChannelsSet(1, &other, &value), E_HOST_INVALID_PARAM);
    EXPECT_EQ(StateOf(document).defaultPixel.n, kDefault);
    EXPECT_EQ(image->ChannelsSet(1, &colour, &value), S_OK);
    EXPECT_EQ(StateOf(document).defaultPixel.n, 0x00ABCDEFu);
    EXPECT_EQ(Read(image, {-5, -5}, {1, 1}), std::vector<uint32_t>{0x00ABCDEF});
}

TEST(RasterDocument, CanvasSetWithoutTransformerMovesTheContentByTheTruncatedTranslation) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TImageSize canvas{12, 6};
    TMatrix3x3f matrix{{1, 0, 0, 0, 1, 0, 2.7f, -1.5f, 1}};
    TImageResolution resolution{300, 254, 200, 254};
    ASSERT_EQ(image->CanvasSet(&canvas, &resolution, &matrix, nullptr), S_OK);
    auto state = StateOf(document);
    EXPECT_EQ(state.canvas.nX, 12u);
    EXPECT_EQ(state.canvas.nY, 6u);
    EXPECT_EQ(state.contentOrigin.nX, 4);
    EXPECT_EQ(state.contentOrigin.nY, 0);
    EXPECT_EQ(state.resolution.nNumeratorX, 300u);
    EXPECT_EQ(Read(image, {4, 0}, {1, 1}), std::vector<uint32_t>{ValueAt(2, 1)});
}

TEST(RasterDocument, CanvasSetWithTransformerHandsOverTheWholeCanvasOnce) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    RecordingTransformer transformer;
    TImageSize canvas{5, 3};
    TMatrix3x3f matrix{{0.5f, 0, 0, 0, 0.5f, 0, 0, 0, 1}};
    ASSERT_EQ(image->CanvasSet(&canvas, nullptr, &matrix, &transformer), S_OK);
    EXPECT_EQ(transformer.calls, 1);
    EXPECT_EQ(transformer.channels, 1u);
    EXPECT_EQ(transformer.gamma, 1.8f);
    EXPECT_EQ(transformer.defaultPixel, kDefault);
    EXPECT_EQ(transformer.sourceOrigin.nX, 0);
    EXPECT_EQ(transformer.sourceSize.nX, 10u);
    EXPECT_EQ(transformer.sourceSize.nY, 8u);
    EXPECT_EQ(transformer.sourceStride.nX, 1u);
    EXPECT_EQ(transformer.sourceStride.nY, 10u);
    EXPECT_EQ(transformer.targetOrigin.nY, 0);
    EXPECT_EQ(transformer.targetSize.nX, 5u);
    EXPECT_EQ(transformer.targetSize.nY, 3u);
    EXPECT_EQ(transformer.targetStride.nY, 5u);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x) EXPECT_EQ(transformer.source[y * 10 + x], Expected(x, y)) << x << "," << y;

    auto state = StateOf(document);
    EXPECT_EQ(state.canvas.nX, 5u);
    EXPECT_EQ(state.contentOrigin.nX, 0);
    EXPECT_EQ(state.contentOrigin.nY, 0);
    EXPECT_EQ(state.contentSize.nX, 5u);
    EXPECT_EQ(state.contentSize.nY, 3u);
    EXPECT_EQ(state.content[2 * 5 + 4].n, 2004u);
}

TEST(RasterDocument, CanvasSetKeepsTheDocumentWhenTheTransformerFails) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    RecordingTransformer transformer;
    transformer.result = E_FAIL;
    TImageSize canvas{5, 3};
    EXPECT_EQ(image->CanvasSet(&canvas, nullptr, nullptr, &transformer), E_FAIL);
    auto state = StateOf(document);
    EXPECT_EQ(state.canvas.nX, 10u);
    EXPECT_EQ(state.contentSize.nX, 4u);
    EXPECT_EQ(state.content[0].n, ValueAt(2, 1));
}

TEST(RasterDocument, ContentOriginSetMovesContentAndBuffer) {
    auto document = MakeDocument();
    auto image = RasterOf(document);
    TImagePoint origin{-3, 5};
    ASSERT_EQ(image->ContentOriginSet(&origin), S_OK);
    EXPECT_EQ(Read(image, {-3, 5}, {2, 1}), (std::vector<uint32_t>{ValueAt(2, 1), ValueAt(3, 1)}));
}

TEST(RasterDocument, WriteLocksNest) {
    auto document = MakeDocument();
    EXPECT_EQ(document->WriteLock(), S_OK);
    EXPECT_EQ(document->WriteLock(), S_OK);
    EXPECT_EQ(document->WriteUnlock(), S_OK);
    EXPECT_EQ(document->WriteUnlock(), S_OK);
    EXPECT_EQ(document->WriteUnlock(), E_UNEXPECTED);
}

TEST(RasterDocument, ACopyHasItsOwnPixels) {
    auto document = MakeDocument();
    auto copy = zthost::CopyRasterDocument(document);
    ASSERT_TRUE(copy);
    TImagePoint origin{2, 1};
    TImageSize size{1, 1};
    TPixelChannel pixel = Px(5);
    ASSERT_EQ(RasterOf(copy)->TileSet(CHANNEL_COLOR, &origin, &size, nullptr, 1, &pixel, 1), S_OK);
    EXPECT_EQ(StateOf(copy).content[0].n, 5u);
    EXPECT_EQ(StateOf(document).content[0].n, ValueAt(2, 1));
    EXPECT_EQ(StateOf(copy).gamma, 1.8f);
    EXPECT_FALSE(zthost::InspectRasterDocument(nullptr, nullptr));
}

}  // namespace
