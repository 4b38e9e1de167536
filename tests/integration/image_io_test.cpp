// Reading and writing PNG and JPEG files for the command line.

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <jpeglib.h>
#include <png.h>

#include "apps/ztraster/image_io.h"

namespace {

namespace fs = std::filesystem;
using ztio::Image;
using ztio::ReadImage;
using ztio::WriteImage;

uint32_t Argb(uint32_t a, uint32_t r, uint32_t g, uint32_t b) { return a << 24 | r << 16 | g << 8 | b; }

Image MakeImage(uint32_t width, uint32_t height, const std::function<uint32_t(uint32_t, uint32_t)>& pixel) {
    Image img;
    img.width = width;
    img.height = height;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) img.pixels.push_back(pixel(x, y));
    return img;
}

std::string FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void SetFileBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::vector<std::string> DirectoryEntries(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename().string());
    return names;
}

// A PNG written field by field, for the colour types and depths WriteImage never produces.
// The data is known to be valid, so libpng's default error handling (abort) is enough here.
struct RawPng {
    uint32_t width = 0, height = 0;
    int bitDepth = 8;
    int colorType = PNG_COLOR_TYPE_RGB;
    int interlace = PNG_INTERLACE_NONE;
    std::vector<png_color> palette;
    std::vector<png_byte> paletteAlpha;
    bool hasTransparentColour = false;
    png_color_16 transparentColour{};
    std::vector<std::vector<png_byte>> rows;
};

void WriteRawPng(const std::string& path, const RawPng& raw) {
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, raw.width, raw.height, raw.bitDepth, raw.colorType, raw.interlace,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!raw.palette.empty()) png_set_PLTE(png, info, raw.palette.data(), int(raw.palette.size()));
    if (!raw.paletteAlpha.empty())
        png_set_tRNS(png, info, raw.paletteAlpha.data(), int(raw.paletteAlpha.size()), nullptr);
    if (raw.hasTransparentColour) png_set_tRNS(png, info, nullptr, 0, &raw.transparentColour);
    png_write_info(png, info);
    std::vector<png_bytep> rows;
    for (const auto& row : raw.rows) rows.push_back(const_cast<png_bytep>(row.data()));
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

// A JPEG of any colour space libjpeg writes, with an optional JFIF density. Default error handling
// (exit) as above.
struct RawJpeg {
    uint32_t width = 0, height = 0;
    int components = 1;
    J_COLOR_SPACE inputSpace = JCS_GRAYSCALE;
    J_COLOR_SPACE fileSpace = JCS_GRAYSCALE;
    int densityUnit = 0;
    uint16_t xDensity = 1, yDensity = 1;
    std::vector<JSAMPLE> samples;
};

void WriteRawJpeg(const std::string& path, const RawJpeg& raw) {
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    jpeg_compress_struct cinfo{};
    jpeg_error_mgr errors{};
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_compress(&cinfo);
    jpeg_stdio_dest(&cinfo, file);
    cinfo.image_width = raw.width;
    cinfo.image_height = raw.height;
    cinfo.input_components = raw.components;
    cinfo.in_color_space = raw.inputSpace;
    jpeg_set_defaults(&cinfo);
    jpeg_set_colorspace(&cinfo, raw.fileSpace);
    jpeg_set_quality(&cinfo, 100, TRUE);
    // No subsampling: flat 8x8 blocks then decode to flat colours.
    for (int c = 0; c < cinfo.num_components; ++c)
        cinfo.comp_info[c].h_samp_factor = cinfo.comp_info[c].v_samp_factor = 1;
    cinfo.density_unit = UINT8(raw.densityUnit);
    cinfo.X_density = raw.xDensity;
    cinfo.Y_density = raw.yDensity;
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row =
            const_cast<JSAMPROW>(raw.samples.data() + size_t(cinfo.next_scanline) * raw.width * raw.components);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    std::fclose(file);
}

class ImageIoTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "ztio-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string Path(const std::string& name) const { return dir_ + "/" + name; }

    // Writes and reads back, failing the test on either error.
    Image RoundTrip(const std::string& name, const Image& img) {
        std::string error;
        EXPECT_TRUE(WriteImage(Path(name), img, &error)) << error;
        Image back;
        EXPECT_TRUE(ReadImage(Path(name), &back, &error)) << error;
        return back;
    }

    std::string dir_;
};

// ---- PNG

TEST_F(ImageIoTest, PngRoundTripOfRgbaWithPartialAlphaIsExact) {
    // Colour under zero alpha must survive too: straight alpha is stored as it is.
    Image img = MakeImage(37, 23, [](uint32_t x, uint32_t y) {
        return Argb((x * 7 + y * 3) & 0xFF, (x * 13) & 0xFF, (y * 11) & 0xFF, (x ^ y) * 5 & 0xFF);
    });
    img.pixels[0] = Argb(0, 200, 100, 50);
    Image back = RoundTrip("rgba.png", img);
    EXPECT_EQ(back.width, 37u);
    EXPECT_EQ(back.height, 23u);
    EXPECT_EQ(back.pixels, img.pixels);
    EXPECT_FALSE(back.hasResolution);
}

TEST_F(ImageIoTest, PngKeepsResolutionInPhys) {
    Image img = MakeImage(4, 4, [](uint32_t, uint32_t) { return 0xFF102030u; });
    img.hasResolution = true;
    img.dpiX = 300;
    img.dpiY = 72;
    Image back = RoundTrip("dpi.png", img);
    ASSERT_TRUE(back.hasResolution);
    // pHYs stores whole pixels per metre: 300 dpi is 11811 ppm, read back as 299.9994 dpi.
    EXPECT_NEAR(back.dpiX, 300, 0.0254 / 2);
    EXPECT_NEAR(back.dpiY, 72, 0.0254 / 2);
    EXPECT_DOUBLE_EQ(back.dpiX, 11811 * 0.0254);
}

TEST_F(ImageIoTest, SixteenBitPngIsRoundedToNearestEightBitValue) {
    // Every 16-bit value appears in every channel, in a different order in each.
    RawPng raw;
    raw.width = 256;
    raw.height = 256;
    raw.bitDepth = 16;
    raw.colorType = PNG_COLOR_TYPE_RGB_ALPHA;
    auto channels = [](uint32_t v) { return std::vector<uint32_t>{v, 65535 - v, (v * 40503u) & 0xFFFF, v ^ 0xA5A5}; };
    for (uint32_t y = 0; y < 256; ++y) {
        std::vector<png_byte> row;
        for (uint32_t x = 0; x < 256; ++x)
            for (uint32_t c : channels(y * 256 + x)) {
                row.push_back(png_byte(c >> 8));
                row.push_back(png_byte(c));
            }
        raw.rows.push_back(row);
    }
    WriteRawPng(Path("deep.png"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("deep.png"), &back, &error)) << error;
    ASSERT_EQ(back.pixels.size(), 65536u);
    auto to8 = [](uint32_t v) { return (v * 255 + 32767) / 65535; };
    size_t mismatches = 0;
    for (uint32_t v = 0; v < 65536; ++v) {
        std::vector<uint32_t> c = channels(v);
        if (back.pixels[v] != Argb(to8(c[3]), to8(c[0]), to8(c[1]), to8(c[2]))) ++mismatches;
    }
    EXPECT_EQ(mismatches, 0u);
    // 0x00FF is nearer to 1 * 257 than to 0: dropping the low byte would give 0.
    EXPECT_EQ(back.pixels[0x00FF] >> 16 & 0xFF, 1u);
}

TEST_F(ImageIoTest, GreyPngBecomesOpaqueRgb) {
    RawPng raw;
    raw.width = 256;
    raw.height = 1;
    raw.colorType = PNG_COLOR_TYPE_GRAY;
    raw.rows.emplace_back();
    for (uint32_t x = 0; x < 256; ++x) raw.rows[0].push_back(png_byte(x));
    WriteRawPng(Path("grey.png"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("grey.png"), &back, &error)) << error;
    ASSERT_EQ(back.pixels.size(), 256u);
    for (uint32_t x = 0; x < 256; ++x) EXPECT_EQ(back.pixels[x], Argb(255, x, x, x)) << x;
}

TEST_F(ImageIoTest, OneBitGreyPngExpandsToBlackAndWhite) {
    RawPng raw;
    raw.width = 10;
    raw.height = 1;
    raw.bitDepth = 1;
    raw.colorType = PNG_COLOR_TYPE_GRAY;
    raw.rows = {{0b10110000, 0b01000000}};
    WriteRawPng(Path("bits.png"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("bits.png"), &back, &error)) << error;
    const uint32_t k = 0xFF000000u, w = 0xFFFFFFFFu;
    EXPECT_EQ(back.pixels, (std::vector<uint32_t>{w, k, w, w, k, k, k, k, k, w}));
}

TEST_F(ImageIoTest, GreyPngWithAlphaKeepsAlpha) {
    RawPng raw;
    raw.width = 3;
    raw.height = 1;
    raw.colorType = PNG_COLOR_TYPE_GRAY_ALPHA;
    raw.rows = {{10, 0, 128, 77, 250, 255}};
    WriteRawPng(Path("greyalpha.png"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("greyalpha.png"), &back, &error)) << error;
    EXPECT_EQ(back.pixels,
              (std::vector<uint32_t>{Argb(0, 10, 10, 10), Argb(77, 128, 128, 128), Argb(255, 250, 250, 250)}));
}

TEST_F(ImageIoTest, GreyPngWithTransparentColourKeyBecomesTransparent) {
    RawPng raw;
    raw.width = 3;
    raw.height = 1;
    raw.colorType = PNG_COLOR_TYPE_GRAY;
    raw.hasTransparentColour = true;
    raw.transparentColour.gray = 7;
    raw.rows = {{6, 7, 8}};
    WriteRawPng(Path("key.png"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("key.png"), &back, &error)) << error;
    EXPECT_EQ(back.pixels, (std::vector<uint32_t>{Argb(255, 6, 6, 6), Argb(0, 7, 7, 7), Argb(255, 8, 8, 8)}));
}

TEST_F(ImageIoTest, PalettePngWithTransparencyExpandsToRgba) {
    // Four bits per index; tRNS covers the first three entries, the others are opaque.
    RawPng raw;
    raw.width = 5;
    raw.height = 2;
    raw.bitDepth = 4;
    raw.colorType = PNG_COLOR_TYPE_PALETTE;
    raw.palette = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {10, 20, 30}, {200, 150, 100}};
    raw.paletteAlpha = {0, 128, 255};
    raw.rows = {{0x01, 0x23, 0x40}, {0x43, 0x21, 0x00}};
    WriteRawPng(Path("palette.png"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("palette.png"), &back, &error)) << error;
    std::vector<uint32_t> colours = {Argb(0, 255, 0, 0), Argb(128, 0, 255, 0), Argb(255, 0, 0, 255),
                                     Argb(255, 10, 20, 30), Argb(255, 200, 150, 100)};
    EXPECT_EQ(back.pixels, (std::vector<uint32_t>{colours[0], colours[1], colours[2], colours[3], colours[4],
                                                  colours[4], colours[3], colours[2], colours[1], colours[0]}));
}

TEST_F(ImageIoTest, InterlacedPngIsReadWhole) {
    RawPng raw;
    raw.width = 13;
    raw.height = 11;
    raw.colorType = PNG_COLOR_TYPE_RGB;
    raw.interlace = PNG_INTERLACE_ADAM7;
    for (uint32_t y = 0; y < raw.height; ++y) {
        raw.rows.emplace_back();
        for (uint32_t x = 0; x < raw.width; ++x)
            raw.rows.back().insert(raw.rows.back().end(), {png_byte(x * 19), png_byte(y * 23), png_byte(x * y)});
    }
    WriteRawPng(Path("interlaced.png"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("interlaced.png"), &back, &error)) << error;
    Image expected =
        MakeImage(13, 11, [](uint32_t x, uint32_t y) { return Argb(255, x * 19 & 0xFF, y * 23 & 0xFF, x * y & 0xFF); });
    EXPECT_EQ(back.pixels, expected.pixels);
}

TEST_F(ImageIoTest, PngOverTwoToTheThirtyOnePixelsIsRefused) {
    // A header of 100000 x 100000 followed by an empty IDAT: refused before any pixel is read.
    FILE* file = std::fopen(Path("huge.png").c_str(), "wb");
    ASSERT_NE(file, nullptr);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, 100000, 100000, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    const png_byte idat[] = {'I', 'D', 'A', 'T', 0};
    png_write_chunk(png, idat, nullptr, 0);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);

    Image back;
    std::string error;
    EXPECT_FALSE(ReadImage(Path("huge.png"), &back, &error));
    EXPECT_EQ(error.rfind(Path("huge.png") + ": image too large", 0), 0u) << error;
    EXPECT_TRUE(back.pixels.empty());
}

// ---- JPEG

TEST_F(ImageIoTest, JpegRoundTripIsCloseAndOpaque) {
    Image img = MakeImage(
        64, 48, [](uint32_t x, uint32_t y) { return Argb((x * 4) & 0xFF, 40 + x * 3, 30 + y * 4, 200 - x - y); });
    Image back = RoundTrip("photo.jpg", img);
    ASSERT_EQ(back.width, 64u);
    ASSERT_EQ(back.height, 48u);
    double sum = 0;
    for (size_t i = 0; i < img.pixels.size(); ++i) {
        EXPECT_EQ(back.pixels[i] >> 24, 255u) << i;
        for (int shift : {16, 8, 0})
            sum += std::abs(int(img.pixels[i] >> shift & 0xFF) - int(back.pixels[i] >> shift & 0xFF));
    }
    EXPECT_LT(sum / (img.pixels.size() * 3), 1.5);
}

TEST_F(ImageIoTest, JpegQualitySetsTheCompression) {
    Image img = MakeImage(64, 64, [](uint32_t x, uint32_t y) { return Argb(255, x * 4, (x * y) & 0xFF, y * 4); });
    std::string error;
    ASSERT_TRUE(WriteImage(Path("low.jpg"), img, &error, 30)) << error;
    ASSERT_TRUE(WriteImage(Path("high.jpg"), img, &error, 98)) << error;
    EXPECT_LT(fs::file_size(Path("low.jpg")), fs::file_size(Path("high.jpg")));
    EXPECT_FALSE(WriteImage(Path("bad.jpg"), img, &error, 0));
    EXPECT_NE(error.find("quality 0"), std::string::npos) << error;
}

TEST_F(ImageIoTest, JpegKeepsDensity) {
    Image img = MakeImage(8, 8, [](uint32_t, uint32_t) { return 0xFF808080u; });
    img.hasResolution = true;
    img.dpiX = 300;
    img.dpiY = 150;
    Image back = RoundTrip("dpi.jpeg", img);
    ASSERT_TRUE(back.hasResolution);
    EXPECT_EQ(back.dpiX, 300);
    EXPECT_EQ(back.dpiY, 150);

    img.hasResolution = false;
    EXPECT_FALSE(RoundTrip("nodpi.jpg", img).hasResolution);
}

TEST_F(ImageIoTest, JpegDensityInDotsPerCentimetreIsConvertedToDpi) {
    RawJpeg raw;
    raw.width = 8;
    raw.height = 8;
    raw.samples.assign(64, 100);
    raw.densityUnit = 2;
    raw.xDensity = 100;
    raw.yDensity = 40;
    WriteRawJpeg(Path("dpcm.jpg"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("dpcm.jpg"), &back, &error)) << error;
    ASSERT_TRUE(back.hasResolution);
    EXPECT_DOUBLE_EQ(back.dpiX, 254);
    EXPECT_DOUBLE_EQ(back.dpiY, 101.6);
}

TEST_F(ImageIoTest, GreyJpegBecomesOpaqueRgb) {
    RawJpeg raw;
    raw.width = 16;
    raw.height = 8;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) raw.samples.push_back(x < 8 ? 40 : 220);
    WriteRawJpeg(Path("grey.jpg"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("grey.jpg"), &back, &error)) << error;
    ASSERT_EQ(back.pixels.size(), 128u);
    for (uint32_t i = 0; i < 128; ++i) {
        uint32_t p = back.pixels[i];
        int expected = i % 16 < 8 ? 40 : 220;
        EXPECT_EQ(p >> 24, 255u);
        EXPECT_EQ(p >> 16 & 0xFF, p & 0xFF);
        EXPECT_EQ(p >> 8 & 0xFF, p & 0xFF);
        EXPECT_NEAR(int(p & 0xFF), expected, 2) << i;
    }
}

// Adobe CMYK, as Photoshop writes it: stored inverted, 255 = no ink. The YCCK variant is the
// same data transformed by the encoder; both must come out as the same RGB.
class AdobeCmykJpegTest : public ImageIoTest, public ::testing::WithParamInterface<J_COLOR_SPACE> {};

TEST_P(AdobeCmykJpegTest, InvertedCmykIsConvertedToRgb) {
    // Two flat 8x8 blocks: stored (255, 0, 128, 255) and (200, 100, 50, 128).
    RawJpeg raw;
    raw.width = 16;
    raw.height = 8;
    raw.components = 4;
    raw.inputSpace = JCS_CMYK;
    raw.fileSpace = GetParam();
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x)
            raw.samples.insert(raw.samples.end(), x < 8 ? std::initializer_list<JSAMPLE>{255, 0, 128, 255}
                                                        : std::initializer_list<JSAMPLE>{200, 100, 50, 128});
    WriteRawJpeg(Path("cmyk.jpg"), raw);

    Image back;
    std::string error;
    ASSERT_TRUE(ReadImage(Path("cmyk.jpg"), &back, &error)) << error;
    ASSERT_EQ(back.pixels.size(), 128u);
    // R = stored C * stored K / 255 and so on: (255, 0, 128) and (100, 50, 25).
    for (uint32_t i = 0; i < 128; ++i) {
        uint32_t p = back.pixels[i];
        bool left = i % 16 < 8;
        EXPECT_EQ(p >> 24, 255u);
        EXPECT_NEAR(int(p >> 16 & 0xFF), left ? 255 : 100, 2) << i;
        EXPECT_NEAR(int(p >> 8 & 0xFF), left ? 0 : 50, 2) << i;
        EXPECT_NEAR(int(p & 0xFF), left ? 128 : 25, 2) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(StoredAs, AdobeCmykJpegTest, ::testing::Values(JCS_CMYK, JCS_YCCK),
                         [](const auto& info) { return info.param == JCS_CMYK ? "Cmyk" : "Ycck"; });

// ---- bad input

TEST_F(ImageIoTest, TruncatedPngIsAnError) {
    Image img =
        MakeImage(64, 64, [](uint32_t x, uint32_t y) { return Argb(255, x * 37 & 0xFF, y * 91 & 0xFF, x * y & 0xFF); });
    std::string error;
    ASSERT_TRUE(WriteImage(Path("cut.png"), img, &error)) << error;
    std::string bytes = FileBytes(Path("cut.png"));
    SetFileBytes(Path("cut.png"), bytes.substr(0, bytes.size() / 2));

    Image back;
    EXPECT_FALSE(ReadImage(Path("cut.png"), &back, &error));
    EXPECT_EQ(error, Path("cut.png") + ": truncated PNG data");
    EXPECT_TRUE(back.pixels.empty());
}

TEST_F(ImageIoTest, TruncatedJpegIsAnError) {
    Image img =
        MakeImage(64, 64, [](uint32_t x, uint32_t y) { return Argb(255, x * 37 & 0xFF, y * 91 & 0xFF, x * y & 0xFF); });
    std::string error;
    ASSERT_TRUE(WriteImage(Path("cut.jpg"), img, &error)) << error;
    std::string bytes = FileBytes(Path("cut.jpg"));
    SetFileBytes(Path("cut.jpg"), bytes.substr(0, bytes.size() / 2));

    Image back;
    EXPECT_FALSE(ReadImage(Path("cut.jpg"), &back, &error));
    EXPECT_EQ(error, Path("cut.jpg") + ": truncated JPEG data");
}

TEST_F(ImageIoTest, CorruptPngDataIsAnError) {
    Image img = MakeImage(32, 32, [](uint32_t x, uint32_t y) { return Argb(255, x * 8, y * 8, 0); });
    std::string error;
    ASSERT_TRUE(WriteImage(Path("bad.png"), img, &error)) << error;
    std::string bytes = FileBytes(Path("bad.png"));
    bytes[bytes.size() / 2] ^= 0x55;
    SetFileBytes(Path("bad.png"), bytes);

    Image back;
    EXPECT_FALSE(ReadImage(Path("bad.png"), &back, &error));
    EXPECT_EQ(error.rfind(Path("bad.png") + ": invalid PNG data (", 0), 0u) << error;
}

TEST_F(ImageIoTest, FileThatIsNoImageIsAnError) {
    SetFileBytes(Path("notes.png"), "just some text, not an image\n");
    Image back;
    std::string error;
    EXPECT_FALSE(ReadImage(Path("notes.png"), &back, &error));
    EXPECT_EQ(error, Path("notes.png") + ": not a PNG or JPEG file");

    SetFileBytes(Path("empty.png"), "");
    EXPECT_FALSE(ReadImage(Path("empty.png"), &back, &error));
    EXPECT_EQ(error, Path("empty.png") + ": not a PNG or JPEG file");
}

TEST_F(ImageIoTest, MissingFileIsAnErrorNamingIt) {
    Image back;
    std::string error;
    EXPECT_FALSE(ReadImage(Path("absent.png"), &back, &error));
    EXPECT_EQ(error, Path("absent.png") + ": No such file or directory");
}

// ---- writing

TEST_F(ImageIoTest, FormatFollowsTheExtensionInAnyCase) {
    Image img = MakeImage(2, 2, [](uint32_t, uint32_t) { return 0xFF336699u; });
    std::string error;
    for (const char* name : {"a.PNG", "b.Jpg", "c.JPEG"}) ASSERT_TRUE(WriteImage(Path(name), img, &error)) << error;
    EXPECT_EQ(FileBytes(Path("a.PNG")).substr(1, 3), "PNG");
    EXPECT_EQ(FileBytes(Path("b.Jpg")).substr(0, 2), "\xFF\xD8");
    EXPECT_EQ(FileBytes(Path("c.JPEG")).substr(0, 2), "\xFF\xD8");
}

TEST_F(ImageIoTest, UnknownExtensionIsRefused) {
    Image img = MakeImage(2, 2, [](uint32_t, uint32_t) { return 0xFF336699u; });
    std::string error;
    EXPECT_FALSE(WriteImage(Path("out.bmp"), img, &error));
    EXPECT_EQ(error, Path("out.bmp") + ": unsupported extension '.bmp'; supported: .png, .jpg, .jpeg");
    EXPECT_FALSE(WriteImage(Path("out"), img, &error));
    EXPECT_NE(error.find("supported: .png, .jpg, .jpeg"), std::string::npos) << error;
    EXPECT_TRUE(DirectoryEntries(dir_).empty());
}

TEST_F(ImageIoTest, ImageWhosePixelsDoNotMatchItsSizeIsRefused) {
    Image img = MakeImage(2, 2, [](uint32_t, uint32_t) { return 0xFF336699u; });
    img.pixels.pop_back();
    std::string error;
    EXPECT_FALSE(WriteImage(Path("short.png"), img, &error));
    EXPECT_EQ(error, Path("short.png") + ": the image has 3 pixels, not 2 x 2");
    EXPECT_TRUE(DirectoryEntries(dir_).empty());
}

TEST_F(ImageIoTest, WriteReplacesAnExistingFileWithOrdinaryPermissions) {
    SetFileBytes(Path("out.png"), "old");
    Image img = MakeImage(3, 3, [](uint32_t x, uint32_t y) { return Argb(255, x, y, 0); });
    Image back = RoundTrip("out.png", img);
    EXPECT_EQ(back.pixels, img.pixels);
    EXPECT_EQ(DirectoryEntries(dir_), std::vector<std::string>{"out.png"});
    mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(fs::status(Path("out.png")).permissions(), fs::perms(0666 & ~mask));
}

TEST_F(ImageIoTest, WriteIntoMissingDirectoryFailsAndCreatesNothing) {
    Image img = MakeImage(2, 2, [](uint32_t, uint32_t) { return 0xFF336699u; });
    std::string error;
    std::string path = Path("missing/out.png");
    EXPECT_FALSE(WriteImage(path, img, &error));
    EXPECT_EQ(error.rfind(path + ": cannot create a temporary file beside it", 0), 0u) << error;
    EXPECT_TRUE(DirectoryEntries(dir_).empty());
}

TEST_F(ImageIoTest, FailedJpegEncodingLeavesTheExistingFileAndNoTemporary) {
    // libjpeg stops at 65500 pixels a side, after the temporary file exists.
    SetFileBytes(Path("keep.jpg"), "previous contents");
    Image img = MakeImage(70000, 1, [](uint32_t, uint32_t) { return 0xFF000000u; });
    std::string error;
    EXPECT_FALSE(WriteImage(Path("keep.jpg"), img, &error));
    EXPECT_EQ(error.rfind(Path("keep.jpg") + ": cannot encode JPEG (", 0), 0u) << error;
    EXPECT_EQ(FileBytes(Path("keep.jpg")), "previous contents");
    EXPECT_EQ(DirectoryEntries(dir_), std::vector<std::string>{"keep.jpg"});
}

TEST_F(ImageIoTest, FailedPngEncodingLeavesTheExistingFileAndNoTemporary) {
    // A negative resolution has no pHYs form; the encoder finds out after the temporary exists.
    SetFileBytes(Path("keep.png"), "previous contents");
    Image img = MakeImage(2, 2, [](uint32_t, uint32_t) { return 0xFF000000u; });
    img.hasResolution = true;
    img.dpiX = -5;
    img.dpiY = 72;
    std::string error;
    EXPECT_FALSE(WriteImage(Path("keep.png"), img, &error));
    EXPECT_EQ(error, Path("keep.png") + ": resolution -5 x 72 dpi cannot be stored in PNG");
    EXPECT_EQ(FileBytes(Path("keep.png")), "previous contents");
    EXPECT_EQ(DirectoryEntries(dir_), std::vector<std::string>{"keep.png"});
}

// ---- bundled samples

TEST(SampleImages, LandscapeIsAnOpaquePhotoAt72Dpi) {
    Image img;
    std::string error;
    ASSERT_TRUE(ReadImage(ZT_SAMPLES_DIR "/landscape.png", &img, &error)) << error;
    EXPECT_EQ(img.width, 480u);
    EXPECT_EQ(img.height, 320u);
    EXPECT_TRUE(img.hasResolution);
    EXPECT_NEAR(img.dpiX, 72, 0.02);
    size_t translucent = 0;
    for (uint32_t p : img.pixels) translucent += p >> 24 != 255;
    EXPECT_EQ(translucent, 0u);
}

TEST(SampleImages, ShapeHasTransparentBackgroundAndSoftEdges) {
    Image img;
    std::string error;
    ASSERT_TRUE(ReadImage(ZT_SAMPLES_DIR "/shape.png", &img, &error)) << error;
    EXPECT_EQ(img.width, 320u);
    EXPECT_EQ(img.height, 240u);
    size_t clear = 0, solid = 0, soft = 0;
    for (uint32_t p : img.pixels) {
        uint32_t a = p >> 24;
        (a == 0 ? clear : a == 255 ? solid : soft) += 1;
    }
    EXPECT_EQ(img.pixels[0], 0u);
    EXPECT_GT(clear, img.pixels.size() / 4);
    EXPECT_GT(solid, img.pixels.size() / 4);
    EXPECT_GT(soft, 300u);
}

}  // namespace
