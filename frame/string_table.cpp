#include "frame/string_table.h"

namespace zt {

namespace {
const SStringEntry kStrings[] = {
    {IDS_NAME_SHIFTHUE, u"Raster Image - Shift Hue", u"Rastrový obrázek - Posun odstínu"},
};
}  // namespace

std::span<const SStringEntry> StringTable() { return kStrings; }

}  // namespace zt
