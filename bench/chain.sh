#!/bin/bash
# Joining three clips, and mixing, beside ffmpeg copying streams and cp copying bytes, in one run; best of ROUNDS each.
# usage: bench/chain.sh [FOLDER]   FOLDER: where the files go, default /dev/shm, so that no disk is measured
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
rounds=${ROUNDS:-5}
chain=$here/build/bench/chain_bench
fresh=$folder/out.avi

report() {  # name, bytes, best's three numbers
    awk -v name="$1" -v n="$2" '{printf "%-34s %6.2f s  %7.0f MB/s  cpu %.2f s\n", name, $1, n / 1e6 / ($1 > 0 ? $1 : 0.01), $2 + $3}' <<<"$3"
}

size() { stat -c %s "$folder/out.avi"; }

compare() {  # label, files
    local label=$1 list="$folder/list.txt"
    shift
    for file in "$@"; do echo "file '$file'"; done >"$list"
    "$chain" "$folder/out.avi" "$@" >/dev/null
    local bytes
    bytes=$(size)
    cp "$folder/out.avi" "$folder/whole.avi"
    report "$label, joined by vantel" "$bytes" "$(best '%e %U %S' "$chain" "$folder/out.avi" "$@")"
    report "$label, joined by ffmpeg" "$bytes" \
        "$(best '%e %U %S' ffmpeg -nostdin -y -f concat -safe 0 -i "$list" -c copy "$folder/out.avi")"
    report "$label, cp" "$bytes" "$(best '%e %U %S' cp --reflink=never "$folder/whole.avi" "$folder/out.avi")"
    rm "$folder/whole.avi"
}

big=$folder/big.avi small=$folder/small.avi
"$here/build/bench/make_clip" "$big" 1280 720 120 24 48000
compare "RGB24 720p" "$big" "$big" "$big"
mixed=$(best '%e %U %S' "$chain" -m "$folder/out.avi" "$big" "$big")
report "RGB24 720p, mixed by vantel" "$(size)" "$mixed"
report "RGB24 720p, mixed by ffmpeg" "$(size)" \
    "$(best '%e %U %S' ffmpeg -nostdin -y -i "$big" -i "$big" -map 0:v -map 1:a -c copy "$folder/out.avi")"
cp "$folder/out.avi" "$folder/whole.avi"
report "RGB24 720p, cp" "$(size)" "$(best '%e %U %S' cp --reflink=never "$folder/whole.avi" "$folder/out.avi")"
rm "$folder/whole.avi"
rm "$big"

ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=s=320x240:r=30 -f lavfi -i sine=r=48000 -t 600 -c:v mpeg4 -vtag XVID \
    -b:v 1M -c:a pcm_s16le "$small"
compare "XVID 320x240" "$small" "$small" "$small"
