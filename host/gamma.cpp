// The gamma service: sRGB tables computed once and shared read-only by every thread.
#include <cmath>

#include "frame/host.h"
#include "host/object.h"
#include "host/registry.h"

namespace zthost {
namespace {

// The published fast float-to-sRGB8 table: 104 segments of 8 per octave from 2^-13 up to 1,
// the bias of each straight line in the high 16 bits, its slope in the low 16 bits.
constexpr uint32_t kFloatToSRGB8[104] = {
    0x0073000d, 0x007a000d, 0x0080000d, 0x0087000d, 0x008d000d, 0x0094000d, 0x009a000d, 0x00a1000d, 0x00a7001a,
    0x00b4001a, 0x00c1001a, 0x00ce001a, 0x00da001a, 0x00e7001a, 0x00f4001a, 0x0101001a, 0x010e0033, 0x01280033,
    0x01410033, 0x015b0033, 0x01750033, 0x018f0033, 0x01a80033, 0x01c20033, 0x01dc0067, 0x020f0067, 0x02430067,
    0x02760067, 0x02aa0067, 0x02dd0067, 0x03110067, 0x03440067, 0x037800ce, 0x03df00ce, 0x044600ce, 0x04ad00ce,
    0x051400ce, 0x057b00c5, 0x05dd00bc, 0x063b00b5, 0x06970158, 0x07420142, 0x07e30130, 0x087b0120, 0x090b0112,
    0x09940106, 0x0a1700fc, 0x0a9500f2, 0x0b0f01cb, 0x0bf401ae, 0x0ccb0195, 0x0d950180, 0x0e56016e, 0x0f0d015e,
    0x0fbc0150, 0x10630143, 0x11070264, 0x1238023e, 0x1357021d, 0x14660201, 0x156601e9, 0x165a01d3, 0x174401c0,
    0x182401af, 0x18fe0331, 0x1a9602fe, 0x1c1502d2, 0x1d7e02ad, 0x1ed4028d, 0x201a0270, 0x21520256, 0x227d0240,
    0x239f0443, 0x25c003fe, 0x27bf03c4, 0x29a10392, 0x2b6a0367, 0x2d1d0341, 0x2ebe031f, 0x304d0300, 0x31d105b0,
    0x34a80555, 0x37520507, 0x39d504c5, 0x3c37048b, 0x3e7c0458, 0x40a8042a, 0x42bd0401, 0x44c20798, 0x488e071e,
    0x4c1c06b6, 0x4f76065d, 0x52a50610, 0x55ac05cc, 0x5892058f, 0x5b590559, 0x5e0c0a23, 0x631c0980, 0x67db08f6,
    0x6c55087f, 0x70940818, 0x74a007bd, 0x787d076c, 0x7c330723,
};

double SRGBToLinear(double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }

double LinearToSRGB(double x) { return x <= 0.0031308 ? x * 12.92 : std::pow(x, 0.41666666) * 1.055 - 0.055; }

class GammaTableCache : public IGammaTableCache {
public:
    GammaTableCache() {
        for (int i = 0; i < 256; ++i) {
            table_[i] = static_cast<uint16_t>(SRGBToLinear(i / 255.0) * 65535 + 0.5);
            // The inverse half is scaled to 255 * 256 and rounded with an offset of half a byte, so
            // that the interpolation of LinearToSRGB8 brings every byte back; the plain 65535
            // scale with + 0.5 loses most of the darkest bytes.
            table_[256 + i] = static_cast<uint16_t>(LinearToSRGB(i * 256 / 65535.0) * 65280 + 128.5);
            float_.toLinear[i] = static_cast<float>(SRGBToLinear(i / 255.0));
        }
        table_[512] = 65535;
        for (int i = 0; i < 104; ++i) float_.encoder[i] = kFloatToSRGB8[i];
    }

    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IGammaTableCache>(this, aIID); }

    const uint16_t* GetSRGBTable() override { return table_; }
    const TSRGBFloatRecord* GetSRGBFloatTable() override { return &float_; }

private:
    uint16_t table_[513];
    TSRGBFloatRecord float_;
};

}  // namespace

HRESULT CreateGammaTableCache(const IID& aIID, void** aOut) {
    static StaticObject<GammaTableCache> cache;
    return cache.QueryInterface(aIID, aOut);
}

}  // namespace zthost
