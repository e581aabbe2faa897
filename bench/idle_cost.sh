#!/usr/bin/env bash
# bench/idle_cost.sh BUILD_DIR [SECONDS] [xfce-indicator]
#
# Idle cost of the running tray application with its default 5-second
# refresh against a minimal Qt tray program, side by side on one private
# display and session bus: CPU time scaled to an hour, and resident memory.
# Both run in throw-away homes; tarnwell's figures come from the real /proc.
# With xfce-indicator, both sit in a real host (xfce4-panel with the Ayatana
# indicator plugin) that reads every label and icon change.
set -euo pipefail

if [ "${1:-}" != "--inside-session" ]; then
    build=$(cd "$1" && pwd)
    exec dbus-run-session -- "$0" --inside-session "$build" "${2:-60}" "${3:-}"
fi
build=$2
seconds=$3
host=$4
source "$(dirname "$0")/bench-session.sh"
start_display 1024x768

start() {
    local name=$1
    shift
    env $(throwaway_environment "$name") "$@" >/dev/null 2>&1 &
    pids+=($!)
}
# Resident KiB.
rss() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status"; }

# Welcomed already: the idle cost is the tray's, not the welcome window's.
welcomed() { env XDG_CONFIG_HOME="$work/tarnwell/config" "$build/src/tarnwell" settings "$@" >/dev/null; }
welcomed isWelcomeShown true
welcomed bundleBuild "$("$build/src/tarnwell" --version | sed -n 's/.*(\(.*\))$/\1/p')"
if [ "$host" = xfce-indicator ]; then
    panel_home="$work/panel"
    mkdir -p "$panel_home/config"
    cp -r "$(dirname "$0")/../tests/data/panels/xfce-indicator/." "$panel_home/config/"
    start panel-service /usr/libexec/ayatana-indicator-application/ayatana-indicator-application-service
    env HOME="$panel_home" XDG_CONFIG_HOME="$panel_home/config" DISPLAY="$display" \
        xfce4-panel >/dev/null 2>&1 &
    pids+=($!)
    for _ in $(seq 100); do
        gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
            --method org.freedesktop.DBus.NameHasOwner org.kde.StatusNotifierWatcher 2>/dev/null |
            grep -q true && break
        sleep 0.2
    done
fi

start tarnwell "$build/src/tarnwell"
app=${pids[-1]}
start minimal "$build/bench/tarnwell_minimal_tray"
base=${pids[-1]}
sleep 5  # start-up is not idle time
app0=$(ticks "$app") base0=$(ticks "$base")
sleep "$seconds"
app1=$(ticks "$app") base1=$(ticks "$base")

awk -v a=$((app1 - app0)) -v b=$((base1 - base0)) -v hz="$(getconf CLK_TCK)" -v s="$seconds" \
    -v ar="$(rss "$app")" -v br="$(rss "$base")" 'BEGIN {
    printf "%-16s %12s %9s\n", "program", "CPU s/hour", "RSS MiB"
    printf "%-16s %12.2f %9.1f\n", "minimal Qt tray", b / hz * 3600 / s, br / 1024
    printf "%-16s %12.2f %9.1f\n", "tarnwell", a / hz * 3600 / s, ar / 1024
    if (b > 0) printf "CPU ratio %.1fx, ", a / b; else printf "CPU ratio n/a (baseline used no tick), "
    printf "RSS ratio %.2fx\n", ar / br
}'
