#!/bin/sh
# The plug-in must export exactly its two entry points, carry its SONAME and
# depend on nothing but the C++ runtime, pthreads, libm, libc and the host
# library.
set -eu
lib="$1"
fail=0

exports=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TWDBRVui]$/ {print $3}' | sort | tr '\n' ' ')
if [ "$exports" != "DllGetImgObject DllGetKORVAPluginAPIVersion " ]; then
    echo "unexpected exported symbols: $exports"
    fail=1
fi

soname=$(readelf -d "$lib" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
if [ "$soname" != "img_proc.so.17" ]; then
    echo "unexpected SONAME: $soname"
    fail=1
fi

needed=$(readelf -d "$lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
echo "$needed" | grep -qx 'libkorva.so.17' || { echo "libkorva.so.17 is not NEEDED"; fail=1; }
for dep in $needed; do
    case "$dep" in
        libkorva.so.17|libstdc++.so.6|libm.so.6|libgcc_s.so.1|libc.so.6|libpthread.so.0) ;;
        libasan.so.*|libubsan.so.*) ;;  # sanitizer builds only
        *) echo "unexpected dependency: $dep"; fail=1 ;;
    esac
done

[ $fail -eq 0 ] && echo "exports, SONAME and dependencies as required"
exit $fail
