#include "operations/blur/blur_strings.h"

namespace zt {

namespace {
const SStringEntry kStrings[] = {
    {IDS_NAME_BLUR, u"Raster Image - Blur", u"Rastrový obrázek - Rozostření"},
};
}  // namespace

std::span<const SStringEntry> BlurStrings() { return kStrings; }

}  // namespace zt
