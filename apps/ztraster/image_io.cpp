#include "apps/ztraster/image_io.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <sys/stat.h>
#include <unistd.h>

#include <png.h>
// jpeglib.h needs FILE and size_t declared first, jerror.h needs jpeglib.h.
#include <jerror.h>
#include <jpeglib.h>

// libpng and libjpeg report errors by longjmp. Each decoder and encoder therefore keeps all its
// state in a struct owned by the caller and calls setjmp in a function that has no automatic
// objects with destructors and changes no locals it reads after the jump.

namespace ztio {
namespace {

constexpr uint64_t kMaxPixels = uint64_t(1) << 31;
constexpr size_t kMessageSize = 256;
const char* const kSupported = "supported: .png, .jpg, .jpeg";

void SetError(std::string* error, const std::string& path, const std::string& message) {
    if (error) *error = path + ": " + message;
}

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

// Decoders write four bytes per pixel into the pixel buffer itself; these turn them into
// 0xAARRGGBB in place, whatever the byte order of uint32_t.
void RgbaBytesToPixels(std::vector<uint32_t>* pixels) {
    for (uint32_t& p : *pixels) {
        unsigned char b[4];
        std::memcpy(b, &p, 4);
        p = uint32_t(b[3]) << 24 | uint32_t(b[0]) << 16 | uint32_t(b[1]) << 8 | b[2];
    }
}

// Adobe's encoders store CMYK inverted (0 = full ink) and mark such files with their APP14 segment.
void CmykBytesToPixels(std::vector<uint32_t>* pixels, bool inverted) {
    for (uint32_t& p : *pixels) {
        unsigned char b[4];
        std::memcpy(b, &p, 4);
        unsigned white = inverted ? b[3] : 255u - b[3];
        uint32_t rgb[3];
        for (int i = 0; i < 3; ++i) rgb[i] = ((inverted ? b[i] : 255u - b[i]) * white + 127) / 255;
        p = 0xFF000000u | rgb[0] << 16 | rgb[1] << 8 | rgb[2];
    }
}

bool SizePixels(Image* img, uint32_t width, uint32_t height, char* message) {
    if (uint64_t(width) * height > kMaxPixels) {
        std::snprintf(message, kMessageSize, "image too large (%u x %u pixels; at most 2^31 are supported)", width,
                      height);
        return false;
    }
    img->pixels.resize(size_t(width) * height);
    img->width = width;
    img->height = height;
    return true;
}

// ---- PNG

void OnPngReadError(png_structp png, png_const_charp what) {
    FILE* file = static_cast<FILE*>(png_get_io_ptr(png));
    char* message = static_cast<char*>(png_get_error_ptr(png));
    if (file && std::feof(file))
        std::snprintf(message, kMessageSize, "truncated PNG data");
    else if (file && std::ferror(file))
        std::snprintf(message, kMessageSize, "read error (%s)", std::strerror(errno));
    else
        std::snprintf(message, kMessageSize, "invalid PNG data (%s)", what);
    png_longjmp(png, 1);
}

void OnPngWriteError(png_structp png, png_const_charp what) {
    FILE* file = static_cast<FILE*>(png_get_io_ptr(png));
    char* message = static_cast<char*>(png_get_error_ptr(png));
    if (file && std::ferror(file))
        std::snprintf(message, kMessageSize, "write error (%s)", std::strerror(errno));
    else
        std::snprintf(message, kMessageSize, "cannot encode PNG (%s)", what);
    png_longjmp(png, 1);
}

// Warnings concern ancillary chunks we do not use; the pixels are still right.
void OnPngWarning(png_structp, png_const_charp) {}

struct PngReader {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<png_bytep> rows;
    char message[kMessageSize] = "";
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

bool DecodePng(PngReader* r, FILE* file, Image* img) {
    if (setjmp(png_jmpbuf(r->png))) return false;
    png_init_io(r->png, file);
    // SizePixels applies the size limit, with a clearer message than libpng's.
    png_set_user_limits(r->png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_read_info(r->png, r->info);

    png_uint_32 width = png_get_image_width(r->png, r->info);
    png_uint_32 height = png_get_image_height(r->png, r->info);
    int colorType = png_get_color_type(r->png, r->info);
    int bitDepth = png_get_bit_depth(r->png, r->info);
    png_uint_32 ppmX = 0, ppmY = 0;
    int unit = 0;
    if (png_get_pHYs(r->png, r->info, &ppmX, &ppmY, &unit) && unit == PNG_RESOLUTION_METER && ppmX > 0 && ppmY > 0) {
        img->hasResolution = true;
        img->dpiX = ppmX * 0.0254;
        img->dpiY = ppmY * 0.0254;
    }

    bool hasAlpha = (colorType & PNG_COLOR_MASK_ALPHA) != 0;
    if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(r->png);
    if (colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8) png_set_expand_gray_1_2_4_to_8(r->png);
    if (png_get_valid(r->png, r->info, PNG_INFO_tRNS)) {
        png_set_tRNS_to_alpha(r->png);
        hasAlpha = true;
    }
    // Rounds, (v*255 + 32767) / 65535, where png_set_strip_16 would truncate.
    if (bitDepth == 16) png_set_scale_16(r->png);
    if (!(colorType & PNG_COLOR_MASK_COLOR)) png_set_gray_to_rgb(r->png);
    if (!hasAlpha) png_set_add_alpha(r->png, 0xFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(r->png);
    png_read_update_info(r->png, r->info);
    if (png_get_rowbytes(r->png, r->info) != size_t(width) * 4) {
        std::snprintf(r->message, kMessageSize, "unsupported PNG layout (colour type %d, depth %d)", colorType,
                      bitDepth);
        return false;
    }

    if (!SizePixels(img, width, height, r->message)) return false;
    r->rows.resize(height);
    for (png_uint_32 y = 0; y < height; ++y)
        r->rows[y] = reinterpret_cast<png_bytep>(img->pixels.data() + size_t(y) * width);
    png_read_image(r->png, r->rows.data());
    png_read_end(r->png, nullptr);
    RgbaBytesToPixels(&img->pixels);
    return true;
}

bool ReadPng(FILE* file, Image* img, std::string* message) {
    PngReader r;
    r.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, r.message, OnPngReadError, OnPngWarning);
    if (r.png) r.info = png_create_info_struct(r.png);
    if (!r.info) {
        *message = "out of memory";
        return false;
    }
    if (DecodePng(&r, file, img)) return true;
    *message = r.message;
    return false;
}

struct PngWriter {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<png_byte> row;
    char message[kMessageSize] = "";
    ~PngWriter() { png_destroy_write_struct(&png, &info); }
};

// pHYs holds pixels per metre as a positive 31-bit number.
bool DpiToPpm(double dpi, png_uint_32* ppm) {
    double value = std::round(dpi / 0.0254);
    if (!(value >= 1 && value <= PNG_UINT_31_MAX)) return false;
    *ppm = png_uint_32(value);
    return true;
}

bool EncodePng(PngWriter* w, FILE* file, const Image& img) {
    if (setjmp(png_jmpbuf(w->png))) return false;
    png_init_io(w->png, file);
    png_set_user_limits(w->png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(w->png, w->info, img.width, img.height, 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (img.hasResolution) {
        png_uint_32 ppmX = 0, ppmY = 0;
        if (!DpiToPpm(img.dpiX, &ppmX) || !DpiToPpm(img.dpiY, &ppmY)) {
            std::snprintf(w->message, kMessageSize, "resolution %g x %g dpi cannot be stored in PNG", img.dpiX,
                          img.dpiY);
            return false;
        }
        png_set_pHYs(w->png, w->info, ppmX, ppmY, PNG_RESOLUTION_METER);
    }
    png_write_info(w->png, w->info);
    for (uint32_t y = 0; y < img.height; ++y) {
        const uint32_t* src = img.pixels.data() + size_t(y) * img.width;
        for (uint32_t x = 0; x < img.width; ++x) {
            png_byte* out = w->row.data() + size_t(x) * 4;
            out[0] = png_byte(src[x] >> 16);
            out[1] = png_byte(src[x] >> 8);
            out[2] = png_byte(src[x]);
            out[3] = png_byte(src[x] >> 24);
        }
        png_write_row(w->png, w->row.data());
    }
    png_write_end(w->png, nullptr);
    return true;
}

bool WritePng(FILE* file, const Image& img, std::string* message) {
    PngWriter w;
    w.row.resize(size_t(img.width) * 4);
    w.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, w.message, OnPngWriteError, OnPngWarning);
    if (w.png) w.info = png_create_info_struct(w.png);
    if (!w.info) {
        *message = "out of memory";
        return false;
    }
    if (EncodePng(&w, file, img)) return true;
    *message = w.message;
    return false;
}

// ---- JPEG

struct JpegErrors {
    jpeg_error_mgr pub;
    std::jmp_buf jump;
    char message[kMessageSize];
};

[[noreturn]] void FailJpeg(j_common_ptr cinfo) { std::longjmp(reinterpret_cast<JpegErrors*>(cinfo->err)->jump, 1); }

[[noreturn]] void OnJpegError(j_common_ptr cinfo) {
    char what[JMSG_LENGTH_MAX];
    (*cinfo->err->format_message)(cinfo, what);
    std::snprintf(reinterpret_cast<JpegErrors*>(cinfo->err)->message, kMessageSize, "%s (%s)",
                  cinfo->is_decompressor ? "invalid JPEG data" : "cannot encode JPEG", what);
    FailJpeg(cinfo);
}

// At the end of the file libjpeg only warns and fills the rest of the image with grey: that is a
// truncated file, not an image. Other warnings (stray bytes between markers and the like) are
// common in files from cameras and are ignored.
void OnJpegMessage(j_common_ptr cinfo, int level) {
    if (level < 0 && cinfo->err->msg_code == JWRN_JPEG_EOF) {
        std::snprintf(reinterpret_cast<JpegErrors*>(cinfo->err)->message, kMessageSize, "truncated JPEG data");
        FailJpeg(cinfo);
    }
}

jpeg_error_mgr* InitJpegErrors(JpegErrors* errors) {
    jpeg_error_mgr* mgr = jpeg_std_error(&errors->pub);
    mgr->error_exit = OnJpegError;
    mgr->emit_message = OnJpegMessage;
    return mgr;
}

struct JpegReader {
    jpeg_decompress_struct cinfo{};
    JpegErrors errors{};
    ~JpegReader() { jpeg_destroy_decompress(&cinfo); }
};

bool DecodeJpeg(JpegReader* r, FILE* file, Image* img) {
    r->cinfo.err = InitJpegErrors(&r->errors);
    if (setjmp(r->errors.jump)) return false;
    jpeg_create_decompress(&r->cinfo);
    jpeg_stdio_src(&r->cinfo, file);
    jpeg_read_header(&r->cinfo, TRUE);

    bool cmyk = r->cinfo.jpeg_color_space == JCS_CMYK || r->cinfo.jpeg_color_space == JCS_YCCK;
    // libjpeg-turbo sets the fourth byte of JCS_EXT_RGBA to 0xFF; YCCK comes out as CMYK.
    r->cinfo.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_RGBA;
    if (!SizePixels(img, r->cinfo.image_width, r->cinfo.image_height, r->errors.message)) return false;
    if (r->cinfo.saw_JFIF_marker && (r->cinfo.density_unit == 1 || r->cinfo.density_unit == 2) &&
        r->cinfo.X_density > 0 && r->cinfo.Y_density > 0) {
        double perInch = r->cinfo.density_unit == 2 ? 2.54 : 1.0;
        img->hasResolution = true;
        img->dpiX = r->cinfo.X_density * perInch;
        img->dpiY = r->cinfo.Y_density * perInch;
    }

    jpeg_start_decompress(&r->cinfo);
    auto* bytes = reinterpret_cast<unsigned char*>(img->pixels.data());
    while (r->cinfo.output_scanline < r->cinfo.output_height) {
        JSAMPROW row = bytes + size_t(r->cinfo.output_scanline) * img->width * 4;
        jpeg_read_scanlines(&r->cinfo, &row, 1);
    }
    jpeg_finish_decompress(&r->cinfo);
    if (cmyk)
        CmykBytesToPixels(&img->pixels, r->cinfo.saw_Adobe_marker);
    else
        RgbaBytesToPixels(&img->pixels);
    return true;
}

bool ReadJpeg(FILE* file, Image* img, std::string* message) {
    JpegReader r;
    if (DecodeJpeg(&r, file, img)) return true;
    *message = r.errors.message;
    return false;
}

struct JpegWriter {
    jpeg_compress_struct cinfo{};
    JpegErrors errors{};
    std::vector<JSAMPLE> row;
    ~JpegWriter() { jpeg_destroy_compress(&cinfo); }
};

bool EncodeJpeg(JpegWriter* w, FILE* file, const Image& img, int quality) {
    w->cinfo.err = InitJpegErrors(&w->errors);
    if (setjmp(w->errors.jump)) return false;
    jpeg_create_compress(&w->cinfo);
    jpeg_stdio_dest(&w->cinfo, file);
    w->cinfo.image_width = img.width;
    w->cinfo.image_height = img.height;
    w->cinfo.input_components = 3;
    w->cinfo.in_color_space = JCS_RGB;
    jpeg_set_defaults(&w->cinfo);
    jpeg_set_quality(&w->cinfo, quality, TRUE);
    if (img.hasResolution) {
        double x = std::round(img.dpiX), y = std::round(img.dpiY);
        if (!(x >= 1 && x <= 65535 && y >= 1 && y <= 65535)) {
            std::snprintf(w->errors.message, kMessageSize, "resolution %g x %g dpi cannot be stored in JPEG", img.dpiX,
                          img.dpiY);
            return false;
        }
        w->cinfo.density_unit = 1;
        w->cinfo.X_density = UINT16(x);
        w->cinfo.Y_density = UINT16(y);
    }
    jpeg_start_compress(&w->cinfo, TRUE);
    while (w->cinfo.next_scanline < img.height) {
        const uint32_t* src = img.pixels.data() + size_t(w->cinfo.next_scanline) * img.width;
        for (uint32_t x = 0; x < img.width; ++x) {
            JSAMPLE* out = w->row.data() + size_t(x) * 3;
            out[0] = JSAMPLE(src[x] >> 16);
            out[1] = JSAMPLE(src[x] >> 8);
            out[2] = JSAMPLE(src[x]);
        }
        JSAMPROW row = w->row.data();
        jpeg_write_scanlines(&w->cinfo, &row, 1);
    }
    jpeg_finish_compress(&w->cinfo);
    return true;
}

bool WriteJpeg(FILE* file, const Image& img, int quality, std::string* message) {
    JpegWriter w;
    w.row.resize(size_t(img.width) * 3);
    if (EncodeJpeg(&w, file, img, quality)) return true;
    *message = w.errors.message;
    return false;
}

// ---- files

enum class Format { Png, Jpeg };

bool FormatOfPath(const std::string& path, Format* format, std::string* error) {
    size_t dot = path.find_last_of('.');
    size_t slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        SetError(error, path, std::string("no file extension to choose the format by; ") + kSupported);
        return false;
    }
    std::string ext = path.substr(dot);
    for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
    if (ext == ".png") {
        *format = Format::Png;
    } else if (ext == ".jpg" || ext == ".jpeg") {
        *format = Format::Jpeg;
    } else {
        SetError(error, path, "unsupported extension '" + path.substr(dot) + "'; " + kSupported);
        return false;
    }
    return true;
}

std::string ErrnoText(const char* what) { return std::string(what) + " (" + std::strerror(errno) + ")"; }

// Flushes the file to the disk and closes it; a rename is only atomic for data already stored.
bool FinishFile(FILE* file, std::string* message) {
    if (std::fflush(file) != 0 || fsync(fileno(file)) != 0) {
        *message = ErrnoText("write error");
        std::fclose(file);
        return false;
    }
    if (std::fclose(file) != 0) {
        *message = ErrnoText("write error");
        return false;
    }
    return true;
}

}  // namespace

bool ReadImage(const std::string& path, Image* out, std::string* error) {
    std::unique_ptr<FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        SetError(error, path, std::strerror(errno));
        return false;
    }
    unsigned char head[8] = {};
    size_t got = std::fread(head, 1, sizeof head, file.get());
    if (std::ferror(file.get())) {
        SetError(error, path, ErrnoText("read error"));
        return false;
    }
    bool png = got > 0 && png_sig_cmp(head, 0, got) == 0;
    bool jpeg = got >= 3 && head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF;
    if (!png && !jpeg) {
        SetError(error, path, "not a PNG or JPEG file");
        return false;
    }
    if (png && got < sizeof head) {
        SetError(error, path, "truncated PNG data");
        return false;
    }
    if (std::fseek(file.get(), 0, SEEK_SET) != 0) {
        SetError(error, path, ErrnoText("cannot seek"));
        return false;
    }

    Image img;
    std::string message;
    bool ok = false;
    try {
        ok = png ? ReadPng(file.get(), &img, &message) : ReadJpeg(file.get(), &img, &message);
    } catch (const std::bad_alloc&) {
        message = "not enough memory for the image";
    }
    if (!ok) {
        SetError(error, path, message);
        return false;
    }
    *out = std::move(img);
    return true;
}

bool WriteImage(const std::string& path, const Image& img, std::string* error, int jpegQuality) {
    Format format;
    if (!FormatOfPath(path, &format, error)) return false;
    if (img.width == 0 || img.height == 0) {
        SetError(error, path, "cannot write an empty image");
        return false;
    }
    if (img.pixels.size() != size_t(img.width) * img.height) {
        SetError(error, path,
                 "the image has " + std::to_string(img.pixels.size()) + " pixels, not " + std::to_string(img.width) +
                     " x " + std::to_string(img.height));
        return false;
    }
    if (format == Format::Jpeg && (jpegQuality < 1 || jpegQuality > 100)) {
        SetError(error, path, "JPEG quality " + std::to_string(jpegQuality) + " is outside 1..100");
        return false;
    }

    // Beside the target, so that the rename stays within one file system.
    std::string temp = path + ".tmp-XXXXXX";
    int fd = mkstemp(temp.data());
    if (fd < 0) {
        SetError(error, path, ErrnoText("cannot create a temporary file beside it"));
        return false;
    }
    std::string message;
    bool ok = false;
    // mkstemp makes the file private; give it the mode a plain fopen would. The umask can only be
    // read by setting it.
    mode_t mask = umask(0);
    umask(mask);
    FILE* file = fchmod(fd, 0666 & ~mask) == 0 ? fdopen(fd, "wb") : nullptr;
    if (!file) {
        message = ErrnoText("cannot open the temporary file");
        close(fd);
    } else {
        try {
            ok = format == Format::Png ? WritePng(file, img, &message) : WriteJpeg(file, img, jpegQuality, &message);
        } catch (const std::bad_alloc&) {
            message = "not enough memory";
        }
        if (ok)
            ok = FinishFile(file, &message);
        else
            std::fclose(file);
    }
    if (ok && std::rename(temp.c_str(), path.c_str()) != 0) {
        message = ErrnoText("cannot replace the file");
        ok = false;
    }
    if (!ok) {
        unlink(temp.c_str());
        SetError(error, path, message);
    }
    return ok;
}

}  // namespace ztio
