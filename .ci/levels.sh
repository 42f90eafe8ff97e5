#!/usr/bin/env bash
# The tests once more at each instruction level below the best this CPU
# offers (KV_CPU only lowers it), on the Release build that .ci/run made:
# the portable functions and every vector variant must pass on their own.
set -euo pipefail
cd "$(dirname "$0")/.."

for level in baseline avx2; do
    echo "tests with KV_CPU=$level"
    KV_CPU=$level ctest --test-dir build -j2 --output-on-failure
done
