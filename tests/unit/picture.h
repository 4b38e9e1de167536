// Expected images as pictures: one string per row, one word per pixel. A palette names the
// colours a test knows ("." for the transparent 0); a named colour at another alpha is its
// name and the alpha in two hex digits ("R31"); any other pixel is its eight hex digits
// AARRGGBB. Comparing pictures shows a wrong pixel in its place.
#pragma once

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace pictest {

struct SName {
    const char* name;
    uint32_t pixel;  // 0xAARRGGBB
};
using Palette = std::vector<SName>;

inline std::string Word(uint32_t aPixel, const Palette& aPalette) {
    for (const SName& n : aPalette)
        if (n.pixel == aPixel) return n.name;
    char text[16];
    for (const SName& n : aPalette) {
        if ((n.pixel & 0xFFFFFF) == (aPixel & 0xFFFFFF) && (n.pixel >> 24) == 0xFF) {
            std::snprintf(text, sizeof text, "%s%02X", n.name, aPixel >> 24);
            return text;
        }
    }
    std::snprintf(text, sizeof text, "%08X", aPixel);
    return text;
}

inline uint32_t PixelOf(const std::string& aWord, const Palette& aPalette) {
    for (const SName& n : aPalette)
        if (aWord == n.name) return n.pixel;
    for (const SName& n : aPalette) {
        const std::string name = n.name;
        if (aWord.size() == name.size() + 2 && aWord.compare(0, name.size(), name) == 0 && (n.pixel >> 24) == 0xFF)
            return (std::stoul(aWord.substr(name.size()), nullptr, 16) << 24) | (n.pixel & 0xFFFFFF);
    }
    if (aWord.size() != 8) throw std::invalid_argument("not a pixel word: " + aWord);
    return static_cast<uint32_t>(std::stoul(aWord, nullptr, 16));
}

// The pixels as rows of words in aligned columns, one row per line.
inline std::string Picture(const std::vector<uint32_t>& aPixels, uint32_t aWidth, const Palette& aPalette) {
    std::vector<std::string> words;
    size_t column = 1;
    for (uint32_t p : aPixels) {
        words.push_back(Word(p, aPalette));
        column = std::max(column, words.back().size());
    }
    std::string s;
    for (size_t i = 0; i < words.size(); ++i) {
        s += words[i];
        const bool last = (i + 1) % aWidth == 0 || i + 1 == words.size();
        s += last ? "\n" : std::string(column + 1 - words[i].size(), ' ');
    }
    return s;
}

// A picture as written in a test, spaced at will, read back and shown as Picture shows it.
inline std::string Picture(const std::vector<std::string>& aRows, const Palette& aPalette) {
    std::vector<uint32_t> pixels;
    size_t width = 0;
    for (const std::string& row : aRows) {
        std::istringstream words(row);
        size_t n = 0;
        for (std::string w; words >> w; ++n) pixels.push_back(PixelOf(w, aPalette));
        if (width && n != width) throw std::invalid_argument("rows of different lengths");
        width = n;
    }
    return Picture(pixels, uint32_t(width), aPalette);
}

}  // namespace pictest
