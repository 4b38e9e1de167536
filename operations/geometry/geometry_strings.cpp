#include "operations/geometry/geometry_strings.h"

namespace zt {

namespace {
const SStringEntry kStrings[] = {
    {IDS_NAME_RESAMPLE, u"Raster Image - Resample", u"Rastrový obrázek - Převzorkování"},
    {IDS_NAME_ROTATE, u"Raster Image - Rotate", u"Rastrový obrázek - Otočení"},
    {IDS_NAME_PERSPECTIVE, u"Raster Image - Transform", u"Rastrový obrázek - Transformace"},
    {IDS_NAME_POLAR, u"Raster Image - Polar Transformation", u"Rastrový obrázek - Polární transformace"},
    {IDS_NAME_CANVASSIZE, u"Raster Image - Canvas Size", u"Rastrový obrázek - Velikost plátna"},
    {IDS_NAME_REMOVEBORDER, u"Raster Image - Remove Empty Border", u"Rastrový obrázek - Odstranění prázdného okraje"},
};
}  // namespace

std::span<const SStringEntry> GeometryStrings() { return kStrings; }

}  // namespace zt
