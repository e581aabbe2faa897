#!/usr/bin/env bash
# Prints the share of test code: non-blank lines of the tracked sources under
# tests/ against those under src/, bench/ and scripts/.
set -euo pipefail
cd "$(dirname "$0")/.."
count() {
    git ls-files "$@" | grep -E '\.(cpp|cc|h|hpp|c|py|sh|in)$' | xargs -r cat | grep -cv '^\s*$'
}
tests=$(count tests)
code=$(count src bench scripts)
echo "tests: $tests lines, code: $code lines, share: $((100 * tests / code)) %"
