# shellcheck shell=bash disable=SC2154
# Sourced by ./run, ./test and tests/check: what must be on a machine, and the way from there to a build.
# The caller sets `here`, the directory of the checkout.

releaseName() { (. /etc/os-release && echo "${VERSION_CODENAME-}"); }

# Of clang's tools, as the release has them; another one in the environment holds.
clangVersion() {
    case $(releaseName) in
    bookworm | jammy) echo 14 ;;
    noble) echo 18 ;;
    *) echo 19 ;;
    esac
}
export CLANG_VERSION=${CLANG_VERSION:-$(clangVersion)}

# When it is needed, how it is seen to be there, and its package in Debian and Ubuntu. Configuring looks for
# what the tests are built with as well, so ./run needs it too: one build directory serves both commands.
readonly PREREQUISITES="
build   command  g++                     g++
build   command  cmake                   cmake
build   command  ninja                   ninja-build
build   header   nlohmann/json.hpp       nlohmann-json3-dev
build   header   CLI/CLI.hpp             libcli11-dev
build   header   expat.h                 libexpat1-dev
build   header   gtest/gtest.h           libgtest-dev
build   header   gmock/gmock.h           libgmock-dev
build   command  python3                 python3
build   header   pugixml.hpp             libpugixml-dev
build   header   httplib.h               libcpp-httplib-dev
build   command  xmllint                 libxml2-utils
build   command  readelf                 binutils
test    command  /usr/sbin/snmpd         snmpd
test    command  snmpget                 snmp
test    file     /usr/lib/python3/dist-packages/jsonschema/__init__.py python3-jsonschema
checks  command  git                     git
checks  command  strace                  strace
checks  command  promtool                prometheus
checks  command  mandoc                  mandoc
checks  command  clang-format-$CLANG_VERSION         clang-format-$CLANG_VERSION
checks  command  run-clang-tidy-$CLANG_VERSION       clang-tidy-$CLANG_VERSION
package command  mmdebstrap              mmdebstrap
package command  lintian                 lintian
package command  systemd-analyze         systemd
package command  shellcheck              shellcheck
armhf   command  arm-linux-gnueabihf-g++ g++-arm-linux-gnueabihf
armhf   command  qemu-arm                qemu-user
armhf   file     /usr/src/googletest/CMakeLists.txt googletest
browser command  chromium                chromium
redfish file     /usr/lib/python3/dist-packages/jsonschema/__init__.py python3-jsonschema
redfish file     /usr/lib/python3/dist-packages/sushy/__init__.py python3-sushy
redfish command  redfishtool             redfishtool
coverage command gcovr                   gcovr
fuzz    command  clang++-$CLANG_VERSION              clang-$CLANG_VERSION
fuzz    file     /usr/lib/llvm-$CLANG_VERSION/lib/clang/$CLANG_VERSION*/lib/linux/libclang_rt.fuzzer-*.a libclang-rt-$CLANG_VERSION-dev
bench   header   benchmark/benchmark.h   libbenchmark-dev
bench   command  valgrind                valgrind
bench   command  arm-linux-gnueabihf-g++ g++-arm-linux-gnueabihf
"

fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

isThere() { # command|file|header NAME
    case $1 in
    file) compgen -G "$2" >/dev/null ;;
    command) command -v "$2" >/dev/null ;;
    header) g++ -E -x c++ - <<<"#include <$2>" >/dev/null 2>&1 ;;
    esac
}

# The packages of what is missing, on one line.
missingPackages() { # STAGE...
    local stage kind name package missing=()
    while read -r stage kind name package; do
        [[ " $* " == *" $stage "* ]] && ! isThere "$kind" "$name" && missing+=("$package")
    done <<<"$PREREQUISITES"
    echo "${missing[*]}"
}

# All packages of the stages, with commas.
packagesOf() { # STAGE...
    local stage kind name package found=()
    while read -r stage kind name package; do
        [[ " $* " == *" $stage "* ]] && found+=("$package")
    done <<<"$PREREQUISITES"
    (IFS=, && echo "${found[*]}")
}

# Runs a command whose output matters only when it fails; then the end of it is shown.
quietly() { # LOG COMMAND...
    local log=$1
    shift
    "$@" >"$log" 2>&1 </dev/null && return
    tail -n 40 "$log" >&2
    return 1
}

# As root. Programs are wanted, not services: a policy that forbids to start them stands meanwhile, and the
# services among the packages are not started later either.
# shellcheck disable=SC2016 # it expands in its own shell
readonly INSTALL='
    PATH=$PATH:/usr/sbin:/sbin
    policy=/usr/sbin/policy-rc.d
    if [[ ! -e $policy ]]; then
        trap "rm -f $policy" EXIT
        printf "#!/bin/sh\nexit 101\n" >$policy
        chmod +x $policy
    fi
    export DEBIAN_FRONTEND=noninteractive
    aptGet="apt-get -q -y -o DPkg::Lock::Timeout=300"
    # The lists may be old or none; where they cannot be renewed, those that are there may do.
    $aptGet update || echo "The package lists could not be renewed."
    $aptGet install --no-install-recommends "$@" || exit
    for service in snmpd prometheus; do
        [[ " $* " != *" $service "* ]] || update-rc.d $service disable || echo "$service may start with the system."
    done
'

installMissing() { # STAGE...
    local missing asRoot=()
    missing=$(missingPackages "$@")
    [[ -n $missing ]] || return 0
    command -v apt-get >/dev/null ||
        fail "missing here; install what is called in Debian: $missing"
    if ((EUID != 0)); then
        asRoot=(sudo -n)
        sudo -n true 2>/dev/null || fail "missing here; install as root: apt-get install $missing"
    fi

    echo "Installing $missing"
    mkdir -p "$here/build" || exit
    # shellcheck disable=SC2086 # a list of words
    quietly "$here/build/apt.log" "${asRoot[@]}" bash -c "$INSTALL" install $missing ||
        fail "could not install $missing"
    missing=$(missingPackages "$@")
    [[ -z $missing ]] || fail "installed, but of no use here: $missing"
}

buildDirectory() { # PRESET
    case $1 in
    default) echo "$here/build" ;;
    *) echo "$here/build-$1" ;;
    esac
}

# Ninja itself asks for a new configuration when a CMakeLists.txt or the set of files has changed.
configure() { # PRESET
    local directory cache
    directory=$(buildDirectory "$1")
    cache=$directory/CMakeCache.txt
    mkdir -p "$directory" || exit
    if [[ -f $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$here" "$cache"; then
        rm -rf "$cache" "$directory/CMakeFiles" # the checkout was moved or copied
    fi
    [[ -f $directory/build.ninja && -f $cache && $directory/build.ninja -nt $here/CMakePresets.json ]] && return
    (cd "$here" && quietly "$directory/configure.log" cmake --preset "$1") || fail "could not configure the build"
}

# Waits until no other call holds FILE; it is ours until this process ends, or DESCRIPTOR is closed.
takeTurn() { # FILE DESCRIPTOR
    [[ -w $1 || (! -e $1 && -w ${1%/*}) ]] ||
        fail "this checkout was built by another user ($(stat -c %U "${1%/*}")): build in a clone of your own"
    eval "exec $2>\"\$1\"" || exit
    flock -n "$2" && return
    echo "Waiting for another call to end"
    flock "$2"
}

# Silent when nothing is to be done. One at a time: two builds in one directory would spoil each other.
build() { # PRESET [TARGET...]
    local directory
    directory=$(buildDirectory "$1")
    mkdir -p "$directory" || exit
    takeTurn "$directory/build.lock" 8
    configure "$1"
    shift
    ninja -C "$directory" "$@" </dev/null 2>&1 8>&- |
        sed -u -e '/: Entering directory /d' -e '/Re-checking globbed directories/d' -e '/^ninja: no work to do/d' ||
        fail "could not build"
    exec 8>&-
}
