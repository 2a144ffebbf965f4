#!/usr/bin/env bash
# The extension for PostgreSQL as its users meet it: psql, a cluster of its own, and the plant.
#
# usage: postgresql_test.sh BUILD_DIR
# Exit status 77 when PostgreSQL is not installed.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$1
if ! command -v pg_config >/dev/null || ! command -v psql >/dev/null ||
    [ ! -x "$(pg_config --bindir)/initdb" ]; then
    echo "skipped: no PostgreSQL server here; scripts/install-deps --postgresql installs one"
    exit 77
fi
root=$(mktemp -d /tmp/nimb-postgresql-XXXXXX)
chmod 755 "$root"
. "$here/cluster.sh"
. "$here/network.sh"
trap clean_up EXIT
trap 'exit 1' INT TERM

stage
start_plant
start_cluster

# Runs a transcript's statements and compares what psql prints.
transcript() {
    sed -n 's/^> \{0,1\}//p' "$1" >"$root/script.sql"
    psql -qAtX -a -v url="$url" -f "$root/script.sql" 2>&1 |
        sed -e 's/^psql:[^ ]* //' -e '/^LOCATION:/d' -e '/^You are now connected/d' >"$root/printed"
    diff -u <(sed 's/^> \{0,1\}//' "$1") "$root/printed"
}

fail() {
    echo "postgresql_test: $*" >&2
    exit 1
}

# Seconds that a command takes must lie in a range; its output is kept in "printed".
takes() {
    local least=$1 most=$2 begin end
    shift 2
    begin=$(date +%s.%N)
    "$@" >"$root/printed" 2>&1 || true
    end=$(date +%s.%N)
    awk -v took="$end" -v begin="$begin" -v least="$least" -v most="$most" \
        'BEGIN {took -= begin; exit !(took >= least && took <= most)}' ||
        fail "took $begin to $end instead of $least to $most s: $* $(cat "$root/printed")"
}

printed() { grep -q "$1" "$root/printed" || fail "no \"$1\" in: $(cat "$root/printed")"; }
query() { psql -qAtX -v VERBOSITY=verbose -c "$1"; }
# Waits until a query answers "t".
eventually() {
    for ((i = 0; i < 100; ++i)); do
        [ "$(query "$1")" != t ] || return 0
        sleep 0.05
    done
    fail "never true: $1"
}

# A statement behind a signal to the plant, in a session that was opened before.
behind() {
    psql -qAtX -v VERBOSITY=verbose -c "SET statement_timeout = '${3:-0}'" \
        -c 'SELECT level FROM tank' -c "\\! kill -$1 $plant" -c "$2"
}

# The plant stands still: errors come behind the call under way, and nothing is left when it goes
# on. The timeout is 1 s; the end of a session that the plant does not hear of takes another.
frozen_plant() {
    takes 1 3 behind STOP 'SELECT level FROM tank'
    printed 'HV000: OPC UA: BadTimeout'
    kill -CONT "$plant"
    takes 1 3 behind STOP 'SELECT level FROM tank' 500
    printed '57014: canceling statement due to statement timeout'
    kill -CONT "$plant"
    query "CREATE FUNCTION stop() RETURNS trigger LANGUAGE plpgsql AS \$\$ BEGIN
               COPY (SELECT 1) TO PROGRAM 'cat >/dev/null; kill -STOP $plant'; RETURN NEW; END \$\$;
           CREATE TRIGGER stop BEFORE UPDATE ON tank FOR EACH ROW EXECUTE FUNCTION stop()"
    takes 1 3 behind CONT 'UPDATE tank SET set_point = 1'
    printed 'HV000: OPC UA: BadTimeout'
    printed 'The write may have been carried out. Values written before: 0'
    query 'DROP FUNCTION stop CASCADE' 2>/dev/null
    kill -CONT "$plant"
    [ "$(query 'SELECT level FROM tank')" = 42.5 ] || fail 'the plant does not answer again'
}

# Another session ends one that waits for the plant, by a function that takes its process.
ended_from_outside() {
    local begin
    kill -STOP "$plant"
    psql -qAtX -v VERBOSITY=verbose -c 'BEGIN' -c 'LOCK TABLE history' -c 'SELECT level FROM tank' \
        >"$root/ended" 2>&1 &
    eventually "SELECT count(*) = 1 FROM pg_stat_activity WHERE query LIKE 'SELECT level%' AND state = 'active'"
    begin=$(date +%s%N)
    query "SELECT $1(pid) FROM pg_stat_activity WHERE query LIKE 'SELECT level%'" >"$root/done"
    takes 0 "$2" query 'SELECT count(*) FROM history'
    wait "$!" || true
    mv "$root/ended" "$root/printed"
    [ $((($(date +%s%N) - begin) / 1000000)) -lt "$3" ] || fail "$1 took too long"
    printed "$4"
    kill -CONT "$plant"
}

# The plant dies and comes again at the same address.
killed_plant() {
    local took
    psql -qAtX -v VERBOSITY=verbose -c 'SELECT level FROM tank' -c "\\! kill -KILL $plant" -c '\timing on' \
        -c 'SELECT level FROM tank' >"$root/printed" 2>&1 || true
    printed 'HV00N: OPC UA'
    took=$(sed -n 's/^Time: \([0-9]*\).*/\1/p' "$root/printed")
    [ "$took" -lt 200 ] || fail "the end of the plant took $took ms to tell"
    start_plant --port "${url##*:}"
    [ "$(query 'SELECT level FROM tank')" = 42.5 ] || fail 'the plant was not found again'
}

# A thousand rounds in one backend, with errors, cancels and altered servers among them, take no more memory:
# no more than PostgreSQL itself for a table that is created and dropped, some 480 bytes a round.
flat() {
    local rounds=1000
    {
        echo "SET client_min_messages = error;"
        for ((i = 0; i <= rounds; ++i)); do
            echo "CREATE FOREIGN TABLE round (v float8 OPTIONS (node 'ns=2;s=Tank1.Level'), x int OPTIONS (node 'ns=2;i=9')) SERVER north;"
            echo "SELECT v FROM round; SELECT x FROM round; UPDATE round SET x = 1; SELECT v FROM long;"
            [ $((i % 100)) -ne 0 ] || echo "ALTER SERVER north OPTIONS (SET timeout '1000'); SELECT v FROM round;"
            echo "SET statement_timeout = $((i % 4 + 1)); SELECT 1 FROM nimb.browse('north', 'ns=2;i=7'); RESET statement_timeout;"
            echo "DROP FOREIGN TABLE round;"
            case $i in 200 | "$rounds") echo "SELECT 'memory', pg_read_file('/proc/self/statm');" ;; esac
        done
    } >"$root/rounds.sql"
    psql -qAtX -f "$root/rounds.sql" 2>/dev/null >"$root/printed"
    awk -F'[| ]' '$1 == "memory" {pages[++n] = $3 - $4} $1 == 42.5 {++values}
        END {print "private pages", pages[1], pages[2], "values", values
             exit !(n == 2 && pages[2] - pages[1] < 150 && values > 2000)}' "$root/printed" ||
        fail 'memory grew'
}

# Two backends at once, then one is killed: the cluster starts again and goes on.
backends() {
    local rounds='SELECT count(v) FROM long; UPDATE tank SET set_point = 3; '
    psql -qAtX -c "$(printf "$rounds%.0s" {1..200})" >"$root/first" 2>&1 &
    psql -qAtX -c "$(printf "$rounds%.0s" {1..200})" >"$root/second" 2>&1 || fail "$(cat "$root/second")"
    wait "$!" || fail "$(cat "$root/first")"
    psql -qAtX -c 'SELECT level FROM tank' -c 'SELECT pg_sleep(60)' >"$root/printed" 2>&1 &
    eventually "SELECT count(*) = 1 FROM pg_stat_activity WHERE query = 'SELECT pg_sleep(60)'"
    kill -KILL "$(query "SELECT pid FROM pg_stat_activity WHERE query = 'SELECT pg_sleep(60)'")"
    wait "$!" || true
    for ((i = 0; i < 100; ++i)); do
        [ "$(query 'SELECT level FROM tank' 2>/dev/null)" != 42.5 ] || return 0
        sleep 0.1
    done
    fail 'the cluster did not come back'
}

# A text with a zero byte has no place in a column of type text: NULL, and not without a word.
zero_byte() {
    "$build/bin/nimbhost" --define "url=$url" run - >"$root/printed" <<'CALLS' || fail "$(cat "$root/printed")"
zfCreateClientB
zfSetupClientC $handle, 3000, 1, "", "", "", "", "", 0
zfConnectB $handle, $url
zfWriteAttribute $handle, "a\x00b", 11, 4011, 2, 0, 13
CALLS
    query "CREATE FOREIGN TABLE zero (v text OPTIONS (node 'ns=2;i=4011')) SERVER north"
    query "SELECT value IS NULL, status_name FROM nimb.changes('zero', 0)" >"$root/printed" 2>&1
    printed 't|Good'
    printed 'NULL: 1 of the values, the first because the text has a zero byte, node ns=2;i=4011'
}

# The session is encrypted and signed, its files named by the server's options.
encrypted() {
    local own=$root/run/client
    kill "$plant"
    start_plant --encrypted "$root/run/plant"
    "${as_user[@]}" mkdir -p "$own/trusted" "$own/revoked"
    "${as_user[@]}" openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=client -keyout "$own/key.pem" \
        -outform DER -out "$own/client.der" -addext subjectAltName=URI:urn:client \
        -addext keyUsage=digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment 2>/dev/null
    "${as_user[@]}" cp "$own/client.der" "$root/run/plant/trusted"
    query "ALTER SERVER north OPTIONS (SET url '$url')" 2>/dev/null
    takes 0 3 query 'SELECT level FROM tank'
    printed HV00N
    query "ALTER SERVER north OPTIONS (certificate '$own/client.der', key '$own/key.pem', trusted '$own/trusted', revoked '$own/revoked', uri 'urn:client')"
    takes 0 3 query 'SELECT level FROM tank'
    printed 'HV00N: OPC UA: BadCertificateUntrusted'
    "${as_user[@]}" cp "$root/run/plant/own/server.der" "$own/trusted"
    [ "$(query 'SELECT level FROM tank')" = 42.5 ] || fail 'no value from the encrypted plant'
}

transcript "$here/tables.txt"
if grep -E 'plant-7|secret' "$root/run/log"; then fail 'a password in the log'; fi

# Every example of the manual runs, in a database of its own.
query 'CREATE DATABASE manual'
sed -n "/^\`\`\`sql/,/^\`\`\`\$/{/^\`\`\`/d; s|opc.tcp://plant:4840|$url|; p}" \
    "$here/../../docs/postgresql.md" >"$root/manual.sql"
psql -qAtX -v ON_ERROR_STOP=1 -d manual -f "$root/manual.sql" >"$root/printed" ||
    fail 'an example of the manual fails'
printed '42.5|63.5'
[ "$(psql -qAtX -d manual -c 'SELECT count(*) FROM changes')" = 3 ] || fail 'no changes were recorded'

# A dump brings the tables back.
query 'CREATE DATABASE restored'
pg_dump manual | psql -qAtX -v ON_ERROR_STOP=1 -d restored >"$root/printed"
[ "$(psql -qAtX -d restored -c 'SELECT level FROM tank')" = 42.5 ] || fail 'the dump does not restore'

query "CREATE EXTENSION nimbopcua;
       CREATE SERVER north FOREIGN DATA WRAPPER nimbopcua OPTIONS (url '$url', timeout '1000');
       CREATE FOREIGN TABLE long (v text OPTIONS (field 'value')) SERVER north OPTIONS (nodes 'ns=2;s=Tank1.Level ns=2;s=Tank2.Level');
       CREATE FOREIGN TABLE tank (level float8 OPTIONS (node 'ns=2;s=Tank1.Level'),
                                  set_point float8 OPTIONS (node 'ns=2;s=Tank1.SetPoint')) SERVER north"
zero_byte
failing_network
frozen_plant
# Long enough that the end from outside comes first, also on a busy machine.
query "ALTER SERVER north OPTIONS (SET timeout '3000')"
ended_from_outside pg_cancel_backend 5 5000 '57014: canceling'
ended_from_outside pg_terminate_backend 7 8500 '57P01: terminating'
query "ALTER SERVER north OPTIONS (SET timeout '1000')"
killed_plant
flat
backends
encrypted
