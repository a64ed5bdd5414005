#!/bin/sh
# A PostgreSQL cluster for tests and benchmarks that is nobody else's: no TCP port, a socket in its own
# directory, gone without a trace when stopped.
#
#   postgres-cluster.sh start DIR [--durable]   a new cluster in DIR; DIR/uri then holds its address
#   postgres-cluster.sh crash DIR               ends it as a power cut would, and starts it again
#   postgres-cluster.sh stop DIR                ends it and removes DIR
#
# DIR is a path under /tmp of at most 90 characters; what an interrupted run left there is cleared away first.
# The superuser is zelmor, without password. --durable: commits wait for the disk, as in a company's database.
set -eu

usage() {
    sed -n '2,10s/^# \{0,1\}//p' "$0" >&2
    exit 2
}

[ $# -ge 2 ] || usage
command=$1
directory=$2
case $directory in
/tmp/?*) ;;
*) usage ;;
esac

# PostgreSQL refuses to run as root.
if [ "$(id -u)" -eq 0 ]; then
    as_owner="runuser -u postgres --"
else
    as_owner=
fi

programs=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)
[ -n "$programs" ] || programs=$(pg_config --bindir)

stop() {
    if [ -f "$directory/data/postmaster.pid" ]; then
        (cd / && $as_owner "$programs/pg_ctl" -D "$directory/data" -m immediate -w stop >/dev/null 2>&1) || true
    fi
    rm -rf "$directory"
}

start() {
    durability="-c fsync=off -c full_page_writes=off"
    [ "${1:-}" != --durable ] || durability=
    stop
    $as_owner mkdir -m 700 "$directory"
    cd "$directory"
    $as_owner "$programs/initdb" -D "$directory/data" -U zelmor --auth=trust --encoding=UTF8 --locale=C.UTF-8 \
        --no-sync --no-instructions >/dev/null
    $as_owner "$programs/pg_ctl" -D "$directory/data" -l "$directory/log" -w -t 60 start >/dev/null -o "$durability \
        -c listen_addresses='' -c unix_socket_directories=$directory -c max_connections=200 \
        -c shared_buffers=256MB -c max_wal_size=2GB" || {
        cat "$directory/log" >&2
        exit 1
    }
    echo "postgresql://zelmor@/postgres?host=$directory" | $as_owner tee "$directory/uri"
}

crash() {
    cd /
    $as_owner "$programs/pg_ctl" -D "$directory/data" -l "$directory/log" -m immediate -w -t 60 restart >/dev/null
}

case $command in
crash) crash ;;
start) start "${3:-}" ;;
stop) stop ;;
*) usage ;;
esac
