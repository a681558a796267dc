#!/usr/bin/env bash
# Installs what is missing, builds, runs each fuzz target for a short while under ASan/UBSan
# and then every test (ZW_FUZZ_SECONDS per target, default 60; 0 skips the fuzzing).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh test
scripts/build.sh
fuzz_seconds=${ZW_FUZZ_SECONDS:-60}
if [ "$fuzz_seconds" -gt 0 ]; then
  scripts/deps.sh fuzz
  scripts/fuzz.sh "$fuzz_seconds"
fi
# The tests last, so that their summary closes the output.
cd build
ctest --output-on-failure -j"$(nproc)"
