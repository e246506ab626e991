#!/usr/bin/env bash
# The source checks themselves: each planted fault must be found, and a clean tree must pass.
#
#     checks_catch.sh CHECKS_FOLDER
set -euo pipefail
checks=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
faults=0

# A small clean tree.
fresh() {
    rm -rf "${tree:?}"/*
    mkdir -p "$tree/src/platform" "$tree/src/store" "$tree/tests/data" "$tree/build"
    touch "$tree"/src/{platform,store}/README.md
    printf '#include <string>\n' >"$tree/src/platform/a.h"
    printf 'See [a](src/platform/README.md) and `src/*/a.h`.\n' >"$tree/README.md"
    printf '#include "platform/a.h"\n#include <sqlite3.h>\n' >"$tree/src/store/b.cpp"
    printf '#include <vector>\n' >"$tree/tests/c_test.cpp"
    printf '  "file": "%s",\n' "$tree/src/store/b.cpp" "$tree/tests/c_test.cpp" \
        >"$tree/build/compile_commands.json"
}

# expect OUTCOME TEXT CHECK [ARGUMENT...]: OUTCOME "passes" or "fails"; TEXT stands in what a failure says.
expect() {
    local outcome=$1 text=$2 said
    shift 2
    if said=$(bash "$checks/$1" "${@:2}" 2>&1); then
        [[ $outcome == passes ]] && return
        echo "$1 laisse passer : $text"
    else
        [[ $outcome == fails && $said == *"$text"* ]] && return
        echo "$1 ne dit pas « $text » mais : $said"
    fi
    faults=$((faults + 1))
}

fresh
expect passes "" includes.sh "$tree"
expect passes "" in_build.sh "$tree" "$tree/build"
expect passes "" leftovers.sh "$tree"
expect passes "" pages.sh "$tree"

while IFS='|' read -r file line text check; do
    fresh
    mkdir -p "$(dirname "$tree/$file")"
    printf '%b\n' "$line" >>"$tree/$file"
    expect fails "$text" "$check" "$tree" "$tree/build"
done <<'END'
src/platform/a.h|#include <unistd.h>|a.h:2: <unistd.h>|includes.sh
src/platform/a.h|  #  include <nlohmann/json.hpp>|a.h:2: <nlohmann/json.hpp>|includes.sh
src/platform/a.h|#include "store/b.cpp"|a.h:2: "store/b.cpp"|includes.sh
src/platform/a.h|#include "a.h"|a.h:2: "a.h"|includes.sh
src/store/b.cpp|#include <qpdf/QPDF.hh>|b.cpp:3: <qpdf/QPDF.hh>|includes.sh
src/store/b.cpp|#include <QString>|b.cpp:3: <QString>|includes.sh
src/stray.cpp||stray.cpp|in_build.sh
tests/new/d_test.cpp||d_test.cpp|in_build.sh
src/platform/a.h|// \x54ODO later|a.h:2:|leftovers.sh
tests/c_test.cpp|    \x47TEST_SKIP();|c_test.cpp:2:|leftovers.sh
tests/c_test.cpp|TEST(Ledger, \x44ISABLED_total)|c_test.cpp:2:|leftovers.sh
src/store/b.cpp|#\x69f 0|b.cpp:3:|leftovers.sh
README.md|See [b](src/b.md).|README.md:2:|pages.sh
src/store/README.md|See `src/store/*.h`.|README.md:1:|pages.sh
END

fresh
rm "$tree/src/store/README.md"
expect fails "src/store" includes.sh "$tree"
fresh
mkdir "$tree/src/other"
expect fails "src/other" includes.sh "$tree"

((faults == 0)) || exit 1
