#include "operations/colour/colour_strings.h"

namespace zt {

namespace {
const SStringEntry kStrings[] = {
    {IDS_NAME_SHIFTHUE, u"Raster Image - Shift Hue", u"Rastrový obrázek - Posun odstínu"},
};
}  // namespace

std::span<const SStringEntry> ColourStrings() { return kStrings; }

}  // namespace zt
