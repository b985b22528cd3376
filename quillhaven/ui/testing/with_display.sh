#!/usr/bin/env bash
# Runs a program of Qt's on a display of its own, with a window manager.
set -euo pipefail

folder=$(mktemp -d)
started=()
# Ends what this script started, and nothing else.
finish() {
  local process
  for process in "${started[@]}"; do
    kill "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
  rm -rf "$folder"
}
trap finish EXIT

# Xvfb writes the number of the display that it took once it serves it.
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp \
  3>"$folder/display" 2>"$folder/log" &
started+=($!)
read -r number <"$folder/display" || { cat "$folder/log" >&2; exit 1; }
export DISPLAY=:$number QT_QPA_PLATFORM=xcb
# A window that is shown before openbox looks after windows never becomes the
# active one.
mkfifo "$folder/managed"
openbox --startup "sh -c 'echo >$folder/managed'" >/dev/null 2>&1 &
started+=($!)
read -r -t 30 <"$folder/managed" || { echo "openbox does not start" >&2; exit 1; }
"$@"
