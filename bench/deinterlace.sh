#!/bin/bash
# How near each deinterlace method comes to the progressive original, as PSNR of luma beside ffmpeg's yadif and bwdif,
# and how fast whole runs are. The clip is 59.94 progressive frames a second, interlaced to 29.97 top field first; the
# original of an output frame is the picture of its first field (second field for "even").
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
ff() { ffmpeg -nostdin -loglevel error -y "$@"; }

ff -f lavfi -i "mandelbrot=rate=60000/1001:size=720x480:end_scale=0.02" -f lavfi -i "testsrc2=rate=60000/1001:size=720x480" \
    -filter_complex "[0][1]blend=all_mode=average,format=yuyv422" -frames:v 240 -c:v rawvideo "$folder/original.avi"
ff -i "$folder/original.avi" -vf "format=yuv422p,tinterlace=interleave_top,format=yuyv422" -c:v rawvideo "$folder/clip.avi"

psnr() {  # file, which of two originals counts
    ffmpeg -nostdin -i "$1" -i "$folder/original.avi" -lavfi \
        "[1:v]select='eq(mod(n\,2)\,$2)',setpts=N/TB,format=yuv444p[o];[0:v]setpts=N/TB,format=yuv444p[c];[c][o]psnr" \
        -f null - 2>&1 | sed -n 's/.*PSNR y:\([0-9.]*\).*/\1/p'
}

names=(none odd even double 24fps auto)
for method in 0 1 2 3 4 5; do
    "$here/build/bench/make_profile" "$VANTEL_HOME/m$method.cfg" deinterlace=$method
    "$here/build/vantel" "$folder/clip.avi" -p m$method -o "$folder/out.avi" -q
    printf 'vantel %-8s %6s dB\n' "${names[method]}" "$(psnr "$folder/out.avi" $((method == 2)))"
done
for peer in yadif=mode=send_frame:parity=tff bwdif=mode=send_frame:parity=tff; do
    ff -i "$folder/clip.avi" -vf "format=yuv422p,$peer" -c:v rawvideo -pix_fmt yuyv422 "$folder/peer.avi"
    printf 'ffmpeg %-8s %6s dB\n' "${peer%%=*}" "$(psnr "$folder/peer.avi" 0)"
done

speed() {  # size, filter, threads: frames a second of ffmpeg over a raw 4:2:2 clip, decoding and reading included
    ffmpeg -nostdin -benchmark -filter_threads "$3" -threads 1 -i "$folder/speed-$1.avi" -vf "$2" -f null - 2>&1 |
        sed -n 's/.*rtime=\([0-9.]*\)s/\1/p' | awk -v n=300 '{printf "%.0f", n / $1}'
}
for size in 720x480 1920x1080; do
    ff -stream_loop 3 -f lavfi -i "testsrc2=rate=30:size=$size" -frames:v 300 -c:v rawvideo -pix_fmt yuv422p "$folder/speed-$size.avi"
    for threads in 1 2; do
        printf '%-10s %d threads: ffmpeg without a filter %s frames/s, yadif %s, bwdif %s\n' "$size" $threads \
            "$(speed $size null $threads)" "$(speed $size yadif=mode=send_frame:parity=tff $threads)" \
            "$(speed $size bwdif=mode=send_frame:parity=tff $threads)"
    done
    rm "$folder/speed-$size.avi"
done
"$here/build/bench/deinterlace_bench" --benchmark_filter='yuy2.*best|yc48.*best' --benchmark_min_time=0.3 2>/dev/null |
    sed -n 's/^\([a-z0-9_]*\)\/\([^ ]*\).*fps=\([^ ]*\).*/\2 \1 \3 frames\/s/p'
