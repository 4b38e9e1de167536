// The model of the light-direction control: the "IBT1" format (a little-endian block of
// vertices with normals and colours, and triangles), its reader, and what the control paints
// for a rotation: the triangles facing the eye, lit and projected, farthest first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zt {

// The module's own model: a bevelled disc, 48 vertices, 40 triangles.
extern const uint8_t kBevelModel[2032];

struct SIbtVertex {
    float position[3];
    float normal[3];
    uint16_t colour[4];  // red, green, blue, alpha; 0xFFFF full
};

struct SIbtModel {
    std::vector<uint8_t> block;  // the file as read
    std::vector<SIbtVertex> vertices;
    std::vector<uint32_t> triangles;  // three vertex indices each
    float radius = 0;                 // the longest position vector
};

// Reads a block: the magic "IBT1" and a size field of 16 at least, as the format asks; and,
// so that nothing reads beyond it, counts that fit the block and indices of vertices it has.
// False leaves the model as it was.
bool ReadIbtModel(const uint8_t* aData, size_t aSize, SIbtModel* aModel);

// One triangle to paint: screen points and the lit colours of its corners.
struct SPaintTriangle {
    int32_t x[3], y[3];
    uint16_t colour[3][4];
};

// The triangles of the model seen through the rotation (x, y, z, w) in a client area of
// aWidth x aHeight: perspective with the eye at 5, lit by 0.7 x the turned normal's depth
// component + 0.3, back faces dropped, sorted by the sum of depths, largest first.
std::vector<SPaintTriangle> PaintModel(const SIbtModel& aModel, const float aRotation[4], int32_t aWidth,
                                       int32_t aHeight);

}  // namespace zt
