#!/usr/bin/env bash
# Shows Tarnwell's status item in a real panel on a virtual display and keeps
# two screenshots: the panel, and the panel with the item's menu open.
# A manual check of what the D-Bus tests cannot see (icon drawing, label
# placement, menu rendering); not part of the test suite.
#
#   scripts/smoke-status-item.sh [xfce-indicator|xfce-systray] [tarnwell binary] [output folder]
#
# xfce-indicator: xfce4-panel with the Ayatana indicator plugin (shows the label);
# xfce-systray:   xfce4-panel's own tray (icon and tool tip only).
set -euo pipefail
cd "$(dirname "$0")/.."

host=${1:-xfce-indicator}
tarnwell=$(realpath "${2:-build/debug/src/tarnwell}")
output=$(realpath -m "${3:-build/smoke-$host}")
panel_config="$PWD/tests/data/panels/$host"
[ -d "$panel_config" ] || { echo "unknown host '$host'" >&2; exit 2; }
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

# Xvfb picks a free display and reports it.
exec {display_fd}<> <(:)
Xvfb -displayfd "$display_fd" -nolisten tcp -screen 0 800x240x24 >/dev/null 2>&1 &
pids+=($!)
read -r -t 10 display <&"$display_fd"
export DISPLAY=":$display"

export SMOKE_HOST="$host" SMOKE_TARNWELL="$tarnwell" SMOKE_OUTPUT="$output"
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

    openbox >/dev/null 2>&1 & pids+=($!)
    if [ "$SMOKE_HOST" = xfce-indicator ]; then
        /usr/libexec/ayatana-indicator-application/ayatana-indicator-application-service \
            >/dev/null 2>&1 & pids+=($!)
    fi
    xfce4-panel >/dev/null 2>&1 & pids+=($!)
    wait_until 20 watcher_owned

    "$SMOKE_TARNWELL" >"$SMOKE_OUTPUT/tarnwell.log" 2>&1 & pids+=($!)
    wait_until 20 watcher_has_items
    # The panel draws the item on its next frame.
    sleep 2
    import -window root "$SMOKE_OUTPUT/panel.png"

    # The item sits at the right end of the panel; a primary click opens its menu.
    xdotool mousemove 788 16 click 1
    sleep 2
    import -window root "$SMOKE_OUTPUT/menu.png"
    xdotool key Escape
'
echo "screenshots in $output"
