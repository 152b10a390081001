#!/bin/bash
# Reading a long-GOP 1080p film beside ffmpeg and ffprobe, in one run: opening it (first and with its index file), pictures
# in order, and single pictures at random places; best of ROUNDS each, random places as p50 and p95.
# usage: bench/container.sh [FOLDER]   FOLDER: where the files go, default /dev/shm; SECONDS_LONG=60 ROUNDS=3 PLACES=40
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
rounds=${ROUNDS:-3}
places=${PLACES:-40}
length=${SECONDS_LONG:-60}
program=$here/build/bench/container_read
film=$folder/film.mp4

ffmpeg -nostdin -loglevel error -f lavfi -i "testsrc2=size=1920x1080:rate=25:duration=$length" -f lavfi \
    -i "sine=duration=$length" -vf noise=alls=8:allf=t -c:v libx264 -preset veryfast -g 250 -bf 3 -pix_fmt yuv420p \
    -c:a aac "$film"
frames=$((length * 25))
ls -l "$film" | awk -v n=$frames '{printf "film of %d pictures, %.0f MiB\n", n, $5 / 1048576}'

echo "open, by the file's tables:      $(best '%e' "$program" "$film" open) s"
ffmpeg -nostdin -loglevel error -y -i "$film" -c copy "$folder/film.ts"
echo "open, ts, by reading all of it:  $(best '%e' "$program" "$folder/film.ts" open) s"
echo "open, ts, by its index file:     $("$program" "$folder/film.ts" index "$folder/index/" >/dev/null; best '%e' "$program" "$folder/film.ts" index "$folder/index/") s"
echo "ffprobe:                         $(best '%e' ffprobe -loglevel error "$film") s"
echo "ffprobe -count_packets, ts:      $(best '%e' ffprobe -loglevel error -count_packets -show_streams "$folder/film.ts") s"
for threads in 1 2; do
    awk -v n=$frames -v t=$threads -v a="$(best '%e' "$program" "$film" all $threads)" \
        -v b="$(best '%e' ffmpeg -nostdin -threads $threads -i "$film" -an -pix_fmt yuyv422 -f rawvideo -y /dev/null)" 'BEGIN {
        printf "all pictures as YUY2, %d threads: %.1f frames/s, ffmpeg %.1f\n", t, n / a, n / b}'
done

# At random places: one open file, the file opened anew for each (no list at hand), and an ffmpeg process for each.
"$program" "$film" random 2 "$places"
"$program" "$film" anew 2 "$places"
for i in $(seq 10); do
    at=$(awk -v i="$i" -v l="$length" 'BEGIN {srand(i); print rand() * (l - 1)}')
    /usr/bin/time -f '%e' -o "$folder/time" ffmpeg -nostdin -loglevel error -ss "$at" -i "$film" -frames:v 1 \
        -pix_fmt yuyv422 -f rawvideo -y /dev/null
    cat "$folder/time"
done | sort -n | awk '{v[NR] = $1} END {printf "ffmpeg -ss, a process each:      p50 %.0f ms, p95 %.0f ms\n", v[5] * 1000, v[10] * 1000}'
