#!/bin/bash
# A whole save of an uncompressed 720p clip beside ffmpeg doing the same job, in one run; best of ROUNDS each.
# usage: bench/save.sh [FOLDER]   FOLDER: where the files go, default /dev/shm, so that no disk is measured
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
folder=$(mktemp -d "${1:-/dev/shm}/vantel-bench-XXXXXX")
trap 'rm -rf "$folder"' EXIT
export VANTEL_HOME=$folder/home
mkdir "$VANTEL_HOME"
rounds=${ROUNDS:-5}
frames=400

best() {  # wall and processor seconds of the fastest round
    for _ in $(seq "$rounds"); do
        /usr/bin/time -f '%e %U %S' -o "$folder/time" "$@" >/dev/null 2>&1
        cat "$folder/time"
    done | sort -n | head -n 1
}

report() {  # name, then best's three numbers
    awk -v name="$1" -v n=$frames '{printf "%-44s %6.2f s  %7.1f frames/s  cpu %.2f s\n", name, $1, n / $1, $2 + $3}' <<<"$2"
}

for bits in 24 0; do
    "$here/build/bench/make_clip" "$folder/clip.avi" 1280 720 $frames $bits 48000
    label=$([ $bits = 0 ] && echo YUY2 || echo RGB24)
    report "vantel $label to RGB24, through YC48" \
        "$(best "$here/build/vantel" "$folder/clip.avi" -o "$folder/out.avi" -q)"
    report "ffmpeg $label to RGB24" \
        "$(best ffmpeg -nostdin -y -i "$folder/clip.avi" -c:v rawvideo -pix_fmt bgr24 -c:a pcm_s16le "$folder/peer.avi")"
    report "ffmpeg $label to RGB24, through yuv444p16" \
        "$(best ffmpeg -nostdin -y -i "$folder/clip.avi" -vf format=yuv444p16le -c:v rawvideo -pix_fmt bgr24 -c:a pcm_s16le "$folder/peer.avi")"
    report "cp of the output" "$(best cp "$folder/out.avi" "$folder/copy.avi")"
done
