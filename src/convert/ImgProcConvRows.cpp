#include "ImgProcConvRows.h"

#include <cstring>
#include <vector>

namespace {

struct sLevels {
    sConvRowBodies level[3];
    sLevels()
    {
        std::memset(level, 0, sizeof level);
        ConvRowBodiesAvx2(&level[1]);
        // The wide level starts from the narrow one and replaces what it
        // does better.
        level[2] = level[1];
        ConvRowBodiesAvx512(&level[2]);
    }
};

// Register forms of the rounded rescales x * 255 / max + 0.5, found by
// search and checked against the tables whenever they are built.
const sConvRescale kRescales[] = {
    {32672, 1, 1, 1023},
    {8162, 1, 1, 4095},
    {16321, 8, 4, 16383},
    {65281, 128, 8, 65535},
};
const int kRescaleCount = sizeof kRescales / sizeof kRescales[0];

// The entries each register form gives, for a plain comparison with a table.
struct sRescaleTables {
    std::vector<uint16_t> entries[kRescaleCount];
    sRescaleTables()
    {
        for (int k = 0; k < kRescaleCount; ++k) {
            const sConvRescale& r = kRescales[k];
            entries[k].resize(static_cast<size_t>(r.max) + 1);
            for (uint32_t x = 0; x <= r.max; ++x)
                entries[k][x] = static_cast<uint16_t>((((x * r.mul) >> 16) + r.add) >> r.shift);
        }
    }
};

}  // namespace

const sConvRowBodies& ConvRowBodies(KvCpuLevel level)
{
    static const sLevels levels;
    return levels.level[static_cast<int>(level)];
}

namespace {

bool IsIdentity8(const uint16_t* lut)
{
    static const struct sIdentity {
        uint16_t entries[256];
        sIdentity()
        {
            for (int i = 0; i < 256; ++i)
                entries[i] = static_cast<uint16_t>(i);
        }
    } identity;
    return std::memcmp(lut, identity.entries, sizeof identity.entries) == 0;
}

bool IsRescale8(const uint16_t* lut, int32_t srcMax, sConvRescale* r)
{
    for (int k = 0; k < kRescaleCount; ++k) {
        if (kRescales[k].max != srcMax)
            continue;
        static const sRescaleTables tables;
        const std::vector<uint16_t>& expected = tables.entries[k];
        if (std::memcmp(lut, expected.data(), expected.size() * sizeof(uint16_t)) != 0)
            return false;
        *r = kRescales[k];
        return true;
    }
    return false;
}

}  // namespace

bool ConvRescaleOf(int32_t srcMax, sConvRescale* r)
{
    for (const sConvRescale& form : kRescales) {
        if (form.max == srcMax) {
            *r = form;
            return true;
        }
    }
    return false;
}

sConvLutShape ConvLutShapeOf(const uint16_t* const lut[3], int32_t srcMax)
{
    sConvLutShape shape = {};
    shape.srcMax = srcMax;
    for (int k = 0; k < 3; ++k) {
        shape.identity8[k] = IsIdentity8(lut[k]);
        bool identity = srcMax >= 0 && srcMax <= 65535;
        for (int32_t i = 0; identity && i <= srcMax; ++i)
            identity = lut[k][i] == i;
        shape.identity[k] = identity;
        shape.rescale8[k] = IsRescale8(lut[k], srcMax, &shape.rescale);
    }
    return shape;
}
