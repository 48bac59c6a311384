#!/usr/bin/env bash
# Runs the fuzzer for a bounded time on a scratch copy of the seed corpus, so
# the committed seeds stay as they are.
# Usage: run-fuzzer.sh FUZZER SEEDS WORK SECONDS [SEED]
set -uo pipefail
fuzzer=$1 seeds=$2 work=$3 seconds=$4 seed=${5:-0}
rm -rf "$work"
mkdir -p "$work/corpus" "$work/artifacts"
cp "$seeds"/* "$work/corpus/"
start=$SECONDS
"$fuzzer" -seed="$seed" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=6144 -max_len=512 \
  -print_final_stats=1 -artifact_prefix="$work/artifacts/" "$work/corpus" >"$work/log" 2>&1
status=$?
grep -E '^(INFO: Seed:|fuzzer:|#[0-9]+ +(INITED|DONE)|Done|stat::number_of_executed_units|stat::peak_rss)' "$work/log"
echo "fuzz: exit $status after $((SECONDS - start)) s; corpus $(ls "$work/corpus" | wc -l) inputs"
if [ "$status" -ne 0 ]; then
  tail -n 80 "$work/log"
  ls -l "$work/artifacts"
fi
exit "$status"
