#!/usr/bin/env bash
# CI: the Python package's tests against the Release build in build/, then
# the package as `cmake --install` lays it out, imported from the prefix.
set -euo pipefail
cd "$(dirname "$0")/.."

python=/usr/bin/python3
[ -x "$python" ] || python=python3
if ! "$python" -c "import numpy, pytest" 2>/dev/null; then
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -q
    apt-get install -y -q python3-numpy python3-pytest
    python=/usr/bin/python3
fi

cmake --build build --target img_proc korva -j2
export KV_IMGPROC_PLUGIN="$PWD/build/img_proc.so.17" KV_KORVA_LIBRARY="$PWD/build/libkorva.so.17"
export PYTHONDONTWRITEBYTECODE=1

# Exit code 5 means no test was collected: that must fail, not pass.
rc=0
PYTHONPATH="$PWD/python" "$python" -m pytest -q -p no:cacheprovider python/tests || rc=$?
if [ "$rc" -eq 5 ]; then
    echo "python.sh: pytest collected no tests" >&2
    exit 1
fi
[ "$rc" -eq 0 ] || exit "$rc"

# The installed package: found under the prefix, and working.
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install build --prefix "$prefix" >/dev/null
pydir=$(sed -n 's/^KV_PYTHON_DIR:STRING=//p' build/CMakeCache.txt)
# Where the install rules also place the plug-in, the package must find it alone.
[ -f "$prefix/lib/img_proc.so.17" ] && unset KV_IMGPROC_PLUGIN KV_KORVA_LIBRARY
PYTHONPATH="$prefix/$pydir" "$python" - "$prefix" <<'PY'
import sys
import numpy as np
import kvimgproc as kv
assert kv.__file__.startswith(sys.argv[1]), kv.__file__
out = kv.convert(np.full((8, 8), 90, np.uint8), "BAYRG8", "RGB8_PACKED")
assert out.shape == (8, 8, 3) and (out == 90).all()
print("installed package:", kv.__file__, "plug-in", kv.plugin_version())
PY
