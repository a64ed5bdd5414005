#!/bin/sh
# Prints what docs/performance.md holds: speed and size against peers, measured in this run.
set -eu
build=${1:-build/release}
cache=${ZELMOR_BENCH_CACHE:-$build/bench-data}
mkdir -p "$cache"
"$build/bin/bench_spine" "$cache"
if [ -x "$build/bin/bench_startup" ]; then
    "$build/bin/bench_startup"
fi
# The screens themselves, on the demo company's largest size.
QT_QPA_PLATFORM=offscreen "$build/bin/zelmor-host" --data "$cache/large" --demo large \
    --now "2026-11-20 15:30:00" --script bench/host/screens.js --screenshots "$cache"
