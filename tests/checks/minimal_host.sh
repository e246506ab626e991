#!/usr/bin/env bash
# The host that docs/embarquer.md shows prints the same ledger as the command does, byte for byte.
#
#     minimal_host.sh HOST COMMAND FEC
set -euo pipefail
host=$1 command=$2 fec=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

"$command" importer "$fec" --base "$folder/b.corv" --entite 001 --nom "DUPONT" >/dev/null
"$host" "$folder/b.corv" 001 "$folder/host.txt"
# The host's calendar stands on this day.
"$command" editer --base "$folder/b.corv" --entite 001 --date 31/01/2026 --sortie "$folder/command.txt"
cmp "$folder/host.txt" "$folder/command.txt"
