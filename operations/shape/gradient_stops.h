// Colour gradients as maps of stops: their text ("%i,%g,%g,%g,%g;" per stop) and clipboard
// form ("ZTGRAD1:" and the text), normalisation, the commands of the gradient control, and
// the colour table that operations sample.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zt {

// A stop's colour in linear light, 0 .. 1, and its alpha.
struct SGradientStop {
    uint32_t zero = 0;
    float r = 0, g = 0, b = 0, a = 0;
};
inline bool operator==(const SGradientStop& x, const SGradientStop& y) {
    return x.r == y.r && x.g == y.g && x.b == y.b && x.a == y.a;
}

// Position 0 .. 65535 to stop.
using TGradient = std::map<uint16_t, SGradientStop>;

constexpr uint32_t kGradientEnd = 65535;

// Reads stops from a text until it ends or stops making sense; a position already read is
// overwritten. No normalisation.
TGradient ReadGradientStops(std::u16string_view aText);
// Fewer than two stops: black at 0 and white at 65535, both opaque; otherwise copies of the
// first and the last stop at 0 and at 65535 where there are none.
void NormaliseGradient(TGradient& aGradient);
// Both of the above.
TGradient ParseGradient(std::u16string_view aText);

std::u16string GradientText(const TGradient& aGradient);
std::u16string GradientClipboardText(const TGradient& aGradient);
// The stops of a clipboard text, when it starts with "ZTGRAD1:" and holds two stops at least.
bool PasteGradient(std::u16string_view aClipboard, TGradient* aGradient);

// The commands of the gradient control. The removals leave a normalised gradient.
void ReverseGradient(TGradient& aGradient);
void MirrorGradient(TGradient& aGradient);
void RemoveGradientStop(TGradient& aGradient, uint16_t aPosition);
void RemoveGradientStopsLeft(TGradient& aGradient, uint16_t aPosition);
void RemoveGradientStopsRight(TGradient& aGradient, uint16_t aPosition);

// aCount entries (two at least) sampled evenly from 0 to 65535, the colour interpolated
// weighted by alpha. The gradient must be normalised.
std::vector<SGradientStop> GradientToTable(const TGradient& aGradient, uint32_t aCount);

}  // namespace zt
