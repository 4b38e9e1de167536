// Reading and writing the image files the command line works on: PNG through libpng and
// JPEG through libjpeg-turbo, always as 8-bit straight-alpha pixels.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ztio {

struct Image {
    uint32_t width = 0, height = 0;
    std::vector<uint32_t> pixels;  // 0xAARRGGBB, straight alpha, rows tight
    bool hasResolution = false;
    double dpiX = 0, dpiY = 0;
};

// Reads a PNG or a JPEG file, told apart by its first bytes. Every PNG colour type and depth
// becomes 8-bit RGBA (16-bit samples rounded to the nearest 8-bit value); JPEG becomes opaque.
// Images of more than 2^31 pixels are refused. On failure *out is left alone and *error holds
// a message that starts with the path.
bool ReadImage(const std::string& path, Image* out, std::string* error);

// Writes 8-bit RGBA PNG or RGB JPEG (alpha dropped), chosen by the extension .png, .jpg or .jpeg
// in any case. The file is replaced atomically: after a failure an existing file is unchanged
// and no temporary file remains.
bool WriteImage(const std::string& path, const Image& img, std::string* error, int jpegQuality = 92);

}  // namespace ztio
