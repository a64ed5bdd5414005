#!/bin/sh
# Plays the guided tour without a display and puts its pictures into the user guide.
set -eu
cd "$(dirname "$0")/.."
build=build/release
data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
rm -rf "$build/bin/WindowsIni" "$build/tour"
XDG_DATA_HOME=$data QT_QPA_PLATFORM=offscreen "$build/bin/zelmor-host" --tour --screenshots "$build/tour"
images=docs/user-guide/images
mkdir -p "$images"
cp "$build/tour/01-login.png" "$images/login.png"
cp "$build/tour/05-accepted.png" "$images/main.png"
cp "$build/tour/04-accept-today.png" "$images/accept.png"
cp "$build/tour/10-lost-race.png" "$images/accept-failures.png"
for picture in login-server start lists lists-filter lists-find lists-gather print preferences help pickup pickup-coupon correction export site distribution entry import dispatch worklist entrust query query-details revocation centre-query unaccept unaccept-orders unrec collect collect-orders; do
    cp "$build/tour/$picture.png" "$images/"
done
