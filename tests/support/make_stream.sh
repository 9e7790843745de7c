#!/bin/bash
# Makes a transport stream whose pictures carry their number as a block pattern, and prints its path. A stream
# that was made before is taken from the cache.
#
#   make_stream.sh --tool PATTERN_STREAM --cache DIRECTORY [options]
#
#   --codec h264|hevc|mpeg2|none   video codec (h264)
#   --size WIDTHxHEIGHT            pixels (640x360)
#   --fps N                        pictures per second (25)
#   --gop N                        pictures per group, all closed (25)
#   --bframes N                    B pictures between references (2)
#   --bitrate RATE                 of the video, as ffmpeg writes it (1M)
#   --interlaced                   code as interlaced, top field first
#   --duration SECONDS             (5)
#   --first N                      number of the first picture (0)
#   --audio aac|mp2|mp3|ac3|eac3|opus|none   sound codec (none)
#   --tone HZ                      pitch of the sound, full scale / 8 (1000)
#   --start SECONDS                time stamp of the start, on top of the muxer's own 1.4 s (0)
#   --packet 188|192               bytes per packet (188)
#   --video-options "OPTIONS"      more options for the video encoder, as ffmpeg takes them
#   --mux-options "OPTIONS"        more options for the muxer
set -euo pipefail

codec=h264 size=640x360 fps=25 gop=25 bframes=2 bitrate=1M interlaced=0 duration=5 first=0
audio=none tone=1000 start=0 packet=188 tool='' cache=''
video_options='' mux_options=''

while [ $# -gt 0 ]; do
    case $1 in
    --interlaced) interlaced=1; shift; continue ;;
    --video-options) video_options=$2; shift 2; continue ;;
    --mux-options) mux_options=$2; shift 2; continue ;;
    --codec | --size | --fps | --gop | --bframes | --bitrate | --duration | --first | --audio | --tone | --start | \
        --packet | --tool | --cache) [ $# -ge 2 ] && printf -v "${1#--}" %s "$2" && shift 2 ;;
    *) echo "make_stream.sh: unknown option $1" >&2; exit 2 ;;
    esac
done
if [ -z "$tool" ] || [ -z "$cache" ]; then
    echo 'make_stream.sh: --tool and --cache are needed' >&2
    exit 2
fi

# p2: the second layout of the block pattern, told apart from streams of the first.
name=p2-$codec-$size-${fps}fps-gop$gop-b$bframes-$bitrate-i$interlaced-${duration}s-n$first-$audio-$tone-s$start-$packet
if [ -n "$video_options$mux_options" ]; then
    name=$name-$(printf '%s|%s' "$video_options" "$mux_options" | cksum | cut -d' ' -f1)
fi
stream=$cache/$name.ts
mkdir -p "$cache"
# Tests that run at once make a stream once.
exec 9>"$cache/$name.lock"
flock 9
if [ -s "$stream" ]; then
    echo "$stream"
    exit
fi

pictures=$(awk "BEGIN { print int($fps * $duration + 0.5) }")
inputs=() video=(-vn) sound=(-an)
flags=()
[ "$interlaced" = 1 ] && flags=(-flags +ildct+ilme -top 1)
rate=(-b:v "$bitrate" -maxrate "$bitrate" -bufsize "$bitrate" -g "$gop" -bf "$bframes")

case $codec in
h264) video=(-c:v libx264 -preset veryfast "${rate[@]}" -keyint_min "$gop" -sc_threshold 0 "${flags[@]}") ;;
hevc)
    video=(-c:v libx265 -preset superfast "${rate[@]}" -x265-params
        "keyint=$gop:min-keyint=$gop:bframes=$bframes:scenecut=0:open-gop=0:log-level=error") ;;
mpeg2) video=(-c:v mpeg2video "${rate[@]}" -bufsize:v 1835k -sc_threshold 1000000000 -flags +cgop "${flags[@]}") ;;
none) ;;
*) echo "make_stream.sh: unknown codec $codec" >&2; exit 2 ;;
esac
if [ "$codec" != none ]; then
    inputs+=(-f rawvideo -pix_fmt yuv420p -s "$size" -r "$fps" -i -)
fi
if [ "$audio" != none ]; then
    case $audio in
    mp3) encoder=libmp3lame ;;
    opus) encoder=libopus ;;
    *) encoder=$audio ;;
    esac
    inputs+=(-f lavfi -i "sine=frequency=$tone:sample_rate=48000:duration=$duration")
    sound=(-c:a "$encoder" -b:a 128k -ac 2)
fi

read -ra more_video <<<"$video_options"
read -ra more_mux <<<"$mux_options"
m2ts=0
[ "$packet" = 192 ] && m2ts=1
part=$stream.part
encode() {
    ffmpeg -nostdin -loglevel error -y "${inputs[@]}" "${video[@]}" "${more_video[@]}" "${sound[@]}" "${more_mux[@]}" \
        -output_ts_offset "$start" -f mpegts -mpegts_m2ts_mode "$m2ts" "$part" >&2
}
if [ "$codec" = none ]; then
    encode
else
    "$tool" "${size%x*}" "${size#*x}" "$pictures" "$first" | encode
fi
mv "$part" "$stream"
echo "$stream"
