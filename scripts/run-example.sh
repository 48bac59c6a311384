#!/usr/bin/env bash
# Sets up the machine, builds vyrlua and runs an example script in the
# reference host. By default: examples/poster.lua, which draws a poster
# headless and writes out/poster.png; any top-level windows a script leaves
# open are rendered to out/ as well.
#
#   scripts/run-example.sh [SCRIPT [ARGS...]]
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
export CCACHE_BASEDIR="$PWD"
cmake -S . -B build/puc -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVYRLUA_LUA=PUC >/dev/null
cmake --build build/puc -j "$(nproc)" --target vyrlua-host >/dev/null
[ "$#" -gt 0 ] || set -- examples/poster.lua out/poster.png
mkdir -p out
exec build/puc/bin/vyrlua-host --render out "$@"
