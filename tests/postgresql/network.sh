# A network that fails between the database and the plant: sourced by postgresql_test.sh.

# Puts a relay before the plant, and a server and a table behind it. network_is('freeze') does that
# to the relay, also from within a statement, and answers another number each time.
start_relay() {
    local to=$root/run/fault from=$root/run/in_effect relayed
    mkfifo -m 666 "$to" "$from"
    "$build/bin/postgresql_relay" "${url##*:}" <>"$to" 1<>"$from" &
    relay=$!
    read -r -t 30 relayed <"$from"
    query "CREATE SERVER far FOREIGN DATA WRAPPER nimbopcua OPTIONS (url '$relayed', timeout '700');
           CREATE FOREIGN TABLE far (level float8 OPTIONS (node 'ns=2;s=Tank1.Level'),
                                     set_point float8 OPTIONS (node 'ns=2;s=Tank1.SetPoint')) SERVER far;
           CREATE FUNCTION network_is(fault text) RETURNS float8 LANGUAGE plpgsql AS \$\$ BEGIN
               EXECUTE format('COPY (SELECT %L) TO PROGRAM %L', fault, 'cat >$to; read -r _ <$from');
               RETURN extract(epoch FROM clock_timestamp()); END \$\$"
}

# In one line what a statement says under a fault, whether it took too long, the locks that it left,
# and whether the next one succeeds when the network is well again. Changes that are not there are
# asked for again: polls are quiet until the connection has been down for the timeout.
under() {
    local fault="SELECT network_is(:'fault') \gset" most=1.5 again='SELECT level > 0 FROM far;'
    local statement='SELECT level FROM far;'
    local changes="count(c) > 0 FROM generate_series(1, 8) i, LATERAL nimb.changes('far', :after + i) c;"
    case $2 in
        modify) fault='' statement="UPDATE far SET set_point = network_is(:'fault');" ;;
        browse) statement="SELECT count(*) > 2 FROM nimb.browse('far', 'ns=2;i=1000');" ;;
        changes) most=2.7 statement="SELECT $changes" again="\\set after 0
UPDATE far SET set_point = network_is('none'); SELECT $changes" ;;
    esac
    psql -qAtX -v VERBOSITY=verbose -v fault="$1" 2>&1 <<SQL |
SELECT level FROM far; SELECT count(*) FROM nimb.changes('far', 0);
SELECT (extract(epoch FROM now()) * 1e6)::int8 AS after \gset
$fault
SELECT clock_timestamp() AS begin \gset
$statement
SELECT '=', clock_timestamp() - :'begin' > '$most s', (SELECT count(*) FROM pg_locks WHERE relation = 'far'::regclass);
SELECT network_is('none') \gset
$again
SQL
        sed -n '1,2d; /^ERROR/ {s/ERROR:  //; s/\(Bad[A-Za-z]*\): .*/\1/; p}; /^HINT.*carried out/ {s/.*/in doubt/; p}; /^[=tf]/p' |
        paste -sd' '
}

failing_network() {
    local silent='HV000: OPC UA: (BadTimeout|the server was not reached)'
    local ended='HV00N: OPC UA: Bad(Connection|SecureChannel)(Closed|Rejected)'
    local fault what said
    start_relay
    for fault in freeze slow cut reset; do
        for what in scan modify browse changes; do
            said=$(under $fault $what)
            case $fault in freeze | slow) expected=$silent ;; *) expected=$ended ;; esac
            [ $what != modify ] || expected+=' in doubt'
            [[ $said =~ ^$expected' =|f|0 t'$ ]] || fail "$what when the network is $fault: $said"
        done
    done
    kill "$relay"
}
