#!/usr/bin/env bash
# Makes a transport stream to try the player with: a moving test card with a running time, and a tone.
# usage: make_sample_stream.sh FILE   (kept when it exists)
set -euo pipefail

file=$1
if [[ -s "$file" ]]; then
    echo "sample: $file exists"
    exit 0
fi
echo "sample: making $file"
mkdir -p "$(dirname "$file")"
ffmpeg -hide_banner -loglevel error -y \
    -f lavfi -i "testsrc2=size=1280x720:rate=25:duration=30" \
    -f lavfi -i "sine=frequency=440:sample_rate=48000:duration=30" \
    -c:v libx264 -preset veryfast -b:v 4M -maxrate 4M -bufsize 4M -g 50 -bf 3 -pix_fmt yuv420p \
    -c:a mp2 -b:a 192k -f mpegts "$file.part"
mv "$file.part" "$file"
