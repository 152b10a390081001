#!/bin/sh
# Installs the Debian packages that are missing, then configures and builds one preset.
# usage: packaging/setup.sh PRESET FOLDER [TARGET...]
set -eu
cd "$(dirname "$0")/.."

missing=
for package in $(sed 's/#.*//' packaging/packages.txt); do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
done
if [ -n "$missing" ]; then
    echo "== installing:$missing" >&2
    as_root=
    [ "$(id -u)" -eq 0 ] || as_root=sudo
    $as_root apt-get update -qq
    # shellcheck disable=SC2086
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >&2
fi

preset=$1
folder=$2
shift 2
if [ ! -f "$folder/build.ninja" ]; then
    echo "== configuring $folder" >&2
    cmake --preset "$preset" >&2
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! ninja -C "$folder" -n "$@" 2>/dev/null | grep -q 'no work to do'; then
    echo "== building $folder" >&2
    if [ -t 2 ]; then
        ninja -C "$folder" "$@" >&2
    else
        ninja -C "$folder" "$@" >"$log" 2>&1 || { tail -n 60 "$log" >&2; exit 1; }
    fi
fi
