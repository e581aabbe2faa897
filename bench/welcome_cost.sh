#!/usr/bin/env bash
# bench/welcome_cost.sh BUILD_DIR
#
# The welcome window's start-up time and memory (see WelcomeBench.cpp), on a
# private virtual display. Takes about two minutes, one of them waiting.
set -euo pipefail
build=$(cd "$1" && pwd)
work=$(mktemp -d)
# Xvfb picks a free display and writes its number once it accepts clients.
Xvfb -displayfd 3 -nolisten tcp -screen 0 1024x768x24 3>"$work/display" >/dev/null 2>&1 &
xvfb=$!
trap 'kill "$xvfb" 2>/dev/null || true; rm -rf "$work"' EXIT
for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.1; done
DISPLAY=":$(head -n1 "$work/display")" "$build/bench/tarnwell_welcome_bench" "$build"
