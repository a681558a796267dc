#!/usr/bin/env bash
# Line and branch coverage of the libraries, per folder, from an instrumented
# build in build-coverage/ (kept apart from build/). Runs every test once.
#   scripts/coverage.sh            configure, build, test, report
#   scripts/coverage.sh --report   report on the counts of the last run only
# Tests, benchmarks and generated (moc/autogen) sources are not counted.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$PWD
dir=build-coverage
jobs=${JOBS:-2}

test_rc=0
if [[ ${1:-} != --report ]]; then
  launcher=()
  command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZW_COVERAGE=ON "${launcher[@]}" >/dev/null || exit 1
  nice cmake --build "$dir" -j"$jobs" || exit 1
  # Counts add up across runs; start from zero.
  find "$dir" -name '*.gcda' -delete
  (cd "$dir" && nice ctest -j"$jobs" --output-on-failure) || test_rc=$?
fi

summary=$(mktemp)
trap 'rm -f "$summary"' EXIT
# Throw and compiler-made unreachable branches are left out: they say nothing
# about which of the program's own decisions the tests take. Counters of code run
# on several threads at once can come out negative in a build without atomic
# updates; such lines are passed over rather than failing the report.
nice gcovr --root "$root" --object-directory "$dir" -j "$jobs" --gcov-ignore-parse-errors \
  --filter 'util/' --filter 'contacts/' --filter 'document/' --filter 'app/' --filter 'cli/' \
  --exclude 'tests/' --exclude 'bench/' --exclude "$dir/" \
  --exclude-throw-branches --exclude-unreachable-branches \
  --json-summary "$summary" >/dev/null || exit 1

python3 - "$summary" <<'PY'
import json, sys
folders = ["util", "contacts", "document", "app", "cli"]
tot = {f: [0, 0, 0, 0] for f in folders}
for f in json.load(open(sys.argv[1]))["files"]:
    top = f["filename"].split("/")[0]
    if top in tot:
        t = tot[top]
        t[0] += f["line_covered"]; t[1] += f["line_total"]
        t[2] += f["branch_covered"]; t[3] += f["branch_total"]
def pct(a, b):
    return f"{100.0 * a / b:5.1f}%" if b else "    -"
print(f"{'folder':10} {'lines':>18} {'branches':>18}")
for name in folders:
    c, n, bc, bn = tot[name]
    print(f"{name + '/':10} {pct(c, n)} {c:5}/{n:<5}  {pct(bc, bn)} {bc:5}/{bn:<5}")
PY
exit "$test_rc"
