#!/bin/bash
# A whole job: noise removal, sharpening, resizing and H.264 with sound, beside the nearest ffmpeg command with the same
# threads. Wall time, CPU time and peak memory (best of ROUNDS by wall time); then how the time grows with threads, and
# how opening, copying and memory grow with the length of a clip of small pictures.
# usage: bench/finish.sh [FOLDER]   ROUNDS, FRAMES, SIZE, THREADS and LENGTHS can be set in the environment
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
rounds=${ROUNDS:-3} frames=${FRAMES:-120} size=${SIZE:-1920x1080}
make_profile=$here/build/bench/make_profile

settings() { printf '[system]\nwidth=1920\nheight=1088\nmultithread=%s\nyuy2mode=%s\n' "$1" "$2" >"$VANTEL_HOME/vantel.ini"; }
# show NAME FRAMES "SECONDS USER SYSTEM KB": one row
show() {
    awk -v name="$1" -v n="$2" -v t="$3" 'BEGIN {
        split(t, v, " ")
        printf "%-34s %8.2f s %8.1f frames/s   CPU %8.2f s   %7.0f MB\n", name, v[1], n / v[1], v[2] + v[3], v[4] / 1024
    }'
}

"$here/build/bench/make_clip" "$folder/clip.avi" "${size%x*}" "${size#*x}" "$frames" 0 48000
"$make_profile" "$VANTEL_HOME/job.cfg" noise=256,1,24 sharpen=256,1,128,1024 clip=0,0,0,0/1280,720,0 codec=H264,6100,300
for threads in ${THREADS:-1 2 4}; do
    echo "== $size to 1280x720, $frames frames, $threads threads"
    for yuy2 in 0 1; do
        settings "$threads" "$yuy2"
        show "vantel, $([ "$yuy2" = 1 ] && echo 4:2:2 of 8 || echo 4:4:4 of 16) bits" "$frames" \
            "$(best '%e %U %S %M' "$here/build/vantel" "$folder/clip.avi" -p job -o "$folder/out.avi" -q)"
    done
    for format in yuv422p yuv444p16; do
        show "ffmpeg, $format" "$frames" "$(best '%e %U %S %M' ffmpeg -nostdin -y -filter_threads "$threads" \
            -threads "$threads" -i "$folder/clip.avi" \
            -vf "format=$format,bilateral=sigmaS=1,unsharp=3:3:1:3:3:1,scale=1280:720:flags=bilinear" \
            -threads "$threads" -c:v libx264 -preset veryfast -tune zerolatency -crf 19 -pix_fmt yuv420p -g 300 \
            -c:a pcm_s16le "$folder/peer.avi")"
    done
done

settings 2 0
"$make_profile" "$VANTEL_HOME/small.cfg" noise=256,1,24 codec=XVID,8500,300
for length in ${LENGTHS:-1000 10000 100000}; do
    "$here/build/bench/make_clip" "$folder/clip.avi" 64 64 "$length" 24 8000
    show "vantel, 64x64, $length frames" "$length" \
        "$(best '%e %U %S %M' "$here/build/vantel" "$folder/clip.avi" -p small -o "$folder/out.avi" -q)"
done
