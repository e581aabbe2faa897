#!/usr/bin/env bash
# bench/cleaning_vs_drop_caches.sh BUILD_DIR [CACHE_GIB] [RUNS]
#
# Memory freed by one `tarnwell clean` against what dropping the page cache
# frees, on a machine whose page cache holds most of RAM, with the time the
# cleaning takes. Each run fills the cache by reading a file of CACHE_GIB GiB
# (default: MemTotal less 2 GiB, so the cache holds most of RAM), cleans,
# fills it again and drops it (echo 3 > /proc/sys/vm/drop_caches, only where
# that is writable, as root; elsewhere the cache size before the cleaning is
# quoted as the ceiling). Prints each run, then the medians with their spread
# and the ratio cleaning / drop_caches. The file goes at the end.
#
# The cleaning is real: it allocates up to available memory less the reserve
# (the larger of 256 MiB and 5 % of MemTotal). Run it on a machine you may
# press that hard.
set -euo pipefail

build=$(cd "$1" && pwd)
runs=${3:-3}
kib() { awk -v key="$1:" '$1 == key { print $2 }' /proc/meminfo; }
total_gib=$(($(kib MemTotal) / 1048576))
cache_gib=${2:-$((total_gib - 2))}
file=$(mktemp "${TMPDIR:-/var/tmp}/tarnwell-cache.XXXXXX")
home=$(mktemp -d)
trap 'rm -f "$file"; rm -rf "$home"' EXIT

echo "MemTotal ${total_gib} GiB, cache file ${cache_gib} GiB, ${runs} runs"
dd if=/dev/zero of="$file" bs=1M count=$((cache_gib * 1024)) status=none
sync

fill_cache() { cat "$file" >/dev/null; }
now() { date +%s.%N; }
gib() { awk -v b="$1" 'BEGIN { printf "%.2f", b / 2^30 }'; }

can_drop=false
if [ -w /proc/sys/vm/drop_caches ]; then can_drop=true; fi

freed_clean=()
seconds_clean=()
freed_drop=()
for run in $(seq "$runs"); do
    fill_cache
    cached=$(($(kib Cached) * 1024))
    start=$(now)
    # A throw-away home: the cleaning statistics go nowhere.
    json=$(HOME="$home" XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" \
        TARNWELL_EVENTS_URL=http://127.0.0.1:9/events "$build/src/tarnwell" clean --json)
    end=$(now)
    freed=$(sed -n 's/.*"freedBytes":\([0-9]*\).*/\1/p' <<<"$json")
    block=$(sed -n 's/.*"blockBytes":\([0-9]*\).*/\1/p' <<<"$json")
    seconds=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.2f", b - a }')
    freed_clean+=("$freed")
    seconds_clean+=("$seconds")

    if $can_drop; then
        fill_cache
        sync
        before=$(($(kib MemFree) * 1024))
        echo 3 >/proc/sys/vm/drop_caches
        after=$(($(kib MemFree) * 1024))
        dropped=$((after - before))
    else
        dropped=$cached
    fi
    freed_drop+=("$dropped")
    echo "run $run: cache $(gib "$cached") GiB, block $(gib "${block:-0}") GiB," \
        "cleaning freed $(gib "$freed") GiB in $seconds s," \
        "$($can_drop && echo "drop_caches freed" || echo "ceiling (cache size)") $(gib "$dropped") GiB"
done

# Median, minimum and maximum of the arguments.
summary() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END {
    m = NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2
    printf "%s %s %s", m, v[1], v[NR] }'; }
read -r fc fc_min fc_max <<<"$(summary "${freed_clean[@]}")"
read -r sc sc_min sc_max <<<"$(summary "${seconds_clean[@]}")"
read -r fd fd_min fd_max <<<"$(summary "${freed_drop[@]}")"
ratios=()
for i in "${!freed_clean[@]}"; do
    ratios+=("$(awk -v a="${freed_clean[$i]}" -v b="${freed_drop[$i]}" 'BEGIN { printf "%.4f", a / b }')")
done
read -r r r_min r_max <<<"$(summary "${ratios[@]}")"
echo "cleaning freed  median $(gib "$fc") GiB ($(gib "$fc_min") .. $(gib "$fc_max"))"
echo "cleaning took   median $sc s ($sc_min .. $sc_max)"
echo "$($can_drop && echo "drop_caches freed" || echo "ceiling (cache)  ") median $(gib "$fd") GiB" \
    "($(gib "$fd_min") .. $(gib "$fd_max"))"
echo "ratio           median ${r}x ($r_min .. $r_max)"
