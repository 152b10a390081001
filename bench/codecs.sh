#!/bin/bash
# Encoding through each compressor beside the ffmpeg command line with the same codec, settings and threads: frames a
# second of whole runs from a raw YUY2 clip (best of ROUNDS), and the size of what came out.
# usage: bench/codecs.sh [FOLDER]   ROUNDS, FRAMES, SIZE and THREADS can be set in the environment
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
rounds=${ROUNDS:-3} frames=${FRAMES:-120} size=${SIZE:-1280x720} threads=${THREADS:-2}
printf '[system]\nwidth=1920\nheight=1088\nmultithread=%s\nyuy2mode=1\n' "$threads" >"$VANTEL_HOME/vantel.ini"

# handler | arguments of ours | arguments of ffmpeg
cases=(
    "HFYU||huffyuv -pix_fmt yuv422p"
    "FFVH||ffvhuff -pix_fmt yuv422p -pred left"
    "FFV1||ffv1 -pix_fmt yuv422p -g 1"
    "ULY2||utvideo -pix_fmt yuv422p -pred left"
    "MAGY||magicyuv -pix_fmt yuv422p"
    "MJPG|8500|mjpeg -pix_fmt yuvj422p -q:v 5.5"
    "XVID|8500,300|mpeg4 -vtag XVID -pix_fmt yuv420p -q:v 5 -g 300"
    "H264|6100,300|libx264 -pix_fmt yuv420p -preset veryfast -tune zerolatency -crf 19 -g 300"
    "VP80|8000,300|libvpx -pix_fmt yuv420p -deadline realtime -cpu-used 8 -lag-in-frames 0 -crf 15 -b:v 100M -g 300"
)
"$here/build/bench/make_clip" "$folder/clip.avi" "${size%x*}" "${size#*x}" "$frames" 0 0
echo "== $size, $frames frames, $threads threads: frames a second (KB of the file)"
for row in "${cases[@]}"; do
    IFS='|' read -r handler ours theirs <<<"$row"
    "$here/build/bench/make_profile" "$VANTEL_HOME/p.cfg" "codec=$handler${ours:+,$ours}"
    mine=$(best '%e' "$here/build/vantel" "$folder/clip.avi" -p p -o "$folder/out.avi" -q)
    # shellcheck disable=SC2086
    peer=$(best '%e' ffmpeg -nostdin -y -i "$folder/clip.avi" -threads "$threads" -c:v $theirs "$folder/peer.avi")
    awk -v h="$handler" -v n="$frames" -v a="$mine" -v b="$peer" -v sa="$(stat -c %s "$folder/out.avi")" \
        -v sb="$(stat -c %s "$folder/peer.avi")" \
        'BEGIN {printf "%-5s vantel %6.1f (%d)   ffmpeg %6.1f (%d)   ratio %.2f\n", h, n / a, sa / 1024, n / b, sb / 1024, b / a}'
done
