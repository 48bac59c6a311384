#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds a small embedding
# program against it out of tree, twice: with find_package(vyrlua) and with
# pkg-config; both must run and see a host click reach a script handler.
#   install_test.sh BUILD_DIR SOURCE_DIR WORK_DIR
set -euo pipefail
build=$1 source=$2 work=$3
rm -rf "$work"
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
resources=$prefix/share/vyrlua/resources
modules=$prefix/lib/lua/5.1
expected=$'clicked at\t5\t2\nhandled yes'

cmake -S "$source/tests/install/embed" -B "$work/cmake" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
out=$("$work/cmake/embed" "$resources" "$modules")
[ "$out" = "$expected" ] || { echo "find_package build printed: $out"; exit 1; }

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
mkdir -p "$work/pc"
c++ -o "$work/pc/embed" "$source/tests/install/embed/embed.cpp" $(pkg-config --cflags --libs vyrlua)
out=$("$work/pc/embed" "$resources" "$modules")
[ "$out" = "$expected" ] || { echo "pkg-config build printed: $out"; exit 1; }

# The installed program runs a script with its installed resources.
echo 'require "vyrlua.vyrcontrols" print(vyrlua_CreateNewPointF32(1, 2))' > "$work/point.lua"
out=$("$prefix/bin/vyrlua-host" "$work/point.lua")
[ "$out" = "PointF32(1, 2)" ] || { echo "installed vyrlua-host printed: $out"; exit 1; }
echo "install test: 3 passed, 0 failed"
