#!/usr/bin/env bash
# Installs what is missing, builds and starts the program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh build
scripts/build.sh
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "Keine Anzeige gefunden (weder DISPLAY noch WAYLAND_DISPLAY gesetzt)." >&2
  echo "Zettelwerk ist ein Programm mit Fenstern. Ohne Bildschirm starten Sie es so:" >&2
  echo "  apt-get install xvfb xauth && xvfb-run -a build/bin/zettelwerk" >&2
  exit 2
fi
exec build/bin/zettelwerk "$@"
