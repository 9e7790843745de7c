#!/bin/sh
# Renders the icon sources src/images/svg/*.svg to src/images/*.png: needed after a change of a source only.
# Buttons show icons at 16 to 31 px, up to twice that on dense screens: 96 px scale down well to all of them.
set -eu

images=$(cd "$(dirname "$0")/../src/images" && pwd)
for source in "$images"/svg/*.svg; do
    name=$(basename "$source" .svg)
    case $name in
    korvo_player_loggo) size=256 ;;
    *) size=96 ;;
    esac
    rsvg-convert --width "$size" --height "$size" --output "$images/$name.png" "$source"
done
