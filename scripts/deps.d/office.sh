#!/usr/bin/env bash
# The office the workbook writer drives: printed only when no LibreOffice Calc
# is installed, so a machine's own office (any variant) is used as it is.
# The desktop build (libreoffice-core, not -nogui) is asked for because only it
# can give a hidden document the view that recorded macros select in; it still
# runs headless and shows nothing.
set -euo pipefail

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'
}

if installed libreoffice-calc || installed libreoffice-calc-nogui; then
  exit 0
fi
echo libreoffice-calc
echo libreoffice-core
