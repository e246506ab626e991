#!/usr/bin/env bash
# Every source of src/ and every *_test.cpp on disk must be compiled by the build that runs this check: a
# test that nobody builds proves nothing.
#
# FOLDER is left out of this build on purpose, under src/ and under tests/.
#
#     in_build.sh SOURCE_ROOT BUILD_ROOT [FOLDER...]
set -euo pipefail
source_root=$1
commands=$2/compile_commands.json

if [[ ! -f $commands ]]; then
    echo "$commands manque : configurer avec CMAKE_EXPORT_COMPILE_COMMANDS"
    exit 1
fi
built=$(sed -nE 's/^ *"file": "(.*)",?$/\1/p' "$commands" | sort -u)
on_disk=$(
    find "$source_root/src" -name '*.cpp'
    find "$source_root/tests" -name '*_test.cpp'
)
for folder in "${@:3}"; do
    on_disk=$(grep -vF -e "$source_root/src/$folder/" -e "$source_root/tests/$folder/" <<<"$on_disk")
done
left_out=$(comm -13 <(echo "$built") <(sort -u <<<"$on_disk"))
if [[ -n $left_out ]]; then
    echo "Ces sources ne sont pas compilées ; les ajouter à un CMakeLists.txt ou les supprimer :"
    echo "$left_out"
    exit 1
fi
