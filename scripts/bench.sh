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
