#include "KvCpu.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

// The override may only lower the level; it never raises it above what the
// CPU offers, so a fast path can not run on a CPU that lacks it.
TEST(KvCpu, OverrideIsClampedToTheCpuAndResets)
{
    const KvCpuLevel supported = KvCpuSupported();
    const KvCpuLevel before = KvCpuActive();
    for (KvCpuLevel want : {KvCpuLevel::Baseline, KvCpuLevel::Avx2, KvCpuLevel::Avx512}) {
        const KvCpuLevel got = KvCpuOverride(want);
        EXPECT_LE(static_cast<int>(got), static_cast<int>(supported));
        EXPECT_LE(static_cast<int>(got), static_cast<int>(want));
        EXPECT_EQ(got, KvCpuActive());
    }
    EXPECT_EQ(KvCpuLevel::Baseline, KvCpuOverride(KvCpuLevel::Baseline));
    KvCpuResetOverride();
    EXPECT_EQ(before, KvCpuActive());
    EXPECT_STREQ("avx512", KvCpuLevelName(KvCpuLevel::Avx512));
}

// CTest runs this once more with KV_CPU=baseline (see tests/CMakeLists.txt):
// the variable lowers the level before any override.
TEST(KvCpu, EnvironmentLowersTheLevel)
{
    const char* value = std::getenv("KV_CPU");
    if (value == nullptr || std::string(value) != "baseline")
        GTEST_SKIP() << "needs KV_CPU=baseline";
    EXPECT_EQ(KvCpuLevel::Baseline, KvCpuActive());
}
