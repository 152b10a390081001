#!/bin/bash
# Opening an AVI of 320,000 frames beside ffprobe, in one run; best of ROUNDS each. Ours opens, fills the frame table and
# writes one frame, as a whole process.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
folder=$(mktemp -d "${1:-/dev/shm}/vantel-bench-XXXXXX")
trap 'rm -rf "$folder"' EXIT
export VANTEL_HOME=$folder/home
mkdir "$VANTEL_HOME"
rounds=${ROUNDS:-5}

best() {  # wall seconds and peak KiB of the fastest round
    for _ in $(seq "$rounds"); do
        /usr/bin/time -f '%e %M' -o "$folder/time" "$@" >/dev/null 2>&1
        cat "$folder/time"
    done | sort -n | head -n 1
}

"$here/build/bench/make_clip" "$folder/clip.avi" 32 32 320000 16 8000
ls -l "$folder/clip.avi" | awk '{printf "clip of 320000 frames with sound, %.0f MiB\n", $5 / 1048576}'
echo "vantel, open and save frame 1:  $(best "$here/build/vantel" "$folder/clip.avi" -r1,1 -o "$folder/out.avi" -q) (s, KiB)"
echo "vantel, start and end alone:    $(best "$here/build/vantel" -q) (s, KiB)"
echo "ffprobe -count_packets:         $(best ffprobe -count_packets -show_entries stream=nb_read_packets "$folder/clip.avi") (s, KiB)"
echo "ffprobe:                        $(best ffprobe -show_entries stream=nb_frames "$folder/clip.avi") (s, KiB)"
