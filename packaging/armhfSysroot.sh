#!/bin/bash
# packaging/armhfSysroot.sh DIRECTORY: the libraries and headers of 32-bit ARM that the cross compiler does not bring.
# Debian's packages, from the sources that this machine's apt knows, by an apt state of its own: to add a foreign
# architecture to the system's would bring its packages into every later installation.

set -eu -o pipefail

readonly PACKAGES='libcli11-dev libexpat1 libexpat1-dev nlohmann-json3-dev libpugixml1v5 libpugixml-dev'
readonly sysroot=$1
readonly state=$sysroot.apt

apt() {
    apt-get -q -o APT::Architecture=armhf -o APT::Architectures=armhf -o APT::Sandbox::User=root \
        -o Acquire::Languages=none -o Dir::State="$state" -o Dir::State::status="$state/status" \
        -o Dir::Cache="$state/cache" "$@"
}

rm -rf "$sysroot" "$sysroot.new" "$state"
mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$sysroot.new/usr"
: >"$state/status"

# Other sources than Debian's may have nothing for this processor; what counts is that the packages are found.
apt update || echo "Not every package list could be fetched."
# shellcheck disable=SC2086 # a list of words
(cd "$state" && apt download $PACKAGES)
for package in "$state"/*.deb; do
    dpkg -x "$package" "$sysroot.new"
done

# Everything below usr/, as on a running system: the linker and the loader then find libraries in one place.
if [[ -d $sysroot.new/lib ]]; then
    cp -a "$sysroot.new/lib" "$sysroot.new/usr/"
    rm -r "$sysroot.new/lib"
fi
find "$sysroot.new" -type l -lname '/*' -printf '%p %l\n' | while read -r link target; do
    ln -sfr "$sysroot.new/usr/${target#/usr/}" "$link" # relative; else it would lead out of the directory
done

rm -r "$state"
mv "$sysroot.new" "$sysroot"
