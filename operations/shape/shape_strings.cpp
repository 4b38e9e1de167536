#include "operations/shape/shape_strings.h"

namespace zt {

namespace {
const SStringEntry kStrings[] = {
    {IDS_NAME_DROPSHADOW, u"Raster Image - Drop Shadow", u"Rastrový obrázek - Vržený stín"},
    {IDS_NAME_OUTLINES, u"Raster Image - Outline", u"Rastrový obrázek - Obrys"},
    {IDS_NAME_AUTOMASK, u"Raster Image - Mask", u"Rastrový obrázek - Maska"},
    {IDS_NAME_MODIFYMASK, u"Raster Image - Modify Mask", u"Rastrový obrázek - Úprava masky"},
    {IDS_NAME_LONGSHADOW, u"Raster Image - Long shadow", u"Rastrový obrázek - Dlouhý stín"},
    {IDS_NAME_SATIN, u"Raster Image - Satin", u"Rastrový obrázek - Satén"},
    {IDS_NAME_BEVEL, u"Raster Image - Bevel", u"Rastrový obrázek - Reliéf"},
    {IDS_NAME_PROJECTEDSHADOW, u"Raster Image - Projected Shadow", u"Rastrový obrázek - Promítnutý stín"},
    {IDS_NAME_CONTOURGRADIENT, u"Raster Image - Shape gradient", u"Rastrový obrázek - Přechod podle tvaru"},
};
}  // namespace

std::span<const SStringEntry> ShapeStrings() { return kStrings; }

}  // namespace zt
