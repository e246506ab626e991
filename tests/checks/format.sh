#!/usr/bin/env bash
# Every source is as the formatter leaves it, so that a change shows what it changes and nothing else. Prints
# the files that are not, and how to mend them. Another version than 14 breaks lines elsewhere: it is passed over.
#
#     format.sh SOURCE_ROOT CLANG_FORMAT
set -euo pipefail
cd "$1"
formatter=$2

if ! "$formatter" --version | grep -q 'version 14\.'; then
    echo "pas de clang-format 14 : $("$formatter" --version)"
    exit 0
fi
mapfile -t sources < <(find src apps tests bench docs examples -name '*.cpp' -o -name '*.h' | sort)
if faults=$("$formatter" --dry-run -Werror "${sources[@]}" 2>&1); then
    exit 0
fi
sed -n 's/:[0-9]*:[0-9]*: error:.*//p' <<<"$faults" | sort -u
echo "à remettre en forme : $formatter -i FICHIER..."
exit 1
