#include "operations/shape/bevel_model.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zt {

namespace {

uint32_t U32(const uint8_t* aAt) {
    return uint32_t(aAt[0]) | uint32_t(aAt[1]) << 8 | uint32_t(aAt[2]) << 16 | uint32_t(aAt[3]) << 24;
}

float F32(const uint8_t* aAt) {
    const uint32_t bits = U32(aAt);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// trunc(v) held inside 32 bits; what is not a number gives 0.
int32_t Truncate(float aValue) {
    if (!(aValue == aValue)) return 0;
    if (aValue <= -2147483648.0f) return INT32_MIN;
    if (aValue >= 2147483647.0f) return INT32_MAX;
    return static_cast<int32_t>(aValue);
}

}  // namespace

bool ReadIbtModel(const uint8_t* aData, size_t aSize, SIbtModel* aModel) {
    if (!aData || aSize < 16 || std::memcmp(aData, "IBT1", 4) != 0) return false;
    const uint64_t size = U32(aData + 4), V = U32(aData + 8), T = U32(aData + 12);
    if (size < 16 || size > aSize || 16 + 32 * V + 12 * T > size) return false;
    SIbtModel model;
    model.block.assign(aData, aData + size);
    const uint8_t* at = model.block.data() + 16;
    model.vertices.resize(size_t(V));
    for (SIbtVertex& v : model.vertices) {
        for (int i = 0; i < 3; ++i) v.position[i] = F32(at + 4 * i);
        for (int i = 0; i < 3; ++i) v.normal[i] = F32(at + 12 + 4 * i);
        for (int i = 0; i < 4; ++i) v.colour[i] = uint16_t(at[24 + 2 * i] | at[25 + 2 * i] << 8);
        at += 32;
        const float* p = v.position;
        model.radius = std::max(model.radius, std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]));
    }
    model.triangles.resize(size_t(T) * 3);
    for (uint32_t& index : model.triangles) {
        index = U32(at);
        at += 4;
        if (index >= V) return false;
    }
    *aModel = std::move(model);
    return true;
}

std::vector<SPaintTriangle> PaintModel(const SIbtModel& aModel, const float aRotation[4], int32_t aWidth,
                                       int32_t aHeight) {
    const float x = aRotation[0], y = aRotation[1], z = aRotation[2], w = aRotation[3];
    // The rows of the rotation; the third is the light vector's form.
    const float r[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)},
                           {2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)},
                           {2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)}};
    auto dot = [](const float* aRow, const float* aV) { return aRow[0] * aV[0] + aRow[1] * aV[1] + aRow[2] * aV[2]; };
    const float R = aModel.radius > 0 ? aModel.radius : 1.0f;
    const int32_t hw = aWidth / 2, hh = aHeight / 2;
    const float scale = float(std::min(hw, hh)) / R * 4.0f;

    struct SCorner {
        int32_t x, y;
        float depth;
        uint16_t colour[4];
    };
    std::vector<SCorner> corners(aModel.vertices.size());
    for (size_t i = 0; i < corners.size(); ++i) {
        const SIbtVertex& v = aModel.vertices[i];
        SCorner& c = corners[i];
        c.depth = -dot(r[2], v.position) / R;
        c.x = int32_t(int64_t(Truncate(dot(r[0], v.position) / (c.depth + 5) * scale)) + hw);
        c.y = int32_t(hh - int64_t(Truncate(dot(r[1], v.position) / (c.depth + 5) * scale)));
        // As an unsigned value: a negative light wraps round to the top, as it always has.
        const uint32_t i16 =
            std::min<uint32_t>(uint32_t(Truncate((0.7f * dot(r[2], v.normal) + 0.3f) * 65535.0f)), 65535);
        for (int k = 0; k < 3; ++k) c.colour[k] = uint16_t(uint32_t(v.colour[k]) * i16 >> 16);
        c.colour[3] = v.colour[3];
    }

    std::vector<std::pair<float, SPaintTriangle>> shown;
    for (size_t t = 0; t + 2 < aModel.triangles.size(); t += 3) {
        const SCorner* p[3] = {&corners[aModel.triangles[t]], &corners[aModel.triangles[t + 1]],
                               &corners[aModel.triangles[t + 2]]};
        // Screen y runs down: a triangle that turns counter-clockwise in the model faces the
        // eye when its screen area is negative.
        const int64_t area =
            int64_t(p[1]->x - p[0]->x) * (p[2]->y - p[0]->y) - int64_t(p[1]->y - p[0]->y) * (p[2]->x - p[0]->x);
        if (area >= 0) continue;
        SPaintTriangle tri;
        for (int k = 0; k < 3; ++k) {
            tri.x[k] = p[k]->x;
            tri.y[k] = p[k]->y;
            std::copy(p[k]->colour, p[k]->colour + 4, tri.colour[k]);
        }
        shown.push_back({p[0]->depth + p[1]->depth + p[2]->depth, tri});
    }
    std::stable_sort(shown.begin(), shown.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<SPaintTriangle> out;
    for (const auto& s : shown) out.push_back(s.second);
    return out;
}

}  // namespace zt
