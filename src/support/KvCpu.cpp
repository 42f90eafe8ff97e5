#include "KvCpu.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

KvCpuLevel ProbeCpu()
{
    __builtin_cpu_init();
    // __builtin_cpu_supports also checks that the operating system saves the
    // vector state (XGETBV), so a feature reported here can be used.
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
        __builtin_cpu_supports("avx2")) {
        return KvCpuLevel::Avx512;
    }
    if (__builtin_cpu_supports("avx2")) {
        return KvCpuLevel::Avx2;
    }
    return KvCpuLevel::Baseline;
}

KvCpuLevel Lower(KvCpuLevel a, KvCpuLevel b)
{
    return static_cast<int>(a) < static_cast<int>(b) ? a : b;
}

// KV_CPU is a test and diagnosis knob, not configuration: it can only lower
// the level, and an unknown value is ignored.
KvCpuLevel FromEnvironment(KvCpuLevel supported)
{
    const char* value = std::getenv("KV_CPU");
    if (value == nullptr) {
        return supported;
    }
    if (std::strcmp(value, "baseline") == 0) {
        return KvCpuLevel::Baseline;
    }
    if (std::strcmp(value, "avx2") == 0) {
        return Lower(KvCpuLevel::Avx2, supported);
    }
    return supported;
}

KvCpuLevel DefaultLevel()
{
    static const KvCpuLevel level = FromEnvironment(KvCpuSupported());
    return level;
}

// -1: no override.
std::atomic<int> gOverride{-1};

}  // namespace

KvCpuLevel KvCpuSupported()
{
    static const KvCpuLevel level = ProbeCpu();
    return level;
}

KvCpuLevel KvCpuActive()
{
    const int forced = gOverride.load(std::memory_order_relaxed);
    return forced >= 0 ? static_cast<KvCpuLevel>(forced) : DefaultLevel();
}

KvCpuLevel KvCpuOverride(KvCpuLevel level)
{
    const KvCpuLevel used = Lower(level, KvCpuSupported());
    gOverride.store(static_cast<int>(used), std::memory_order_relaxed);
    return used;
}

void KvCpuResetOverride()
{
    gOverride.store(-1, std::memory_order_relaxed);
}

const char* KvCpuLevelName(KvCpuLevel level)
{
    switch (level) {
    case KvCpuLevel::Baseline:
        return "baseline";
    case KvCpuLevel::Avx2:
        return "avx2";
    case KvCpuLevel::Avx512:
        return "avx512";
    }
    return "baseline";
}
