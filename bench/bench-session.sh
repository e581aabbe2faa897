# Sourced by the benchmarks that run tarnwell on an X display of their own: a
# throw-away work folder, the processes ended on exit, the private display and
# the environment of a tarnwell whose home lives in the work folder.
work=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true  # nothing may still be writing into $work
    rm -rf "$work"
}
trap cleanup EXIT

# start_display WIDTHxHEIGHT: an Xvfb on a free-looking number, in $display.
start_display() {
    display=":$((100 + RANDOM % 800))"
    Xvfb "$display" -nolisten tcp -screen 0 "$1x24" >/dev/null 2>&1 &
    pids+=($!)
    for _ in $(seq 50); do xdpyinfo -display "$display" >/dev/null 2>&1 && break; sleep 0.1; done
}

# throwaway_environment NAME: NAME=value words for env; the events go nowhere.
throwaway_environment() {
    local home="$work/$1"
    mkdir -p "$home/runtime" && chmod 700 "$home/runtime"
    echo HOME="$home" XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" \
        XDG_CACHE_HOME="$home/cache" XDG_RUNTIME_DIR="$home/runtime" DISPLAY="$display" \
        TARNWELL_EVENTS_URL="http://127.0.0.1:9/events"
}

# User plus system CPU ticks of a process.
ticks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }
