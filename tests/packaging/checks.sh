# Sourced by the packaging checks: BUILD_DIR as $build, a throw-away folder as
# $scratch, and fail() that counts instead of stopping, so one run lists every fault.
set -uo pipefail
build=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
