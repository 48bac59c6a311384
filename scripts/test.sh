#!/usr/bin/env bash
# Sets up the machine, builds and runs the whole test suite in four
# configurations: host on Lua 5.1, host on LuaJIT 2.1, Lua 5.1 under
# AddressSanitizer + UndefinedBehaviorSanitizer (LeakSanitizer on), and the
# API fuzzer (clang with libFuzzer and the same sanitizers; its committed
# findings replay, then it runs for a bounded time, VYRLUA_FUZZ_SECONDS).
#
#   scripts/test.sh            all four
#   scripts/test.sh puc asan   only those named (puc, luajit, asan, fuzz)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

configs=("$@")
[ "${#configs[@]}" -gt 0 ] || configs=(puc luajit asan fuzz)

export CCACHE_BASEDIR="$PWD"
export CCACHE_NOHASHDIR=1
jobs="${VYRLUA_JOBS:-$(nproc)}"

for config in "${configs[@]}"; do
  case "$config" in
    puc)    flags=(-DVYRLUA_LUA=PUC) ;;
    luajit) flags=(-DVYRLUA_LUA=LUAJIT) ;;
    asan)   flags=(-DVYRLUA_LUA=PUC -DVYRLUA_SANITIZE=ON) ;;
    fuzz)   flags=(-DVYRLUA_LUA=PUC -DVYRLUA_SANITIZE=ON -DVYRLUA_FUZZ=ON
                   -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14
                   -DVYRLUA_FUZZ_SECONDS="${VYRLUA_FUZZ_SECONDS:-180}") ;;
    *) echo "test.sh: unknown configuration '$config' (puc, luajit, asan, fuzz)" >&2; exit 2 ;;
  esac
  dir="build/$config"
  start=$SECONDS
  echo "== $config: configure and build"
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug "${flags[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs"
  echo "== $config: test"
  # Leak checks stay on (less the third-party leaks listed in
  # tests/lsan-suppressions.txt); UBSan stops at the first report so CI sees it.
  # Mesa's software rasteriser draws without threads of its own: its workers
  # add nothing to the tests, and LeakSanitizer's exit-time stop of every
  # thread can crash on one that is going away.
  LP_NUM_THREADS=0 \
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
  LSAN_OPTIONS="suppressions=$PWD/tests/lsan-suppressions.txt:print_suppressions=0" \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir "$dir" --output-on-failure -j "$jobs" --timeout 600
  # Tests are kept under a minute each; the slowest show here so that drift
  # is seen before a busy machine turns it into a time-out.
  echo "== $config: slowest tests (s)"
  awk '/^---/ { exit } NF == 3 { printf "%8.1f  %s\n", $3, $1 }' \
    "$dir/Testing/Temporary/CTestCostData.txt" | sort -rn | head -n 5 || true
  echo "== $config: done in $((SECONDS - start)) s"
done
