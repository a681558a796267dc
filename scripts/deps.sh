#!/usr/bin/env bash
# Installs the Debian packages the build, the program and the tests need. Idempotent and
# quiet when everything is there. Usage: scripts/deps.sh [build|test|corpus|fuzz]
set -euo pipefail

# libreoffice-dev: the UNO base headers, libraries and cppumaker of the LibreOffice engine.
pkgs=(build-essential cmake ninja-build pkgconf qt6-base-dev libzip-dev libpugixml-dev
      zlib1g-dev fonts-dejavu-core qtkeychain-qt6-dev libreoffice-dev)
# Qt's German texts for standard buttons and file dialogs, read at run time.
pkgs+=(qt6-translations-l10n)
# LibreOffice Writer fills the older templates (and reads documents back in the tests). Either
# Writer will do (the GUI one shows documents live); the two exclude each other, and the UNO
# package above brings LibreOffice's core without Writer.
installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'; }
if ! installed libreoffice-writer && ! installed libreoffice-writer-nogui; then
  pkgs+=(libreoffice-writer-nogui)
fi
if [ "${1:-build}" = test ]; then
  # LibreOffice fills and reads back documents in the tests; pdftoppm (poppler) renders them
  # to pictures for a look by eye.
  pkgs+=(xvfb xauth poppler-utils)
  # The install test validates the desktop entry and the AppStream metainfo.
  pkgs+=(desktop-file-utils appstream)
  # The CardDAV tests start real servers; openssl makes the certificate nobody trusts.
  pkgs+=(radicale xandikos openssl)
fi
# The tools that made the outside templates of tests/data/corpus, to make them again.
[ "${1:-build}" = corpus ] && pkgs+=(python3-docx pandoc)
# scripts/fuzz.sh: clang with libFuzzer and the sanitizers' run-time.
[ "${1:-build}" = fuzz ] && pkgs+=(clang libclang-rt-14-dev)

missing=()
for p in "${pkgs[@]}"; do
  installed "$p" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installiere fehlende Pakete: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then sudo="sudo"; else
    echo "Fehlende Pakete, aber keine Root-Rechte: ${missing[*]}" >&2; exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get -o DPkg::Lock::Timeout=300 update -qq
$sudo apt-get -o DPkg::Lock::Timeout=300 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
