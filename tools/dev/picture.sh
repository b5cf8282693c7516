#!/usr/bin/env bash
# picture.sh FILE.png: the please-wait window as a person sees it, on a desktop
# of its own on the display of ./dev picture.
set -euo pipefail
: "${WINEPREFIX:?"run ./dev picture"}"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)

"$root/tools/dev/wine-run.sh" explorer /desktop=picture,1280x1024 "$root/build/release/please_wait.exe" \
    "Lantern setup" "Please wait while the files of Lantern are copied..." 30 &
sleep 20 # the desktop comes first; 30 s leave time enough
import -window root -gravity center -crop 420x160+0+0 +repage "$1"
wait
