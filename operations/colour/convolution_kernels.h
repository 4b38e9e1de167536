// The convolution matrix text, the two filters, the premultiplied round trip, and the
// formulas of the standard effects "Sharpen" and "Soften".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/host.h"

namespace zt {

struct SConvolutionMatrix {
    uint32_t width = 0, height = 0;
    std::vector<float> values;  // row-major
};

// Numbers separated by blanks or tabs, rows by line ends. False when the text is not a
// matrix with odd width and height (an empty text has no width and fails).
bool ParseConvolutionMatrix(std::u16string_view aText, SConvolutionMatrix* aMatrix);

// The largest side the operation accepts is 31.
constexpr uint32_t kConvolutionLimit = 32;

void PremultiplyPixels(TPixelChannel* aPixels, size_t aCount);
void UnpremultiplyPixels(TPixelChannel* aPixels, size_t aCount);

// All four channels of premultiplied pixels; edge pixels repeat.
void ConvolveFull(const TPixelChannel* aSource, TPixelChannel* aTarget, uint32_t aWidth, uint32_t aHeight,
                  const SConvolutionMatrix& aMatrix, float aDiv, float aBias);
// Colours only, of straight pixels; pixels of alpha 0 are copied.
void ConvolveColour(const TPixelChannel* aSource, TPixelChannel* aTarget, uint32_t aWidth, uint32_t aHeight,
                    const SConvolutionMatrix& aMatrix, float aDiv, float aBias);

// The standard effects of the window, from a strength slider at 0 .. 40.
enum class EConvolutionEffect { none, sharpen, soften };
struct SConvolutionSettings {
    std::u16string matrix;
    float div;
    float bias;
};
SConvolutionSettings ConvolutionEffectSettings(EConvolutionEffect aEffect, int32_t aPosition);
// Which standard effect a matrix, divisor and bias are (the test of the preview name).
EConvolutionEffect RecogniseConvolutionEffect(std::u16string_view aMatrix, float aDiv, float aBias);
// The slider position that gives aDiv for an effect.
int32_t ConvolutionEffectPosition(EConvolutionEffect aEffect, float aDiv);

}  // namespace zt
