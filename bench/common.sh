# What the scripts of this folder share; they source it with the folder for their files as the argument.
# shellcheck shell=bash
here=$(cd "$(dirname "$0")/.." && pwd)
folder=$(mktemp -d "${1:-/dev/shm}/vantel-bench-XXXXXX")
trap 'rm -rf "$folder"' EXIT
export VANTEL_HOME=$folder/home
mkdir "$VANTEL_HOME"

# best FORMAT COMMAND...: what /usr/bin/time says (by its format, seconds first) of the fastest of $rounds rounds.
# Nothing when the command fails. A file named in $fresh is deleted ahead of each.
best() {
    local format=$1
    shift
    for _ in $(seq "$rounds"); do
        [ -z "${fresh:-}" ] || rm -f "$fresh"
        /usr/bin/time -f "$format" -o "$folder/time" "$@" >/dev/null 2>&1 && cat "$folder/time"
    done | sort -n | head -n 1
}
