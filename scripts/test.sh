#!/usr/bin/env bash
# Installs what is missing, builds and runs every test; then runs each fuzz target for a short
# while under ASan/UBSan (ZW_FUZZ_SECONDS per target, default 60; 0 skips the fuzzing).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh test
scripts/build.sh
(cd build && ctest --output-on-failure -j"$(nproc)")
fuzz_seconds=${ZW_FUZZ_SECONDS:-60}
if [ "$fuzz_seconds" -gt 0 ]; then
  scripts/deps.sh fuzz
  scripts/fuzz.sh "$fuzz_seconds"
fi
