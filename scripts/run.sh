#!/usr/bin/env bash
# Installs what is missing, builds and starts the wizard on the sample contacts and the
# sample templates that lie beside the program. Arguments go to the program (a vCard file
# named there is the contact taken with "Übernehmen").
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh build
scripts/build.sh
bin="$PWD/build/bin"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "Keine Anzeige gefunden (weder DISPLAY noch WAYLAND_DISPLAY gesetzt)." >&2
  echo "Zettelwerk ist ein Programm mit Fenstern. Ohne Bildschirm starten Sie es so:" >&2
  echo "  apt-get install xvfb xauth && xvfb-run -a build/bin/zettelwerk" >&2
  if [ -x "$bin/zettelwerk-cli" ]; then
    echo >&2
    echo "Zur Probe nun eine vollständige Übertragung ohne Fenster: der Kontakt 'Schäfer' aus" >&2
    echo "den Beispielkontakten in die Vorlage Bsp-Brief.dotx." >&2
    if doc=$("$bin/zettelwerk-cli" --ordner 'Root\Beispielkontakte' --nachname 'Schäfer' \
               --vorlage "$bin/Bsp-Brief.dotx"); then
      echo "Das Dokument liegt hier: $doc"
      exit 0
    fi
    echo "Die Übertragung ist fehlgeschlagen (siehe oben)." >&2
    exit 1
  fi
  exit 2
fi
exec "$bin/zettelwerk" "$@"
