#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (ASan + UBSan) in build-fuzz/ and runs each one for
# the given number of seconds, one after the other, starting from seed corpora made of the
# test data. Findings (crash-*, leak-*, timeout-*) land in build-fuzz/findings/<target>/.
# Usage: scripts/fuzz.sh <seconds per target> [target ...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:?Aufruf: scripts/fuzz.sh <Sekunden je Ziel> [Ziel ...]}
shift
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(fuzz_template fuzz_vcard fuzz_regedit fuzz_restrict)

build=build-fuzz
if [ ! -f "$build/build.ninja" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DZW_FUZZ=ON ${CMAKE_CXX_COMPILER_LAUNCHER:+-DCMAKE_CXX_COMPILER_LAUNCHER=$CMAKE_CXX_COMPILER_LAUNCHER} >/dev/null
fi
nice cmake --build "$build" -j2 --target "${targets[@]}"

# Seeds from the repository's own test material; the shared real-world vCards when present.
seeds="$build/seeds"
mkdir -p "$seeds"/{fuzz_template,fuzz_vcard,fuzz_regedit,fuzz_restrict}
for f in document/templates/*/word/document.xml tests/data/corpus/*/word/document.xml; do
  [ -f "$f" ] && cp "$f" "$seeds/fuzz_template/$(echo "$f" | tr '/' '_')"
done
for f in "$build"/bin/*.dotx tests/data/corpus/*.dotx tests/data/corpus/*.docx; do
  [ -f "$f" ] && cp "$f" "$seeds/fuzz_template/"
done
for f in contacts/samples/*.vcf ../shared/testdata/vcards/*.vcf ../shared/testdata/vcards/*/*.vcf; do
  [ -f "$f" ] && cp "$f" "$seeds/fuzz_vcard/"
done
printf '[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\r\n"DotCount"="1"\r\n"Dot1"="x|A=Firma (OF)"\r\n"StartCount"=dword:0000000a\r\n"Bin"=hex:01,02\r\n"Multi"=hex(1):41,00\r\n\r\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Sub]\r\n@="x"\r\n' \
  >"$seeds/fuzz_regedit/settings.reg"
printf 'REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software]\r\n"A"="a\\\\b\\"c"\r\n' >"$seeds/fuzz_regedit/escapes.reg"
i=0
for filter in "[LastName] = 'Müller'" "[FileAs] = \"A\" and not ([CompanyName] <> 'B' or [Firma 2] = 3)" \
  "[MessageClass] = 'IPM.Contact'" "[LastName] >= 'M' AND [FirstName] < 'Z'"; do
  printf '%s' "$filter" >"$seeds/fuzz_restrict/seed$((i++))"
done

status=0
for target in "${targets[@]}"; do
  corpus="$build/corpus/$target"
  findings="$build/findings/$target"
  mkdir -p "$corpus" "$findings"
  echo "== $target: $seconds s"
  # -rss_limit_mb keeps a runaway input a finding instead of a dead machine.
  if ! nice "$build/bin/$target" "$corpus" "$seeds/$target" -max_total_time="$seconds" \
      -rss_limit_mb=2048 -timeout=10 -max_len=262144 -print_final_stats=1 \
      -artifact_prefix="$findings/" 2>"$build/$target.log"; then
    status=1
    echo "   FUND: siehe $findings und $build/$target.log"
  fi
  grep -E "stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss_mb" \
    "$build/$target.log" | sed 's/^/   /' || true
done
exit $status
