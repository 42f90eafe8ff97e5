#!/usr/bin/env bash
# Hardening jobs: one clang build with AddressSanitizer, UBSan and fuzzer
# coverage serves the whole test suite and the fuzz targets; a
# ThreadSanitizer build of the plug-in runs the threading tests.
set -euo pipefail
cd "$(dirname "$0")/.."

if ! command -v clang++ >/dev/null || ! ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a >/dev/null 2>&1; then
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -q
    apt-get install -y -q clang
    # The sanitizer and fuzzer runtimes are a package of their own on newer
    # releases; older ones ship them with clang.
    version=$(clang++ --version | sed -n 's/.*clang version \([0-9]*\).*/\1/p')
    if apt-cache show "libclang-rt-$version-dev" >/dev/null 2>&1; then
        apt-get install -y -q "libclang-rt-$version-dev"
    fi
fi

# Sanitizer suite and fuzz targets.
CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_FUZZ=ON -DKV_BUILD_BENCH=OFF
cmake --build build-fuzz -j2
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-fuzz --output-on-failure -j2

# Each fuzz target from its committed corpus; new inputs go to a scratch
# directory so that the committed corpus stays as it is.
for source in fuzz/*_fuzz.cpp; do
    name=$(basename "$source" _fuzz.cpp)
    seconds=45
    [ "$name" = markup ] && seconds=60
    work=$(mktemp -d)
    mkdir -p "fuzz/corpus/$name"
    echo "fuzzing $name for $seconds s"
    (cd "$work" && "$OLDPWD/build-fuzz/fuzz/${name}_fuzz" -max_total_time="$seconds" -timeout=10 \
        -rss_limit_mb=2048 -print_final_stats=1 "$work" "$OLDPWD/fuzz/corpus/$name" 2>&1 | grep -v '^KORVA ' | tail -60)
    rm -rf "$work"
done

# ThreadSanitizer: only the plug-in library and the threading tests.
CXX=clang++ cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_TSAN=ON -DKV_BUILD_BENCH=OFF
cmake --build build-tsan --target thread_tests -j2
TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 ./build-tsan/tests/thread_tests
