#!/usr/bin/env bash
# scripts/coverage.sh [BUILD_DIR]: builds with gcov instrumentation, runs the
# whole suite and prints the line coverage of each folder under src/.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build/coverage}
scripts/install-deps.sh
command -v gcovr >/dev/null || {
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends gcovr
}
scripts/build.sh "$dir" Debug -DTARNWELL_COVERAGE=ON -DTARNWELL_BUILD_BENCHMARKS=OFF
find "$dir" -name '*.gcda' -delete
(cd "$dir" && ctest --timeout 300 -j"$(nproc)" >ctest.log 2>&1) || echo "(some tests failed: $dir/ctest.log)"
gcovr --root . --filter 'src/' --json-summary "$dir/coverage.json" "$dir" >/dev/null
python3 - "$dir/coverage.json" <<'PY'
import collections, json, sys
folders = collections.defaultdict(lambda: [0, 0])
for entry in json.load(open(sys.argv[1]))["files"]:
    parts = entry["filename"].split("/")
    folder = "/".join(parts[:2]) if len(parts) > 2 else parts[0]
    folders[folder][0] += entry["line_covered"]
    folders[folder][1] += entry["line_total"]
covered = total = 0
for folder, (c, t) in sorted(folders.items()):
    print(f"{folder:24} {100 * c / t:6.1f} %  {c:6}/{t}")
    covered, total = covered + c, total + t
print(f"{'all':24} {100 * covered / total:6.1f} %  {covered:6}/{total}")
PY
