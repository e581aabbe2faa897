#!/usr/bin/env bash
# Shows Tarnwell's status item in a real panel on a virtual display and keeps
# two screenshots: the panel, and the panel with the item's menu open.
# A manual check of what the D-Bus tests cannot see (icon drawing, label
# placement, menu rendering); not part of the test suite.
#
#   scripts/smoke-status-item.sh [host|all] [tarnwell binary] [output folder]
#
# xfce-indicator: xfce4-panel with the Ayatana indicator plugin (shows the label);
# xfce-systray:   xfce4-panel's own tray (StatusNotifierItem, no label: drawn text);
# lxqt:           lxqt-panel's statusnotifier plugin (no label: drawn text);
# tint2:          a dark tint2 with an XEmbed tray only (the tray icon, white text).
# all:            each of them in turn, screenshots in one folder per host.
# SMOKE_ORDER=tarnwell-first starts Tarnwell before the panel, as at a login.
set -euo pipefail
cd "$(dirname "$0")/.."

hosts=(xfce-indicator xfce-systray lxqt tint2)
host=${1:-xfce-indicator}
tarnwell=$(realpath "${2:-build/debug/src/tarnwell}")
if [ "$host" = all ]; then
    base=$(realpath -m "${3:-build/smoke}")
    for each in "${hosts[@]}"; do "$0" "$each" "$tarnwell" "$base/$each"; done
    exit 0
fi
output=$(realpath -m "${3:-build/smoke-$host}")
panel_config="$PWD/tests/data/panels/$host"
[ -d "$panel_config" ] || { echo "unknown host '$host' (${hosts[*]} or all)" >&2; exit 2; }
[ -x "$tarnwell" ] || { echo "no executable at $tarnwell (build first)" >&2; exit 2; }
mkdir -p "$output"
scripts/install-deps.sh --panels

# A throw-away home, so nothing reaches the user's own settings or session.
home=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    rm -rf "$home"
}
trap cleanup EXIT
mkdir -p "$home/config" "$home/data" "$home/cache" "$home/runtime"
chmod 700 "$home/runtime"
cp -r "$panel_config/." "$home/config/"
chmod -R u+w "$home/config"
export HOME="$home" XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" \
    XDG_CACHE_HOME="$home/cache" XDG_RUNTIME_DIR="$home/runtime"
# Welcomed already: the screenshots are of the panel, not of the welcome window.
"$tarnwell" settings isWelcomeShown true >/dev/null
"$tarnwell" settings bundleBuild "$("$tarnwell" --version | sed -n 's/.*(\(.*\))$/\1/p')" >/dev/null
# tint2 announces its panel colour nowhere (no theme setting of its own): on a
# desktop its dark look would come with a dark GTK theme, here the setting says it.
[ "$host" = tint2 ] && "$tarnwell" settings statusBarAppearance 2 >/dev/null
case "$host" in
    lxqt) export XDG_CURRENT_DESKTOP=LXQt ;;
    xfce-*) export XDG_CURRENT_DESKTOP=XFCE ;;
    *) unset XDG_CURRENT_DESKTOP ;;
esac

# Xvfb picks a free display and reports it.
exec {display_fd}<> <(:)
Xvfb -displayfd "$display_fd" -nolisten tcp -screen 0 800x240x24 >/dev/null 2>&1 &
pids+=($!)
read -r -t 10 display <&"$display_fd"
export DISPLAY=":$display"

export SMOKE_HOST="$host" SMOKE_TARNWELL="$tarnwell" SMOKE_OUTPUT="$output" \
    SMOKE_ORDER="${SMOKE_ORDER:-panel-first}"
dbus-run-session -- bash -euo pipefail -c '
    pids=()
    trap "for pid in \${pids[@]}; do kill \$pid 2>/dev/null || true; done" EXIT
    wait_until() {  # seconds, command...
        local deadline=$((SECONDS + $1)); shift
        until "$@" >/dev/null 2>&1; do
            [ $SECONDS -lt $deadline ] || { echo "timed out waiting for: $*" >&2; return 1; }
            sleep 0.2
        done
    }
    watcher_has_items() {
        gdbus call --session --dest org.kde.StatusNotifierWatcher \
            --object-path /StatusNotifierWatcher \
            --method org.freedesktop.DBus.Properties.Get \
            org.kde.StatusNotifierWatcher RegisteredStatusNotifierItems | grep -q StatusNotifierItem
    }
    watcher_owned() {
        gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
            --method org.freedesktop.DBus.NameHasOwner org.kde.StatusNotifierWatcher | grep -q true
    }
    tray_owned() {  # an XEmbed tray manager owns the selection
        xprop -root -notype _NET_SUPPORTING_WM_CHECK >/dev/null &&
            [ -n "$(xdotool search --classname tint2 2>/dev/null)" ]
    }

    openbox >/dev/null 2>&1 & pids+=($!)
    start_tarnwell() { "$SMOKE_TARNWELL" >"$SMOKE_OUTPUT/tarnwell.log" 2>&1 & pids+=($!); }
    # At login Tarnwell often starts before the panel.
    [ "$SMOKE_ORDER" = tarnwell-first ] && start_tarnwell && sleep 2
    case "$SMOKE_HOST" in
        xfce-indicator)
            /usr/libexec/ayatana-indicator-application/ayatana-indicator-application-service \
                >/dev/null 2>&1 & pids+=($!)
            xfce4-panel >/dev/null 2>&1 & pids+=($!) ;;
        xfce-systray) xfce4-panel >/dev/null 2>&1 & pids+=($!) ;;
        lxqt) lxqt-panel >/dev/null 2>&1 & pids+=($!) ;;
        tint2) tint2 >/dev/null 2>&1 & pids+=($!) ;;
    esac
    if [ "$SMOKE_HOST" = tint2 ]; then
        wait_until 20 tray_owned
    else
        wait_until 20 watcher_owned
    fi

    [ "$SMOKE_ORDER" = tarnwell-first ] || start_tarnwell
    if [ "$SMOKE_HOST" != tint2 ]; then
        wait_until 20 watcher_has_items
    fi
    # The panel draws the item on its next frame.
    sleep 3
    import -window root "$SMOKE_OUTPUT/panel.png"

    # The item sits at the right end of the panel (tint2: its tray alone, at
    # the left). lxqt opens the menu on the secondary button; the others on
    # the primary one.
    button=1 x=780
    [ "$SMOKE_HOST" = lxqt ] && button=3
    [ "$SMOKE_HOST" = tint2 ] && x=16
    xdotool mousemove "$x" 16 click "$button"
    sleep 2
    import -window root "$SMOKE_OUTPUT/menu.png"
    xdotool key Escape
'
echo "screenshots in $output"
