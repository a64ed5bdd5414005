#!/bin/sh
# Every window with the demo company's data, at the sizes and scales that desks have: pictures to look at, in
# build/release/looks (or the folder named). A real display is imitated, because at twice the scale Qt's own
# puts lists in the wrong place.
set -eu
cd "$(dirname "$0")/.."
host=$PWD/build/release/bin/zelmor-host
script=$PWD/scripts/looks.js
to=$(realpath -m "${1:-build/release/looks}")
data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
for look in 1280x800@1 1280x800@1.5 1280x800@2 1920x1080@1; do
    size=${look%@*}
    scale=${look#*@}
    mkdir -p "$to/$look"
    sed "s/WIDTH/${size%x*}/; s/HEIGHT/${size#*x}/; s/SCALE/$scale/g; s|FOLDER|$PWD|" "$script" > "$data/looks.js"
    rm -rf "$data/desk"
    mkdir "$data/desk"
    QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR=$scale xvfb-run -a -s "-screen 0 ${size}x24" "$host" --data "$data/desk" \
        --demo small --now "2026-11-20 15:30:00" --script "$data/looks.js" --screenshots "$to/$look"
done
