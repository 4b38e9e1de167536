#include "operations/colour/colour_strings.h"

namespace zt {

namespace {
const SStringEntry kStrings[] = {
    {IDS_NAME_SHIFTHUE, u"Raster Image - Shift Hue", u"Rastrový obrázek - Posun odstínu"},
    {IDS_NAME_COLORIZE, u"Raster Image - Colorize", u"Rastrový obrázek - Obarvení"},
    {IDS_NAME_COLORTRANSFORMATIONS, u"Raster Image - Color Adjustments", u"Rastrový obrázek - Úpravy barev"},
    {IDS_NAME_BACKGROUNDBLEND, u"Raster Image - Blend with Background", u"Rastrový obrázek - Smíchání s pozadím"},
    {IDS_NAME_FADE, u"Raster Image - Fade", u"Rastrový obrázek - Zeslabení"},
    {IDS_NAME_REDUCECOLORS, u"Raster Image - Reduce Colors", u"Rastrový obrázek - Snížení počtu barev"},
    {IDS_NAME_CONVOLUTION, u"Custom convolution filter", u"Vlastní konvoluční filtr"},
};
}  // namespace

std::span<const SStringEntry> ColourStrings() { return kStrings; }

}  // namespace zt
