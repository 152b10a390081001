#!/bin/bash
# The picture filters beside what ffmpeg offers for the same job, on one clip and thread count in one run. A figure is
# the time (of a hundredth of a second at least) that a filter adds to a run without it (best of ROUNDS each), in milliseconds a frame. ffmpeg works on
# yuv422p (8 bits, less than half of our data) and on yuv444p16 (our precision).
# usage: bench/filters.sh [FOLDER]   ROUNDS, FRAMES, SIZES and THREADS can be set in the environment
set -eu
. "$(dirname "$0")/common.sh" "${1:-/dev/shm}"
rounds=${ROUNDS:-3}
frames=${FRAMES:-60}

# what it is for | profile of ours | peers
cases=(
    "noise r=1|noise=256,1,24|hqdn3d bilateral=sigmaS=1 removegrain=11:11:11 nlmeans=r=3:p=3"
    "noise r=2|noise=256,2,24|bilateral=sigmaS=2 nlmeans=r=5:p=3"
    "noise r=3|noise=256,3,24|bilateral=sigmaS=3 nlmeans=r=7:p=3"
    "temporal r=1|temporal=256,1,36|atadenoise=s=5"
    "temporal r=2|temporal=256,2,36|atadenoise=s=5"
    "temporal r=3|temporal=256,3,36|atadenoise=s=7"
    "sharpen r=1|sharpen=256,1,128,1024|unsharp=3:3:1:3:3:1"
    "sharpen r=2|sharpen=256,2,128,1024|unsharp=5:5:1:5:5:1"
    "sharpen r=3|sharpen=256,3,128,1024|unsharp=7:7:1:7:7:1"
    "blur r=1|blur=256,1,0,1024|avgblur=1 gblur=0.7"
    "blur r=2|blur=256,2,0,1024|avgblur=2 gblur=1.2"
    "blur r=3|blur=256,3,0,1024|avgblur=3 gblur=1.7"
    "resize to 640x360|clip=0,0,0,0/640,360,0|scale=640:360:flags=bilinear scale=640:360:flags=area"
    "resize to 1024x576|clip=0,0,0,0/1024,576,0|scale=1024:576:flags=bilinear scale=1024:576:flags=area"
    "colour|color=10,20,30,5,5,5|eq=brightness=0.04:contrast=1.1:gamma=1.1 colorlevels=rimax=0.9"
    "colour, no gamma|color=10,20,0,5,5,5|eq=brightness=0.04:contrast=1.1"
    "colour extended, YCbCr|extended=10,10,5,5,5,5|eq=brightness=0.04:contrast=1.1 colorlevels=rimax=0.9"
    "colour extended, RGB|extended=10,10,5,5,5,5,8,8,8,9,9,9,7,7,7|colorlevels=rimax=0.9"
    "crop|clip=32,32,32,32|crop=iw-64:ih-64:32:32"
    "border|border=-16,-16,-16,-16|pad=iw+32:ih+32:16:16"
    "border repeated|border=16,16,16,16/0,1|fillborders=16:16:16:16:smear"
)
ours() { best '%e' "$here/build/vantel" "$folder/clip.avi" -p "$1" -o "$folder/out.avi" -q; }
theirs() { best '%e' ffmpeg -nostdin -filter_threads "$threads" -threads 1 -i "$folder/clip.avi" -vf "$1" -f null -; }
added() { awk -v a="$1" -v b="${2:-0}" -v n="$frames" 'BEGIN {d = (b - a) * 1000 / n; floor = 10 / n; printf "%.2f", d < floor ? floor : d}'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.1f", b / a}'; }

for size in ${SIZES:-1280x720 1920x1080}; do
    "$here/build/bench/make_clip" "$folder/clip.avi" "${size%x*}" "${size#*x}" "$frames" 0 0
    for threads in ${THREADS:-1 2}; do
        printf '[system]\nwidth=1920\nheight=1088\nmultithread=%s\n' "$threads" >"$VANTEL_HOME/vantel.ini"
        "$here/build/bench/make_profile" "$VANTEL_HOME/none.cfg"
        plain=$(ours none)
        declare -A base
        for format in yuv422p yuv444p16; do base[$format]=$(theirs "format=$format"); done
        echo "== $size, $threads threads; ms a frame, and how many times the filter's own time"
        for row in "${cases[@]}"; do
            IFS='|' read -r name profile peers <<<"$row"
            "$here/build/bench/make_profile" "$VANTEL_HOME/p.cfg" "$profile"
            mine=$(added "$plain" "$(ours p)")
            printf '%-24s %7.2f' "$name" "$mine"
            for peer in $peers; do
                for format in yuv422p yuv444p16; do
                    time=$(theirs "format=$format,$peer" || true)
                    [ -n "$time" ] || { printf '   %s %s: cannot' "${peer%%=*}" "$format"; continue; }
                    time=$(added "${base[$format]}" "$time")
                    printf '   %s %s %.2f (%s)' "${peer%%=*}" "$format" "$time" "$(ratio "$mine" "$time")"
                done
            done
            echo
        done
    done
done
