#!/bin/bash
# A whole save of an uncompressed 720p clip beside ffmpeg doing the same job, in one run; best of ROUNDS each.
# usage: bench/save.sh [FOLDER]   FOLDER: where the files go, default /dev/shm, so that no disk is measured
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
rounds=${ROUNDS:-5}
frames=400

report() {  # name, then best's three numbers
    awk -v name="$1" -v n=$frames '{printf "%-44s %6.2f s  %7.1f frames/s  cpu %.2f s\n", name, $1, n / $1, $2 + $3}' <<<"$2"
}

for bits in 24 0; do
    "$here/build/bench/make_clip" "$folder/clip.avi" 1280 720 $frames $bits 48000
    label=$([ $bits = 0 ] && echo YUY2 || echo RGB24)
    report "vantel $label to RGB24, through YC48" \
        "$(best '%e %U %S' "$here/build/vantel" "$folder/clip.avi" -o "$folder/out.avi" -q)"
    report "ffmpeg $label to RGB24" \
        "$(best '%e %U %S' ffmpeg -nostdin -y -i "$folder/clip.avi" -c:v rawvideo -pix_fmt bgr24 -c:a pcm_s16le "$folder/peer.avi")"
    report "ffmpeg $label to RGB24, through yuv444p16" \
        "$(best '%e %U %S' ffmpeg -nostdin -y -i "$folder/clip.avi" -vf format=yuv444p16le -c:v rawvideo -pix_fmt bgr24 -c:a pcm_s16le "$folder/peer.avi")"
    report "cp of the output" "$(best '%e %U %S' cp "$folder/out.avi" "$folder/copy.avi")"
done
