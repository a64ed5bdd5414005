#!/bin/sh
# Installs the Debian packages that are missing; does nothing, and needs no network, where all are there.
set -eu
here=$(dirname "$0")
missing=
for package in $(grep -v '^#' "$here/packages.txt"); do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get >/dev/null; then
    echo "These packages are missing, and this is no Debian system; install their like by hand:$missing" >&2
    exit 1
fi
as_root=
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing; install them as root:$missing" >&2
        exit 1
    fi
    as_root=sudo
fi
echo "Installing:$missing"
export DEBIAN_FRONTEND=noninteractive
$as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq update
# shellcheck disable=SC2086 # a list of words on purpose
$as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -y --no-install-recommends install $missing >/dev/null
