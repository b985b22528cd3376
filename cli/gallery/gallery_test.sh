#!/usr/bin/env bash
# Has the gallery write its pictures and looks at what is there. Under a
# sanitizer it fails for what the windows, sheets and menus leave behind.
set -euo pipefail

program=$1
shift
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
  echo "gallery_test: $1" >&2
  exit 1
}

# Width and height, from a PNG file's header.
size() {
  od -An -j16 -N8 --endian=big -tu4 "$1" | xargs
}

"$program" gallery --screenshot "$folder/new/pictures"
for name in animating-text-field animating-text-field-fading \
  colored-background-view color-button-cell hyper-text-field \
  colored-popover-view palette images alert gallery "$@"; do
  for file in "$name" "$name-dark"; do
    [[ -s $folder/new/pictures/$file.png ]] || fail "$file.png is missing"
    read -r width height <<<"$(size "$folder/new/pictures/$file.png")"
    [[ $(size "$folder/new/pictures/$file@2x.png") == \
      "$((2 * width)) $((2 * height))" ]] || fail "$file@2x.png has not twice $file.png"
  done
done
cmp -s "$folder/new/pictures/alert.png" "$folder/new/pictures/alert-dark.png" &&
  fail "the dark alert looks like the light one"
cmp -s "$folder/new/pictures/animating-text-field.png" \
  "$folder/new/pictures/animating-text-field-fading.png" &&
  fail "the text does not fade"

if "$program" gallery --screenshot /proc/none 2>"$folder/log"; then
  fail "pictures in a folder that cannot be made"
fi
grep -qxF 'quillhaven: cannot write /proc/none' "$folder/log" ||
  fail "says: $(cat "$folder/log")"
if env -u DISPLAY -u WAYLAND_DISPLAY "$program" gallery 2>"$folder/log"; then
  fail "a gallery without a display"
fi
grep -qF 'no display' "$folder/log" || fail "says: $(cat "$folder/log")"
