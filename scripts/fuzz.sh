#!/bin/sh
# Builds the fuzz targets and runs each for so many seconds, one a core; ends with what they did.
#   scripts/fuzz.sh SECONDS [TARGET...]
#   scripts/fuzz.sh --merge [TARGET...]   takes what earlier runs have found into fuzz/corpus, in few files
# What the runs add to the corpus is kept in build/fuzz/corpus, their logs in build/fuzz/log. A finding stops
# its target; exit code 1.
set -eu
cd "$(dirname "$0")/.."
build=build/fuzz
seconds=$1
shift
targets=${*:-fuzz_frame fuzz_sql fuzz_changes}
# No input takes longer than ten seconds, a gigabyte in all or, but for a frame, much of it at once.
options="-timeout=10 -rss_limit_mb=1024 -malloc_limit_mb=256 -max_len=8192"

[ -f $build/build.ninja ] || cmake --preset fuzz
# shellcheck disable=SC2086
cmake --build $build -j "$(nproc)" --target $targets

for target in $targets; do
    mkdir -p $build/log $build/findings $build/corpus/$target
done

if [ "$seconds" = --merge ]; then
    for target in $targets; do
        merge=$(mktemp -d)
        mkdir "$merge/all"
        # Finding out what each input reaches is what merging is used for here; the choice is made below.
        $build/bin/$target -merge=1 -use_counters=0 $options -merge_control_file="$merge/control" "$merge/all" \
            fuzz/corpus/$target $build/corpus/$target 2>$build/log/$target.merge
        python3 scripts/choose-corpus.py "$merge/control" fuzz/corpus/$target 64
        rm -r "$merge"
        echo "$target: $(ls fuzz/corpus/$target | wc -l) files, $(cat fuzz/corpus/$target/* | wc -c) bytes"
    done
    exit
fi

echo "$targets" | tr ' ' '\n' | xargs -P "$(nproc)" -I '{}' sh -c "
    $build/bin/{} -max_total_time=$seconds $options -print_final_stats=1 -dict=fuzz/{}.dict \
        -artifact_prefix=$build/findings/{}- $build/corpus/{} fuzz/corpus/{} 2>$build/log/{} || true"

printf '%-14s %12s %8s %16s %10s %8s\n' target executions a-second 'edges covered' features corpus
failed=0
for target in $targets; do
    log=$build/log/$target
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    edges=$(sed -n 's/.*Loaded .*PC tables (\([0-9]*\) PCs.*/\1/p' "$log")
    last=$(grep -o 'cov: .*' "$log" | tail -1)
    # "cov: EDGES ft: FEATURES corp: FILES/BYTES ..."
    # shellcheck disable=SC2086
    set -- $last
    corpus=${6:-0}
    printf '%-14s %12s %8s %16s %10s %8s\n' $target "$runs" "$rate" "${2:-0} of $edges" "${4:-0}" "${corpus%%/*}"
    if ! grep -q '^#.*DONE' "$log"; then
        failed=1
        grep -E 'FINDING|ERROR|SUMMARY|Test unit written' "$log" || tail -5 "$log"
        echo "again: $build/bin/$target $build/findings/$target-..."
    fi
done
exit $failed
