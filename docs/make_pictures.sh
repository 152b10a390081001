#!/bin/bash
# Makes the before/after pictures of docs/filters.md: one frame through the program with one filter on, beside the same
# frame without it. Needs a build (./run makes one) and ffmpeg.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export VANTEL_HOME=$folder/home
mkdir -p "$VANTEL_HOME" "$here/docs/pictures"
ff() { ffmpeg -nostdin -loglevel error -y "$@"; }

# A scene with flat parts, fine lines, edges and colours, and the same one with noise that changes from frame to frame.
ff -f lavfi -i "mandelbrot=size=240x180:rate=25:start_scale=2.6:end_scale=2.6" -f lavfi -i "testsrc=size=80x60:rate=25" \
    -filter_complex "[0][1]overlay=150:110,format=yuyv422" -frames:v 8 -c:v rawvideo "$folder/clean.avi"
ff -i "$folder/clean.avi" -vf "format=yuv444p,noise=alls=18:allf=t:all_seed=7,format=yuyv422" -c:v rawvideo "$folder/noisy.avi"
ff -i "$folder/clean.avi" -vf "format=yuv444p,gblur=0.9,format=yuyv422" -c:v rawvideo "$folder/soft.avi"

picture() {  # name, scene, filter and values
    "$here/build/bench/make_profile" "$VANTEL_HOME/p.cfg" "$3"
    "$here/build/vantel" "$folder/$2.avi" -p p -o "$folder/out.avi" -q
    ff -i "$folder/$2.avi" -i "$folder/out.avi" -filter_complex \
        "[0]select=eq(n\,4),pad=280:220:(ow-iw)/2:(oh-ih)/2:0x808080[a];[1]select=eq(n\,4),pad=280:220:(ow-iw)/2:(oh-ih)/2:0x808080[b];[a][b]hstack" \
        -frames:v 1 -update 1 -q:v 3 "$here/docs/pictures/$1.jpg"
}

picture noise noisy noise=256,2,72
picture temporal noisy temporal=256,3,72
picture blur clean blur=256,3,0,1024
picture sharpen soft sharpen=256,2,16,1024
picture color clean color=20,40,60,0,80,0
picture color_extended clean extended=0,0,0,0,0,0,40,60,0,0,0,0,-20,-40,60
picture clip clean clip=20,20,30,30
picture resize clean clip=0,0,0,0/160,120,1
picture border clean border=-20,-20,-20,-20
picture border_repeated clean border=24,24,24,24/0,1
