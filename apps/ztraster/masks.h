// The selection mask of the command line: --mask FILE[@X,Y] and --mask-rect X,Y,W,H become a
// mask state in the run's context, under the name that the operation's configuration gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/operation.h"

namespace ztcli {

struct MaskOption {
    bool rectangle = false;
    std::string file;  // a grey image: white selects; transparency deselects
    int32_t x = 0, y = 0;
    uint32_t width = 0, height = 0;
};

// Both end the command with a usage error that names what was wrong.
MaskOption ParseMaskFile(const std::string& aText);
MaskOption ParseMaskRect(const std::string& aText);

// The name of the mask state: the string of "MaskID" or "SelectionSync" when the configuration
// has one, otherwise "IMAGEMASK".
std::u16string MaskStateName(IConfig* aConfig);

// Makes the mask state of the last option (a file is read here) and sets it in the context.
void InstallMasks(const std::vector<MaskOption>& aMasks, IConfig* aConfig, IOperationContext* aContext);

// A mask byte from an image pixel: the luma (77 R + 150 G + 29 B) >> 8, times alpha / 255.
uint8_t MaskByteOf(TPixelChannel aPixel);

}  // namespace ztcli
