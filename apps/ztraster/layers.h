// Layered documents on the command line: --layer FILE[@X,Y] (repeated) builds a layered image
// whose layers are raster documents; the result is written one file per layer (an OUTPUT
// with %d, numbered from 0 bottom up) or, with --flatten, as one image.
#pragma once

#include <string>
#include <vector>

#include "frame/operation.h"

namespace ztcli {

struct LayerOption {
    std::string file;
    int32_t x = 0, y = 0;
};

// Ends the command with a usage error that names what was wrong.
LayerOption ParseLayer(const std::string& aText);

struct LayeredInput {
    ComPtr<IDocument> document;             // the layered image
    std::vector<ComPtr<IDocument>> layers;  // its raster layers, bottom first
};

// Reads the files; each layer's canvas is aCanvas when given, otherwise its image's size.
LayeredInput MakeLayeredInput(const std::vector<LayerOption>& aLayers, const TImageSize* aCanvas,
                              TPixelChannel aDefault, float aGamma);

// Writes the canvas (or the content) of every layer to aPattern with %d replaced by the
// layer's index, or all layers composited over each other into aPattern.
void WriteLayers(const std::string& aPattern, const std::vector<ComPtr<IDocument>>& aLayers, bool aFlatten,
                 bool aContentRegion);

}  // namespace ztcli
