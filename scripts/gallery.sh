#!/bin/sh
# Draws the whole gallery into docs/gallery: charts from the embedded tables, every look and every stock on the sample
# photographs, all rendered by the program itself. Needs a finished build; `cmake --build BUILD --target gallery` calls it.
#
#   scripts/gallery.sh [BUILD_DIR]          default: build/release
set -eu

cd "$(dirname "$0")/.."
build=${1:-build/release}
gallery=docs/gallery
tarnwell=${TARNWELL:-$build/tarnwell}
lookgallery=$build/tools/gallery/lookgallery
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for program in "$tarnwell" "$lookgallery" "$build/tools/lookmeter/lookreport"; do
    [ -x "$program" ] || { echo "gallery: '$program' is not built; run: cmake --build $build" >&2; exit 1; }
done
mkdir -p "$gallery"

echo "gallery: charts" >&2
"$lookgallery" charts "$gallery"
"$build/tools/lookmeter/lookreport" > "$gallery/metrics.md"

# A picture that ends in white is shown as it is; one that keeps the highlights of the scene through a gentle view.
view_of() {
    case $1 in
        "A Corvex Classic P0" | "Corvex A35 Modern" | "Corvex Look Standard" | "Off") echo "sRGB Gentle View" ;;
        *) echo "sRGB" ;;
    esac
}

# render IN OUT VIEW KEY=VALUE...: everything off but what is named.
render() {
    in=$1 out=$2 view=$3
    shift 3
    set -- --set detail=0 --set grainIntensity=0 --set halationIntensity=0 --set colorIntensity=1 "$@"
    "$tarnwell" render "$in" "$out" --to "$view" --quiet "$@"
}

# Labels of a menu, in the plug-in's order.
labels_of() {
    "$tarnwell" params | sed -n "/^$1 /,/^\$/p" | sed -n 's/^  *[0-9][0-9]*  *//p'
}

# sheet OUT COLUMNS CROP LIST: LIST holds lines "label<tab>file".
sheet() {
    out=$1 columns=$2 crop=$3 list=$4
    set --
    while IFS="$(printf '\t')" read -r label file; do set -- "$@" "$label" "$file"; done < "$list"
    "$lookgallery" contact "$out" "$columns" "$crop" "$@"
}

looks_on() {
    picture=$1
    : > "$work/list"
    labels_of colorProcess > "$work/looks"
    while IFS= read -r look; do
        file="$work/$picture-$(wc -l < "$work/list").png"
        render "samples/panorama_$picture.exr" "$file" "$(view_of "$look")" --set "colorProcess=$look"
        printf '%s\t%s\n' "$look" "$file" >> "$work/list"
    done < "$work/looks"
    sheet "$gallery/looks_$picture.jpg" 3 0,0,0,0,-2 "$work/list"
}

# Grain, halation and detail of every stock at full strength under one look, a part of the picture at 200 %.
stocks_on() {
    picture=$1 crop=$2
    : > "$work/list"
    labels_of negStock > "$work/stocks"
    while IFS= read -r stock; do
        file="$work/stock-$(wc -l < "$work/list").png"
        render "samples/panorama_$picture.exr" "$file" "sRGB Gentle View" --set "negStock=$stock" \
            --set "colorProcess=A Corvex Classic P0" --set grainIntensity=1 --set halationIntensity=1 --set detail=1
        printf '%s\t%s\n' "$stock" "$file" >> "$work/list"
    done < "$work/stocks"
    sheet "$gallery/stocks_$picture.jpg" 3 "$crop" "$work/list"
}

# The first picture of the README: a part of a photograph at 200 %, as it is and with the plug-in's defaults.
before_after() {
    picture=$1 crop=$2
    "$tarnwell" render "samples/panorama_$picture.exr" "$work/before.png" --quiet \
        --set grainIntensity=0 --set halationIntensity=0 --set colorIntensity=0
    "$tarnwell" render "samples/panorama_$picture.exr" "$work/after.png" --quiet
    printf 'Original\t%s\nTarnwell\t%s\n' "$work/before.png" "$work/after.png" > "$work/list"
    sheet docs/before-after.jpg 2 "$crop" "$work/list"
}

echo "gallery: before and after" >&2
before_after interior 488,90,250,200,2
echo "gallery: every look" >&2
looks_on sunrise
looks_on interior
echo "gallery: every stock" >&2
stocks_on interior 440,60,220,150,2
