#!/bin/bash
# packaging/image.sh MACHINE [armhf]: runs the installable executable as an image would: installed below a root of its own
# (mount and process namespace), started and stopped by its init script, with the stand-ins as the firmware's libraries.
# What it writes there is compared with what the workstation's executable writes. armhf: the target's, under qemu-user.

set -u -o pipefail
script=$(readlink -f -- "${BASH_SOURCE[0]}")
here=$(dirname -- "$(dirname -- "$script")")
. "$here/packaging/prepare.sh"

readonly DAEMON=/usr/local/bin/ZEB_MIRA_Update
readonly SERVICE=/etc/init.d/zeb-mira-update
readonly ARM_LIBRARIES=/usr/arm-linux-gnueabihf
readonly SECONDS_TO_WRITE=20

# 1: not within a fair time.
waitFor() { # COMMAND...
    local end=$((SECONDS + SECONDS_TO_WRITE))
    until "$@"; do
        ((SECONDS < end)) || return
        sleep 0.1
    done
}

isWhole() { [[ $(tail -n 1 "$1" 2>/dev/null) == '</QPRaidStorageDeviceTree>' ]]; }

isGone() { [[ ! -e /proc/$1 ]]; } # PID

# --- within the namespaces, as their first process: what is left when it ends is ended with it.

inRoot() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin BMC_ROOT=/bmc LD_LIBRARY_PATH=/usr/local/lib "$@"; }

# The workstation's system below, our own /usr/local, /etc, /var, /tmp and /conf above.
mountRoot() {
    local directory
    mount -t tmpfs none "$root" && cp -r --preserve=mode "$root.installed/." "$root" || return
    mkdir -p "$root"/{usr.local,proc,dev,var,tmp,conf,bmc} && mv "$root/usr/local/"* "$root/usr.local/" || return
    for directory in usr dev; do mount --rbind "/$directory" "$root/$directory" || return; done
    mount --bind "$root/usr.local" "$root/usr/local" && mount -t proc none "$root/proc" || return
    for directory in bin lib lib64; do
        [[ ! -e /$directory ]] || ln -s "usr/$directory" "$root/$directory" || return
    done
}

# The variables are for the loader alone. qemu-arm has it in a directory of its own.
missingSymbols() {
    local loader=()
    if [[ $target == armhf ]]; then
        loader=(qemu-arm -L "$ARM_LIBRARIES" -E LD_TRACE_LOADED_OBJECTS=1 -E LD_WARN=yes -E LD_BIND_NOW=1)
        inRoot "${loader[@]}" "$DAEMON"
    else
        inRoot /bin/sh -c "LD_TRACE_LOADED_OBJECTS=1 LD_WARN=yes LD_BIND_NOW=1 exec $DAEMON"
    fi 2>&1 | grep -E 'undefined|not found'
}

# Under qemu-arm the executable is another, so the init script is for this machine's alone.
service() { # start|stop|status
    local pid=$root/bmc/simulator/monitor/ZEB_MIRA_Update
    case $target:$1 in
    armhf:start) inRoot qemu-arm -L "$ARM_LIBRARIES" "$DAEMON" && waitFor test -s "$pid" && cp "$pid" "$root/pid" ;;
    armhf:stop) kill -INT "$(<"$root/pid")" && waitFor isGone "$(<"$root/pid")" ;;
    armhf:status) [[ -e $root/pid ]] && ! isGone "$(<"$root/pid")" || return 3 ;;
    *) inRoot "$SERVICE" "$1" ;;
    esac
}

runInside() { # ROOT MACHINE
    local tree missing
    root=$1
    tree=$root/var/RAIDStorageDeviceTree.xml
    mountRoot || fail "could not lay the root out"
    cp "$2" "$root/bmc/machine.json" || exit

    missing=$(missingSymbols)
    [[ -z $missing ]] || fail "the libraries lack"$'\n'"$missing"
    echo "symbols missing: 0"

    ! service status || fail "it runs before it was started"
    if ! service start || ! service status; then fail "could not be started"; fi
    waitFor isWhole "$tree" || fail "no tree: $(cat "$root"/bmc/simulator/log "$root"/var/LogFile.* 2>/dev/null)"
    cp "$tree" "$root.tree" && stat -c '%A %s %n' "$root"/var/* | sed "s|$root||" || exit

    service stop || fail "could not be stopped"
    service status
    (($? == 3)) || fail "it still runs"
    if ! service start || ! service stop; then fail "could not be started again"; fi
    grep -q 'got signal 2' "$root/var/LogFile.MIRA_update" || fail "it ended otherwise than by the request"
    [[ ! -e $root/bmc/simulator/monitor/ZEB_MIRA_Update ]] || fail "the process monitor would start it again"
    echo "clean stop"
}

# --- outside

# An ordinary user gets a user namespace for it, where the system allows it.
separated() { # COMMAND...
    local flags=(--mount --pid --fork --kill-child --mount-proc)
    ((EUID == 0)) || flags+=(--map-root-user)
    unshare "${flags[@]}" true 2>/dev/null ||
        fail "a root of its own needs namespaces, which this system does not allow here: call it as root, or allow user namespaces"
    unshare "${flags[@]}" "$@"
}

# The tree of the same machine, by the workstation's executable.
writeAtDesk() ( # ROOT MACHINE
    mkdir -p "$1" && cp "$2" "$1/machine.json" && unset BMC_SPEED BMC_TIME BMC_UNTIL BMC_TRACE || exit
    BMC_ROOT=$1 "$here/build/simulator/ZEB_MIRA_Update" </dev/null >"$1.output" 2>&1 || exit
    waitFor isWhole "$1/var/RAIDStorageDeviceTree.xml"
    result=$?
    pid=$(<"$1/simulator/monitor/ZEB_MIRA_Update") && kill -INT "$pid" && waitFor isGone "$pid" || exit
    exit "$result"
)

if [[ ${1-} == --inside ]]; then
    target=${4-}
    runInside "$2" "$3"
    exit
fi

readonly machine=${1-$here/machines/two-controllers.json} target=${2-}
[[ -r $machine && ! -d $machine ]] || fail "no file that can be read: $machine"
installMissing build ${target:+"$target"}
build default workstation
standIns=$here/build/simulator
image=image
if [[ $target == armhf ]]; then
    build armhf workstation
    standIns=$here/build-armhf/simulator
    image=armhf-image
fi
build "$image" ZEB_MIRA_Update

layOut() { # ROOT: as an image's build would
    local libraries=$1.installed/usr/local/lib
    mkdir "$1" && DESTDIR=$1.installed cmake --install "$(buildDirectory "$image")" --component daemon --strip >/dev/null &&
        mkdir -p "$libraries" && cp "$standIns"/lib*.so "$libraries" || return
    [[ $target != armhf ]] || cp "$here"/build-armhf/sysroot/usr/lib/arm-linux-gnueabihf/libexpat.so.1 "$libraries"
}

scratch=$(mktemp -d) && trap 'rm -rf "$scratch"' EXIT || exit
root=$scratch/root
layOut "$root" || fail "could not be installed"
separated "$script" --inside "$root" "$machine" "$target" || fail "not as it has to be"
writeAtDesk "$scratch/desk" "$machine" || fail "the workstation's executable wrote no tree"
cmp "$root.tree" "$scratch/desk/var/RAIDStorageDeviceTree.xml" || fail "the trees differ"
echo "tree equal to the workstation's, byte by byte"
