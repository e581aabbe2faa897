#!/usr/bin/env bash
# bench/app_events_idle_cost.sh BUILD_DIR [SECONDS] [ROUNDS]
#
# Idle cost of watching other applications' windows: two tarnwell instances
# side by side on one private display with openbox and 20 xlogo windows, one
# monitoring XLogo (DidActivate on, so the window monitor runs) and one with
# no monitored application. CPU time of each round scaled to an hour; the
# median and range of the rounds, and their ratio.
set -euo pipefail

build=$(cd "$1" && pwd)
seconds=${2:-60}
rounds=${3:-3}
source "$(dirname "$0")/bench-session.sh"
start_display 1280x1024
DISPLAY="$display" openbox --sm-disable >/dev/null 2>&1 &
pids+=($!)
for _ in $(seq 20); do
    DISPLAY="$display" xlogo >/dev/null 2>&1 &
    pids+=($!)
done

# Each on a session bus of its own: a second tarnwell on one bus only asks the
# first to show its window, and exits.
start() {
    env $(throwaway_environment "$1") dbus-run-session -- "$build/src/tarnwell" >/dev/null 2>&1 &
    pids+=($!)
}
# The tarnwell process under a dbus-run-session.
program() { pgrep -P "$1" -x tarnwell; }
env $(throwaway_environment watching) "$build/src/tarnwell" settings applicationsAndUtilitiesToMonitoring \
    '[{"name":"Logo","ID":"XLogo","DidActivate":true}]' >/dev/null

start watching
watchingSession=${pids[-1]}
start plain
plainSession=${pids[-1]}
sleep 5  # start-up is not idle time
watching=$(program "$watchingSession")
plain=$(program "$plainSession")

hz=$(getconf CLK_TCK)
results=()
for round in $(seq "$rounds"); do
    w0=$(ticks "$watching") p0=$(ticks "$plain")
    sleep "$seconds"
    w1=$(ticks "$watching") p1=$(ticks "$plain")
    results+=("$((w1 - w0)) $((p1 - p0))")
done

printf '%s\n' "${results[@]}" | awk -v hz="$hz" -v s="$seconds" '
    { w[NR] = $1 / hz * 3600 / s; p[NR] = $2 / hz * 3600 / s }
    function median(a, n,   i, j, t) {
        for (i = 1; i <= n; i++) for (j = i + 1; j <= n; j++) if (a[j] < a[i]) { t = a[i]; a[i] = a[j]; a[j] = t }
        return n % 2 ? a[(n + 1) / 2] : (a[n / 2] + a[n / 2 + 1]) / 2
    }
    END {
        n = NR
        for (i = 1; i <= n; i++) { ws = ws sprintf(" %.2f", w[i]); ps = ps sprintf(" %.2f", p[i]) }
        mw = median(w, n); mp = median(p, n)
        printf "%-34s %s (CPU s/hour per round)\n", "without monitored applications", ps
        printf "%-34s %s\n", "monitoring XLogo, 20 windows", ws
        printf "median %.2f vs %.2f CPU s/hour, range %.2f-%.2f vs %.2f-%.2f; ", mw, mp, w[1], w[n], p[1], p[n]
        if (mp > 0) printf "ratio %.2fx\n", mw / mp; else print "ratio n/a (baseline used no tick)"
    }'
