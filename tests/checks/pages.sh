#!/usr/bin/env bash
# The pages for readers name only what exists: every link, and every path that stands as code.
#
#     pages.sh SOURCE_ROOT
set -euo pipefail
cd "$1"
faults=0

pages=()
for page in README.md docs/*.md src/*/README.md tests/README.md tests/*/README.md; do
    [[ -f $page ]] && pages+=("$page")
done

# A link is relative to its page, a path in the text to the root; a path may hold a star.
while IFS=: read -r page line found; do
    if [[ $found == "]("* ]]; then
        target=${found#"]("}
        target=$(dirname "$page")/${target%%[#)]*}
        [[ $found == "](http"* || -e $target ]] && continue
    else
        target=${found#\`}
        compgen -G "${target%\`}" >/dev/null && continue
    fi
    echo "$page:$line: $found ne mène à rien"
    faults=$((faults + 1))
done < <(grep -noHE '\]\([^)]+\)|`(src|apps|docs|tests|bench|scripts|cmake)/[^` ]+`' "${pages[@]}" || true)

((faults == 0)) || exit 1
