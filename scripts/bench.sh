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
"$build/bin/bench_link"
"$build/bin/bench_dispatch" "$cache"
"$build/bin/bench_tls"
"$build/bin/bench_import"
# Lists: a title's filter, finding, on paper, into files and the clipboard.
for bench in bench_dataset bench_find bench_print bench_export; do
    "$build/bin/$bench"
done
# On PostgreSQL, in a cluster that ends with this script.
cluster=/tmp/zelmor-bench-$$
trap 'tests/support/postgres-cluster.sh stop "$cluster"' EXIT
tests/support/postgres-cluster.sh start "$cluster" --durable >/dev/null
for bench in bench_postgres bench_mix; do
    ZELMOR_TEST_POSTGRES_FILE=$cluster/uri "$build/bin/$bench"
done
# The screens themselves, on the demo company's largest size.
"$build/bin/bench_screens" "$cache"
QT_QPA_PLATFORM=offscreen "$build/bin/zelmor-host" --data "$cache/large" --demo large \
    --now "2026-11-20 15:30:00" --script bench/host/screens.js --screenshots "$cache"
