#!/usr/bin/env bash
# Builds and runs the benchmarks under Lua 5.1 and LuaJIT 2.1, once for time
# (Google Benchmark, median of repetitions) and once under callgrind for
# instructions per operation, and prints the Markdown table the README
# quotes. Instruction counts are the measure that holds on a busy machine;
# times are shown beside them.
#
#   scripts/bench.sh                  both Lua builds
#   scripts/bench.sh puc              only those named (puc, luajit)
#   VYRLUA_BENCH_NO_BUILD=1 ...       use the existing build directories
#   VYRLUA_BENCH_FILTER=regex ...     only the matching cases
#   VYRLUA_BENCH_OUT=dir ...          keep the raw results there
set -euo pipefail
cd "$(dirname "$0")/.."

configs=("$@")
[ "${#configs[@]}" -gt 0 ] || configs=(puc luajit)
jobs="${VYRLUA_JOBS:-2}"
filter="${VYRLUA_BENCH_FILTER:-.*}"
out="${VYRLUA_BENCH_OUT:-$(mktemp -d)}"
mkdir -p "$out"
programs=(vyrlua_bench_binding vyrlua_bench_drawing vyrlua_bench_state)

for config in "${configs[@]}"; do
  case "$config" in
    puc)    dir=build-bench;     flags=(-DVYRLUA_LUA=PUC) ;;
    luajit) dir=build-bench-jit; flags=(-DVYRLUA_LUA=LUAJIT) ;;
    *) echo "bench.sh: unknown configuration '$config' (puc, luajit)" >&2; exit 2 ;;
  esac
  if [ -z "${VYRLUA_BENCH_NO_BUILD:-}" ]; then
    bash scripts/setup.sh
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${flags[@]}" >/dev/null
    cmake --build "$dir" -j "$jobs" --target "${programs[@]}" >&2
  fi
  for program in "${programs[@]}"; do
    echo "bench.sh: $config $program (time)" >&2
    (cd "$dir/bin" && "./$program" --benchmark_filter="$filter" \
        --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
        --benchmark_format=json --benchmark_out_format=json \
        --benchmark_out="$out/$config.$program.json" >/dev/null)
    echo "bench.sh: $config $program (callgrind)" >&2
    (cd "$dir/bin" && valgrind --tool=callgrind --collect-atstart=no \
        --callgrind-out-file="$out/$config.$program.cg" \
        "./$program" --benchmark_filter="$filter" >"$out/$config.$program.counted" \
        2>"$out/$config.$program.valgrind.log")
  done
done

python3 - "$out" "${configs[@]}" <<'PY'
import glob, json, os, re, sys

out, configs = sys.argv[1], sys.argv[2:]
names = {"puc": "Lua 5.1", "luajit": "LuaJIT 2.1"}

# (case, baseline case, label, target ratio, judged on)
pairs = [
    ("method_trivial", "raw", "Lua calls `node:UI_IsShown()`",
     {"puc": 1.0, "luajit": 1.1}, "ir"),
    ("setter_rect", "raw", "Lua calls `node:UI_SetLocalRectF(rect)`", 1.1, "ir"),
    ("mouse_dispatch", "raw", "Host dispatches a mouse event to a bound handler", 1.3, "ir"),
    ("timer_fire", "raw", "A timer fires its Lua callback", 1.2, "ir"),
    ("push_rect", "raw", "Pushing a rectangle through the constructor global", 1.2, "ir"),
    ("paint_rect", "raw", "`surface:PaintRect` of 16×16", 1.15, "time"),
    ("draw_string", "raw", "`surface:DrawString` of 16 characters", 1.1, "time"),
    ("factory_push", "first", "Factory push, class last in the list (vs first)", 1.05, "ir"),
]

def load(config):
    times, counts, figures = {}, {}, {}
    for path in glob.glob(os.path.join(out, config + ".*.json")):
        for b in json.load(open(path))["benchmarks"]:
            if b.get("aggregate_name") != "median":
                continue
            name = b["run_name"]
            ops = b.get("ops", 1)
            times[name] = b["cpu_time"] / ops  # ns, the unit the cases set
            for key in ("modules", "lua_bytes", "heap_bytes"):
                if key in b:
                    figures[(name, key)] = b[key]
    for path in glob.glob(os.path.join(out, config + ".*.counted")):
        program = path[:-len(".counted")]
        ops = {}
        for line in open(path):
            m = re.match(r"counted (\S+) (\d+)", line)
            if m:
                ops[m.group(1)] = int(m.group(2))
        for part in glob.glob(program + ".cg.*"):
            name = total = None
            for line in open(part, errors="replace"):
                prefix = "desc: Trigger: Client Request: "
                if line.startswith(prefix):
                    name = line[len(prefix):].strip()
                elif line.startswith("totals:"):
                    total = int(line.split()[1])
            if name in ops and total is not None:
                counts[name] = total / ops[name]
    return times, counts, figures

def num(v, digits=0):
    return "–" if v is None else f"{v:,.{digits}f}"

results = {c: load(c) for c in configs}
print("| Operation | Lua | ns/op (library / baseline) | time ratio "
      "| instructions/op (library / baseline) | instruction ratio | target | |")
print("|---|---|---|---|---|---|---|---|")
for case, base, label, target, judged in pairs:
    for c in configs:
        times, counts, _ = results[c]
        lib, raw = f"{case}/{'last' if base == 'first' else 'library'}", f"{case}/{base}"
        t = target[c] if isinstance(target, dict) else target
        tl, tr = times.get(lib), times.get(raw)
        il, ir = counts.get(lib), counts.get(raw)
        trat = tl / tr if tl and tr else None
        irat = il / ir if il and ir else None
        judged_ratio = trat if judged == "time" else irat
        verdict = "" if judged_ratio is None else ("met" if judged_ratio <= t else "**missed**")
        unit = "in time" if judged == "time" else ""
        print(f"| {label} | {names[c]} | {num(tl)} / {num(tr)} | {num(trat, 2)} "
              f"| {num(il)} / {num(ir)} | {num(irat, 2)} | ≤ {t} {unit} | {verdict} |")

print()
print("| Without a target | Lua | time | instructions |")
print("|---|---|---|---|")
for c in configs:
    times, counts, figures = results[c]
    t, i = times.get("require_all/library"), counts.get("require_all/library")
    mods = figures.get(("require_all/library", "modules"))
    if t is not None:
        print(f"| `require` of every module ({num(mods)}) on a fresh state, control metatables "
              f"included | {names[c]} | {num(t / 1000, 0)} µs | {num(i)} |")
    t, i = times.get("frame_200_nodes/library"), counts.get("frame_200_nodes/library")
    if t is not None:
        print(f"| A frame of 200 script-drawn nodes (rounded fill and label each), headless "
              f"| {names[c]} | {num(t / 1e6, 2)} ms | {num(i)} |")
    lb = figures.get(("wrapper_memory/library", "lua_bytes"))
    hb = figures.get(("wrapper_memory/library", "heap_bytes"))
    if lb is not None:
        print(f"| Memory per wrapped node userdata | {names[c]} | {num(lb + hb)} bytes "
              f"({num(lb)} Lua + {num(hb)} C++ heap) | |")
PY
echo "bench.sh: raw results in $out" >&2
