#!/usr/bin/env bash
# Installs what is needed, builds Tarnwell (Release) and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build/release Release -DTARNWELL_BUILD_TESTS=OFF -DTARNWELL_BUILD_BENCHMARKS=OFF
# In the tray on a desktop, in the terminal without a display.
exec build/release/src/tarnwell "$@"
