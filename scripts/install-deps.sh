#!/usr/bin/env bash
# Installs the Debian packages of scripts/debian-packages.txt that are missing.
# Never removes anything. Uses sudo only when not root.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

wanted=$(grep -v -E '^\s*(#|$)' "$here/debian-packages.txt" | awk '{print $1}')
missing=()
for pkg in $wanted; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$pkg")
  fi
done

# Hook for optional extra sets (e.g. the office), each a script that prints package names.
for extra in "$here"/deps.d/*.sh; do
  [ -e "$extra" ] || continue
  while read -r pkg; do
    [ -n "$pkg" ] && missing+=("$pkg")
  done < <(bash "$extra")
done

[ ${#missing[@]} -eq 0 ] && exit 0

sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
echo "Installing missing packages: ${missing[*]}"
"${sudo_cmd[@]}" apt-get update
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
