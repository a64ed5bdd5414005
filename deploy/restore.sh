#!/bin/sh
# restore.sh CONFIG COPY
#
# Puts a copy that backup.sh made in the place of the database that a server's file of options names. Stop the
# server first. An embedded database that is there is kept beside it as zelmor.db.before; a PostgreSQL database
# must be new and empty.
set -eu

if [ $# -ne 2 ]; then
    sed -n '2,6s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi
config=$1
copy=$2

option() {
    sed -n "s/^[[:space:]]*$1[[:space:]]*=[[:space:]]*//p" "$config" | sed 's/[[:space:]]*$//'
}

umask 027
storage=$(option storage)
case $storage in
'')
    data=$(option data)
    database=$data/zelmor.db
    mkdir -p "$data"
    # Through a name of its own: the database is there whole, or not at all.
    cp "$copy" "$database.restoring"
    sync "$database.restoring"
    [ ! -e "$database" ] || rm -f "$database.before" "$database.before-wal" "$database.before-shm"
    # What was saved last may still stand in the file beside it, and must not get into the copy: also where the
    # database itself is lost.
    for suffix in '' -wal -shm; do
        [ ! -e "$database$suffix" ] || mv "$database$suffix" "$database.before$suffix"
    done
    mv "$database.restoring" "$database"
    ;;
postgresql://* | postgres://*)
    pg_restore --exit-on-error --single-transaction --no-owner --dbname="$storage" "$copy"
    ;;
*)
    echo "restore.sh: a database behind ${storage%%:*}: is restored by its own tools" >&2
    exit 1
    ;;
esac
