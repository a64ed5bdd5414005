#!/bin/sh
# backup.sh CONFIG FOLDER
#
# Copies the database that a server's file of options names into FOLDER, while the server goes on, and keeps the
# last $KEEP copies (14 unless set). An embedded database becomes zelmor-TIME.db, PostgreSQL's zelmor-TIME.dump.
# A copy that fails leaves nothing behind, and the exit code is not 0. The other way: restore.sh.
set -eu

if [ $# -ne 2 ]; then
    sed -n '2,6s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi
config=$1
folder=$2

# The value of a name in the file, as it stands.
option() {
    sed -n "s/^[[:space:]]*$1[[:space:]]*=[[:space:]]*//p" "$config" | sed 's/[[:space:]]*$//'
}

umask 077
storage=$(option storage)
copy=$folder/zelmor-$(date +%Y%m%d-%H%M%S)
case $storage in
'')
    kind=db
    "${ZELMOR_SERVER:-zelmor-server}" backup --config "$config" --to "$copy.db"
    ;;
postgresql://*:*@* | postgres://*:*@* | postgres*://*password=*)
    echo "backup.sh: every user of this machine would see the password: write ?passfile=FILE instead" >&2
    exit 1
    ;;
postgresql://* | postgres://*)
    kind=dump
    trap 'rm -f "$copy.unfinished"' EXIT
    pg_dump --format=custom --dbname="$storage" --file="$copy.unfinished"
    mv "$copy.unfinished" "$copy.dump"
    ;;
*)
    echo "backup.sh: a database behind ${storage%%:*}: is backed up by its own tools" >&2
    exit 1
    ;;
esac

# The oldest go: names sort by time.
find "$folder" -maxdepth 1 -name "zelmor-*.$kind" | sort | head -n "-${KEEP:-14}" | xargs -r rm -f
