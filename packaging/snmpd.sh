# shellcheck shell=bash disable=SC2154
# Sourced by ./run: a real snmpd on the loopback interface, in the place of the controller's. The caller sets `root`.

readonly snmpConf=$root/conf/snmp_users.conf
readonly snmpPidFile=$root/var/run/snmpd.pid
readonly snmpLog=$root/simulator/snmpd.log
readonly adopted=$root/simulator/adopted # processes beside those of the machine file that the daemon's signals reach

snmpSettings() {
    export SNMP_PERSISTENT_DIR=$root/simulator/snmp MIBS='' MIBDIRS=/nonexistent SNMPCONFPATH=/nonexistent
}

isOurSnmpd() { # PID
    [[ $(readlink "/proc/$1/exe") == /usr/sbin/snmpd ]] && grep -zqxF "$snmpConf" "/proc/$1/cmdline"
} 2>/dev/null

stopSnmpd() {
    local pid
    if ! [[ -r $snmpPidFile ]] || ! read -r pid <"$snmpPidFile" || ! isOurSnmpd "$pid"; then
        rm -f "$adopted" 2>/dev/null # of one that has ended otherwise
        return 0
    fi
    rm -rf "$adopted" "$root/proc/$pid" || exit
    kill -TERM "$pid" || fail "could not stop snmpd (process $pid)"
    while isOurSnmpd "$pid"; do sleep 0.05; done
    rm -f "$snmpPidFile" "$root/var/run/snmpd.run"
    echo "Stopped snmpd (process $pid)."
}

# So that it is found and told to reload. Its number may be another process's one day: it is not left behind.
adoptSnmpd() { # PID
    mkdir -p "$root/proc/$1" || exit
    printf '/usr/sbin/snmpd\0' >"$root/proc/$1/cmdline" || exit
    echo "$1" >"$adopted" || exit
}

# A free port is asked of the system by trying.
startSnmpd() {
    local pid end port
    snmpPort=
    mkdir -p "$root/conf" "$root/var/run" "$root/simulator/snmp" || exit
    [[ -e $snmpConf ]] || echo "rocommunity public 127.0.0.1" >"$snmpConf" || exit
    snmpSettings
    for port in 16161 26161 36161 46161; do
        rm -f "$snmpPidFile" "$snmpLog"
        /usr/sbin/snmpd -f -r -C -c "$snmpConf" -I -smux -m '' -Lf "$snmpLog" -p "$snmpPidFile" \
            "udp:127.0.0.1:$port" </dev/null >/dev/null 2>&1 9>&- &
        pid=$!
        end=$((SECONDS + 5))
        while kill -0 "$pid" 2>/dev/null && ((SECONDS < end)); do
            if [[ -s $snmpPidFile ]] && grep -q 'NET-SNMP version' "$snmpLog" 2>/dev/null; then
                snmpPort=$port
                echo "$pid" >"$root/var/run/snmpd.run"
                adoptSnmpd "$pid"
                return
            fi
            sleep 0.05
        done
        kill "$pid" 2>/dev/null
    done
    fail "snmpd did not start; see $snmpLog"
}

# What it answers; the daemon has written its configuration before the tree, and has told it to reload.
showSnmp() {
    local oid command
    sleep 0.2
    printf '\nsnmpd (process %s) serves\n' "$(<"$snmpPidFile")"
    for oid in sysContact:4 sysName:5 sysLocation:6; do
        command="snmpget -v2c -c public -On -Oqv -t 1 -r 0 127.0.0.1:$snmpPort 1.3.6.1.2.1.1.${oid#*:}.0"
        printf '  %-12s %s\n' "${oid%:*}" "$(snmpSettings; $command 2>&1)"
    done
    echo "  asked with   $command"
    echo "  change       SystemName, CabinetLocation, SystemContact in $root/machine.json: served a minute later"
}
