// Instruction level of the pixel loops. Every row function has a portable
// reference; faster variants are compiled in per-ISA files and chosen once
// per frame by the level below. The level never changes an output byte.
#ifndef KV_CPU_H
#define KV_CPU_H

enum class KvCpuLevel : int {
    Baseline = 0,  // x86-64 as the plug-in is built
    Avx2 = 1,      // AVX2
    Avx512 = 2,    // AVX-512 F, BW, VL and VBMI
};

// What this CPU (and its operating system) offers, probed once.
KvCpuLevel KvCpuSupported();

// The level the pixel loops use: the supported one, lowered by KV_CPU
// (baseline|avx2|avx512, read once) or by KvCpuOverride. Cheap: a load.
KvCpuLevel KvCpuActive();

// Tests and benchmarks pick a level; a request above what the CPU offers is
// clamped down to it. Returns the level now in force.
KvCpuLevel KvCpuOverride(KvCpuLevel level);

// Back to the level the probe and KV_CPU give.
void KvCpuResetOverride();

const char* KvCpuLevelName(KvCpuLevel level);

#endif
