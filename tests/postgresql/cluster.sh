# A PostgreSQL cluster for one test: sourced by postgresql_test.sh. Nothing of the system is touched.
# The extension is installed beside copies of the server's programs, which look for their files
# relative to themselves, so that CREATE EXTENSION finds it. Runs as an ordinary user: the server
# refuses to run as root. The plant runs as the same user, whose statements can stop it so.

as_user=()
if [ "$(id -u)" -eq 0 ]; then
    account=$(id -un postgres 2>/dev/null || echo nobody)
    as_user=(setpriv --reuid="$account" --regid="$(id -g "$account")" --clear-groups)
fi

# Copies what runs, links what is only read, and installs the extension among it.
stage() {
    bindir=$root$(pg_config --bindir)
    local sharedir pkglibdir
    sharedir=$(pg_config --sharedir) pkglibdir=$(pg_config --pkglibdir)
    mkdir -p "$bindir" "$root$sharedir" "$root$pkglibdir"
    cp "$(pg_config --bindir)"/{postgres,initdb,pg_ctl} "$bindir"
    DESTDIR=$root cmake --install "$build" --component postgresql >/dev/null
    cp -rsn "$sharedir/." "$root$sharedir"
    cp -rsn "$pkglibdir/." "$root$pkglibdir"
    cp "$build/lib/libnimbopcua.so" "$build/bin/nimb-demo-server" "$root"
    mkdir -m 700 "$root/run"
    [ "$(id -u)" -ne 0 ] || chown "$account" "$root/run"
}

start_cluster() {
    "${as_user[@]}" "$bindir/initdb" -D "$root/run/data" -U postgres -E UTF8 --locale=C.UTF-8 -A trust -N \
        >"$root/initdb.log" 2>&1 || { cat "$root/initdb.log"; return 1; }
    cat >>"$root/run/data/postgresql.conf" <<CONF
listen_addresses = ''
unix_socket_directories = '$root/run'
nimbopcua.library = '$root/libnimbopcua.so'
fsync = off
max_connections = 20
log_min_messages = log
CONF
    "${as_user[@]}" "$bindir/pg_ctl" -D "$root/run/data" -l "$root/run/log" -w -t 60 start >/dev/null
    export PGHOST=$root/run PGUSER=postgres PGDATABASE=postgres PSQLRC=/dev/null
}

# Starts the demonstration plant; sets plant to its process and url to where it listens.
start_plant() {
    coproc PLANT { exec "${as_user[@]}" "$root/nimb-demo-server" --move 0 "$@"; }
    plant=$PLANT_PID
    read -r -t 30 _ url <&"${PLANT[0]}"
}

clean_up() {
    local status=$?
    set +e  # whatever is gone already
    [ -z "${plant:-}" ] || { kill -CONT "$plant"; kill "$plant" ${relay:-}; } 2>/dev/null
    [ ! -e "$root/run/data/postmaster.pid" ] ||
        "${as_user[@]}" "$bindir/pg_ctl" -D "$root/run/data" -m immediate -w stop >/dev/null
    [ "$status" -eq 0 ] || tail -n 30 "$root/run/log" 2>/dev/null
    rm -rf "$root"
    return "$status"
}
