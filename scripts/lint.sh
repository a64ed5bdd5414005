#!/bin/sh
# Layers, then clang-tidy over what ships (--all: tests and benchmarks too; or over the files given), with the
# flags of the release build. LINT_SECONDS: begins no file after that time; what changed last comes first, and
# the end says how many files were left out.
set -eu
cd "$(dirname "$0")/.."
python3 scripts/check-includes.py

if [ "${1:-}" = --all ]; then
    files=$(git ls-files '*.cpp' | grep -v '^fuzz/')
elif [ $# -gt 0 ]; then
    files=$*
else
    files=$(git ls-files '*.cpp' | grep -vE '^(tests|bench|fuzz|siege)/')
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '%s\n' $files >"$work/files"
git log --format= --name-only -- '*.cpp' | cat - "$work/files" | awk '!seen[$0]++' |
    grep -Fxf "$work/files" >"$work/ordered"

# Two files a run, one run a core; what clang-tidy says of clean files (how many warnings it kept to itself) is
# left out.
export LINT_END=$(($(date +%s) + ${LINT_SECONDS:-86400}))
export LINT_LEFT="$work/left"
: >"$LINT_LEFT"
status=0
xargs -P "$(nproc)" -n 2 sh -c '
    if [ "$(date +%s)" -ge "$LINT_END" ]; then
        printf "%s\n" "$@" >>"$LINT_LEFT"
    else
        clang-tidy --quiet -p build/release --extra-arg=-Wno-unknown-warning-option "$@"
    fi' clang-tidy <"$work/ordered" >"$work/report" 2>/dev/null || status=$?
cat "$work/report"
[ "$status" -eq 0 ] || { echo "lint: see above"; exit 1; }
left=$(wc -l <"$LINT_LEFT")
if [ "$left" -eq 0 ]; then
    echo "lint: clean"
else
    echo "lint: clean, but for $left of $(wc -l <"$work/ordered") files there was no time: run make lint"
fi
