# shellcheck shell=bash
# Sets wine_entry, the words before a command of the chosen Wine, and the
# environment that Wine needs. Fails when no Wine has been chosen yet.
# Needs: root, the checkout. Sourced for every test program: keep it fast.

# shellcheck source=/dev/null
source "$root/build/dev/wine.conf" 2>/dev/null || return 1

# Empty where Wine is on PATH, which it is inside the private tree too.
wine_entry=()
if [[ -n $wine_tree && ! -e /usr/.tarvo-tree ]]; then
    wine_entry=("$root/tools/dev/enter-tree.sh" "$wine_tree")
fi

export WINEPREFIX=${WINEPREFIX:-$root/build/dev/prefix}
export WINEDEBUG=${WINEDEBUG:--all}
# No dialogs about Mono and Gecko; no entries in the desktop's own menus.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=;winemenubuilder.exe=d}
