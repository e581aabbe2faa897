#!/usr/bin/env bash
# Installs what is needed, builds everything and runs the whole test suite,
# then the core libraries' tests again under AddressSanitizer and UBSan.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

scripts/build.sh build/debug Debug
# The tests that start their own X server, panel or bus wait on real processes;
# on a loaded machine one can miss its deadline, so a failure is run once more
# before it counts (each run's output stays in the log).
(cd build/debug && ctest --output-on-failure --timeout 300 -j"$(nproc)" --repeat until-pass:2)

cmake -S . -B build/sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTARNWELL_SANITIZE=ON \
    -DTARNWELL_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/sanitize --parallel "$(nproc)" --target tarnwell_core_tests
(cd build/sanitize && ctest --output-on-failure --timeout 300 -j"$(nproc)" -L core)
