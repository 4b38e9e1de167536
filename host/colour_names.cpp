// The colour naming service: the name of the CSS named colour nearest to a colour, in English
// and in Czech, when one is near enough to deserve it.
#include <iterator>
#include <new>

#include "host/object.h"
#include "host/registry.h"
#include "host/zthost.h"

namespace zthost {
namespace {

struct NamedColour {
    uint32_t rgb;  // 0xRRGGBB
    const char16_t* english;
    const char16_t* czech;
};

// The named colours of CSS, in alphabetical order of their keywords. Where two keywords share a
// value (aqua and cyan, the gray and grey spellings) the first one is the name given.
constexpr NamedColour kColours[] = {
    {0xF0F8FF, u"Alice Blue", u"Alenčina modrá"},
    {0xFAEBD7, u"Antique White", u"Antická bílá"},
    {0x00FFFF, u"Aqua", u"Vodová"},
    {0x7FFFD4, u"Aquamarine", u"Akvamarínová"},
    {0xF0FFFF, u"Azure", u"Blankytná"},
    {0xF5F5DC, u"Beige", u"Béžová"},
    {0xFFE4C4, u"Bisque", u"Biskvitová"},
    {0x000000, u"Black", u"Černá"},
    {0xFFEBCD, u"Blanched Almond", u"Loupaná mandlová"},
    {0x0000FF, u"Blue", u"Modrá"},
    {0x8A2BE2, u"Blue Violet", u"Modrofialová"},
    {0xA52A2A, u"Brown", u"Hnědá"},
    {0xDEB887, u"Burlywood", u"Dřevěná hnědá"},
    {0x5F9EA0, u"Cadet Blue", u"Kadetní modrá"},
    {0x7FFF00, u"Chartreuse", u"Šartrézová"},
    {0xD2691E, u"Chocolate", u"Čokoládová"},
    {0xFF7F50, u"Coral", u"Korálová"},
    {0x6495ED, u"Cornflower Blue", u"Chrpově modrá"},
    {0xFFF8DC, u"Cornsilk", u"Kukuřičná"},
    {0xDC143C, u"Crimson", u"Karmínová"},
    {0x00FFFF, u"Cyan", u"Azurová"},
    {0x00008B, u"Dark Blue", u"Tmavě modrá"},
    {0x008B8B, u"Dark Cyan", u"Tmavě azurová"},
    {0xB8860B, u"Dark Goldenrod", u"Tmavě zlatobýlová"},
    {0xA9A9A9, u"Dark Gray", u"Tmavě šedá"},
    {0x006400, u"Dark Green", u"Tmavě zelená"},
    {0xA9A9A9, u"Dark Grey", u"Tmavě šedá"},
    {0xBDB76B, u"Dark Khaki", u"Tmavě khaki"},
    {0x8B008B, u"Dark Magenta", u"Tmavě purpurová"},
    {0x556B2F, u"Dark Olive Green", u"Tmavě olivově zelená"},
    {0xFF8C00, u"Dark Orange", u"Tmavě oranžová"},
    {0x9932CC, u"Dark Orchid", u"Tmavě orchidejová"},
    {0x8B0000, u"Dark Red", u"Tmavě červená"},
    {0xE9967A, u"Dark Salmon", u"Tmavě lososová"},
    {0x8FBC8F, u"Dark Sea Green", u"Tmavě mořská zelená"},
    {0x483D8B, u"Dark Slate Blue", u"Tmavě břidlicově modrá"},
    {0x2F4F4F, u"Dark Slate Gray", u"Tmavě břidlicově šedá"},
    {0x2F4F4F, u"Dark Slate Grey", u"Tmavě břidlicově šedá"},
    {0x00CED1, u"Dark Turquoise", u"Tmavě tyrkysová"},
    {0x9400D3, u"Dark Violet", u"Tmavě fialová"},
    {0xFF1493, u"Deep Pink", u"Sytě růžová"},
    {0x00BFFF, u"Deep Sky Blue", u"Sytě nebeská modrá"},
    {0x696969, u"Dim Gray", u"Mdle šedá"},
    {0x696969, u"Dim Grey", u"Mdle šedá"},
    {0x1E90FF, u"Dodger Blue", u"Zářivě modrá"},
    {0xB22222, u"Firebrick", u"Cihlová"},
    {0xFFFAF0, u"Floral White", u"Květinová bílá"},
    {0x228B22, u"Forest Green", u"Lesní zelená"},
    {0xFF00FF, u"Fuchsia", u"Fuchsiová"},
    {0xDCDCDC, u"Gainsboro", u"Gainsborská šedá"},
    {0xF8F8FF, u"Ghost White", u"Přízračně bílá"},
    {0xFFD700, u"Gold", u"Zlatá"},
    {0xDAA520, u"Goldenrod", u"Zlatobýlová"},
    {0x808080, u"Gray", u"Šedá"},
    {0x008000, u"Green", u"Zelená"},
    {0xADFF2F, u"Green Yellow", u"Zelenožlutá"},
    {0x808080, u"Grey", u"Šedá"},
    {0xF0FFF0, u"Honeydew", u"Medovicová"},
    {0xFF69B4, u"Hot Pink", u"Jasně růžová"},
    {0xCD5C5C, u"Indian Red", u"Indiánská červená"},
    {0x4B0082, u"Indigo", u"Indigová"},
    {0xFFFFF0, u"Ivory", u"Slonovinová"},
    {0xF0E68C, u"Khaki", u"Khaki"},
    {0xE6E6FA, u"Lavender", u"Levandulová"},
    {0xFFF0F5, u"Lavender Blush", u"Levandulově růžová"},
    {0x7CFC00, u"Lawn Green", u"Trávově zelená"},
    {0xFFFACD, u"Lemon Chiffon", u"Citronový šifon"},
    {0xADD8E6, u"Light Blue", u"Světle modrá"},
    {0xF08080, u"Light Coral", u"Světle korálová"},
    {0xE0FFFF, u"Light Cyan", u"Světle azurová"},
    {0xFAFAD2, u"Light Goldenrod Yellow", u"Světle zlatobýlově žlutá"},
    {0xD3D3D3, u"Light Gray", u"Světle šedá"},
    {0x90EE90, u"Light Green", u"Světle zelená"},
    {0xD3D3D3, u"Light Grey", u"Světle šedá"},
    {0xFFB6C1, u"Light Pink", u"Světle růžová"},
    {0xFFA07A, u"Light Salmon", u"Světle lososová"},
    {0x20B2AA, u"Light Sea Green", u"Světle mořská zelená"},
    {0x87CEFA, u"Light Sky Blue", u"Světle nebeská modrá"},
    {0x778899, u"Light Slate Gray", u"Světle břidlicově šedá"},
    {0x778899, u"Light Slate Grey", u"Světle břidlicově šedá"},
    {0xB0C4DE, u"Light Steel Blue", u"Světle ocelově modrá"},
    {0xFFFFE0, u"Light Yellow", u"Světle žlutá"},
    {0x00FF00, u"Lime", u"Limetková"},
    {0x32CD32, u"Lime Green", u"Limetkově zelená"},
    {0xFAF0E6, u"Linen", u"Lněná"},
    {0xFF00FF, u"Magenta", u"Purpurová"},
    {0x800000, u"Maroon", u"Kaštanová"},
    {0x66CDAA, u"Medium Aquamarine", u"Středně akvamarínová"},
    {0x0000CD, u"Medium Blue", u"Středně modrá"},
    {0xBA55D3, u"Medium Orchid", u"Středně orchidejová"},
    {0x9370DB, u"Medium Purple", u"Středně nachová"},
    {0x3CB371, u"Medium Sea Green", u"Středně mořská zelená"},
    {0x7B68EE, u"Medium Slate Blue", u"Středně břidlicově modrá"},
    {0x00FA9A, u"Medium Spring Green", u"Středně jarní zelená"},
    {0x48D1CC, u"Medium Turquoise", u"Středně tyrkysová"},
    {0xC71585, u"Medium Violet Red", u"Středně fialovočervená"},
    {0x191970, u"Midnight Blue", u"Půlnoční modrá"},
    {0xF5FFFA, u"Mint Cream", u"Mátová krémová"},
    {0xFFE4E1, u"Misty Rose", u"Mlhavě růžová"},
    {0xFFE4B5, u"Moccasin", u"Mokasínová"},
    {0xFFDEAD, u"Navajo White", u"Navažská bílá"},
    {0x000080, u"Navy", u"Námořnická modrá"},
    {0xFDF5E6, u"Old Lace", u"Stará krajka"},
    {0x808000, u"Olive", u"Olivová"},
    {0x6B8E23, u"Olive Drab", u"Zašle olivová"},
    {0xFFA500, u"Orange", u"Oranžová"},
    {0xFF4500, u"Orange Red", u"Oranžovočervená"},
    {0xDA70D6, u"Orchid", u"Orchidejová"},
    {0xEEE8AA, u"Pale Goldenrod", u"Bledě zlatobýlová"},
    {0x98FB98, u"Pale Green", u"Bledě zelená"},
    {0xAFEEEE, u"Pale Turquoise", u"Bledě tyrkysová"},
    {0xDB7093, u"Pale Violet Red", u"Bledě fialovočervená"},
    {0xFFEFD5, u"Papaya Whip", u"Papájová šlehačka"},
    {0xFFDAB9, u"Peach Puff", u"Broskvová"},
    {0xCD853F, u"Peru", u"Peruánská hnědá"},
    {0xFFC0CB, u"Pink", u"Růžová"},
    {0xDDA0DD, u"Plum", u"Švestková"},
    {0xB0E0E6, u"Powder Blue", u"Pudrově modrá"},
    {0x800080, u"Purple", u"Nachová"},
    {0x663399, u"Rebecca Purple", u"Rebečina nachová"},
    {0xFF0000, u"Red", u"Červená"},
    {0xBC8F8F, u"Rosy Brown", u"Růžovohnědá"},
    {0x4169E1, u"Royal Blue", u"Královská modrá"},
    {0x8B4513, u"Saddle Brown", u"Sedlově hnědá"},
    {0xFA8072, u"Salmon", u"Lososová"},
    {0xF4A460, u"Sandy Brown", u"Písková hnědá"},
    {0x2E8B57, u"Sea Green", u"Mořská zelená"},
    {0xFFF5EE, u"Seashell", u"Mušlová"},
    {0xA0522D, u"Sienna", u"Sienová"},
    {0xC0C0C0, u"Silver", u"Stříbrná"},
    {0x87CEEB, u"Sky Blue", u"Nebeská modrá"},
    {0x6A5ACD, u"Slate Blue", u"Břidlicově modrá"},
    {0x708090, u"Slate Gray", u"Břidlicově šedá"},
    {0x708090, u"Slate Grey", u"Břidlicově šedá"},
    {0xFFFAFA, u"Snow", u"Sněhová"},
    {0x00FF7F, u"Spring Green", u"Jarní zelená"},
    {0x4682B4, u"Steel Blue", u"Ocelově modrá"},
    {0xD2B48C, u"Tan", u"Tříslová"},
    {0x008080, u"Teal", u"Modrozelená"},
    {0xD8BFD8, u"Thistle", u"Bodláková"},
    {0xFF6347, u"Tomato", u"Rajčatová"},
    {0x40E0D0, u"Turquoise", u"Tyrkysová"},
    {0xEE82EE, u"Violet", u"Fialová"},
    {0xF5DEB3, u"Wheat", u"Pšeničná"},
    {0xFFFFFF, u"White", u"Bílá"},
    {0xF5F5F5, u"White Smoke", u"Kouřově bílá"},
    {0xFFFF00, u"Yellow", u"Žlutá"},
    {0x9ACD32, u"Yellow Green", u"Žlutozelená"},
};
static_assert(std::size(kColours) == 148);

// A colour gets a name only within this Euclidean distance, in byte units of red, green and
// blue: near enough that the name still describes the colour. Farther away the service gives
// no name rather than one the colour merely resembles.
constexpr int kMaxDistance = 24;

class ColourName : public ILocalizedString {
public:
    explicit ColourName(const NamedColour& aColour) : colour_(aColour) {}

    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ILocalizedString>(this, aIID); }

    HRESULT Get(ZTBSTR* aText) override { return GetLocalized(Language(), aText); }

    HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) override {
        if (!aText) return E_POINTER;
        *aText = ZTStrAlloc((aLanguage & 0xFFFF) == LANG_CZECH ? colour_.czech : colour_.english);
        return *aText ? S_OK : E_OUTOFMEMORY;
    }

private:
    const NamedColour& colour_;
};

class ColorNameProvider : public IColorNameProvider {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IColorNameProvider>(this, aIID); }

    HRESULT ColorName(uint32_t aColor, ILocalizedString** aName) override {
        if (!aName) return E_POINTER;
        *aName = nullptr;
        const int r = aColor & 0xFF, g = aColor >> 8 & 0xFF, b = aColor >> 16 & 0xFF;
        const NamedColour* nearest = nullptr;
        int best = kMaxDistance * kMaxDistance + 1;
        for (const auto& c : kColours) {
            const int dr = r - int(c.rgb >> 16), dg = g - int(c.rgb >> 8 & 0xFF), db = b - int(c.rgb & 0xFF);
            const int distance = dr * dr + dg * dg + db * db;
            if (distance < best) {
                best = distance;
                nearest = &c;
            }
        }
        if (!nearest) return S_FALSE;
        *aName = new (std::nothrow) HeapObject<ColourName>(*nearest);
        return *aName ? S_OK : E_OUTOFMEMORY;
    }
};

}  // namespace

HRESULT CreateColorNameProvider(const IID& aIID, void** aOut) {
    static StaticObject<ColorNameProvider> provider;
    return provider.QueryInterface(aIID, aOut);
}

}  // namespace zthost
