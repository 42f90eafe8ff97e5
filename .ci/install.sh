#!/usr/bin/env bash
# Installs the project into a temporary prefix and builds and runs the
# example host against the installed tree, once through the CMake package
# and once through pkg-config. Expects the build folder of the test command.
set -euo pipefail
cd "$(dirname "$0")/.."

command -v pkg-config >/dev/null || {
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -q && apt-get install -y -q pkg-config
}
build=${1:-build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
for f in lib/img_proc.so.17 lib/korva/libkorva.so.17 include/korva/ikvimage.h bin/frameconv \
         share/man/man1/frameconv.1 lib/cmake/img_proc/img_procConfig.cmake lib/pkgconfig/img_proc.pc; do
    [ -e "$prefix/$f" ] || { echo "install.sh: $f not installed" >&2; exit 1; }
done
# The stand-in stays off the linker's path; the plug-in finds it by its run path.
readelf -d "$prefix/lib/img_proc.so.17" | grep -q 'R.*PATH.*\[\$ORIGIN/korva\]' ||
    { echo "install.sh: img_proc.so.17 lacks the run path \$ORIGIN/korva" >&2; exit 1; }
[ ! -e "$prefix/lib/libkorva.so.17" ] || { echo "install.sh: libkorva.so.17 on the linker's path" >&2; exit 1; }

# The installed tool, from another folder, with the installed plug-in.
(cd "$work" && "$prefix/bin/frameconv" --version && "$prefix/bin/frameconv" formats >/dev/null)

# Through the CMake package.
cmake -S examples -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
"$work/cmake-build/minimal_host" "$prefix/lib/img_proc.so.17"

# Through pkg-config.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
g++ -std=c++17 -Wall -Wextra -o "$work/minimal_host_pc" examples/minimal_host.cpp $(pkg-config --cflags --libs img_proc)
"$work/minimal_host_pc" "$(pkg-config --variable=plugin img_proc)"
echo "install.sh: installed tree builds and runs the example host both ways"
