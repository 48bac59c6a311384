#!/usr/bin/env bash
# Sets up the machine, builds vyrlua and runs example scripts in the
# reference host, headless.
#
#   scripts/run-example.sh                  every example: windows rendered to
#                                           out/*.png, the poster to
#                                           out/poster.png, then the clip
#                                           inspector's own test; with fresh
#                                           settings, so the images are the
#                                           same whatever the user's are
#   scripts/run-example.sh SCRIPT [ARGS...] one script, with the user's
#                                           settings; the top-level windows
#                                           it leaves open go to out/
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
export CCACHE_BASEDIR="$PWD"
cmake -S . -B build/puc -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVYRLUA_LUA=PUC >/dev/null
cmake --build build/puc -j "$(nproc)" --target vyrlua-host >/dev/null
host=build/puc/bin/vyrlua-host
runner=("$host" --test)
mkdir -p out
if [ "$#" -gt 0 ]; then
  exec "$host" --headless --render out "$@"
fi
settings="$(mktemp -d)"
trap 'rm -rf "$settings"' EXIT
host=("$host" --headless --strict --settings "$settings")
"${host[@]}" --render out examples/hello.lua
"${host[@]}" --render out --run-for 1 examples/clip-panel.lua
"${host[@]}" examples/poster.lua out/poster.png
# The test runner gives the test fresh settings of its own.
"${runner[@]}" examples/clip-panel-test.lua
