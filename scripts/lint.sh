#!/bin/sh
# Layers, then clang-tidy over what ships (--all: tests and benchmarks too; or over the files given), with the
# flags of the release build.
set -eu
cd "$(dirname "$0")/.."
python3 scripts/check-includes.py

if [ "${1:-}" = --all ]; then
    files=$(git ls-files '*.cpp' | grep -v '^fuzz/')
elif [ $# -gt 0 ]; then
    files=$*
else
    files=$(git ls-files '*.cpp' | grep -vE '^(tests|bench|fuzz)/')
fi

# One clang-tidy a core; what it says of files that are clean (how many warnings it kept to itself) is left out.
report=$(mktemp)
trap 'rm -f "$report"' EXIT
status=0
printf '%s\n' "$files" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/release \
    --extra-arg=-Wno-unknown-warning-option >"$report" 2>/dev/null || status=$?
cat "$report"
[ "$status" -eq 0 ] || { echo "lint: see above"; exit 1; }
echo "lint: clean"
