#!/bin/bash
# Opening an AVI of 320,000 frames beside ffprobe, in one run; best of ROUNDS each. Ours opens, fills the frame table and
# writes one frame, as a whole process.
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
rounds=${ROUNDS:-5}

"$here/build/bench/make_clip" "$folder/clip.avi" 32 32 320000 16 8000
ls -l "$folder/clip.avi" | awk '{printf "clip of 320000 frames with sound, %.0f MiB\n", $5 / 1048576}'
echo "vantel, open and save frame 1:  $(best '%e %M' "$here/build/vantel" "$folder/clip.avi" -r1,1 -o "$folder/out.avi" -q) (s, KiB)"
echo "vantel, start and end alone:    $(best '%e %M' "$here/build/vantel" -q) (s, KiB)"
echo "ffprobe -count_packets:         $(best '%e %M' ffprobe -count_packets -show_entries stream=nb_read_packets "$folder/clip.avi") (s, KiB)"
echo "ffprobe:                        $(best '%e %M' ffprobe -show_entries stream=nb_frames "$folder/clip.avi") (s, KiB)"
