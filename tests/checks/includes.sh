#!/usr/bin/env bash
# Who may include what. The core (platform to control) knows the standard library and the folders before it
# in one order, so that the logic stays free of stores, files and windows; the adapters around it each know
# their own library. Prints every include that breaks a rule, with its file and line.
#
#     includes.sh SOURCE_ROOT
set -euo pipefail
cd "$1/src"

# The folders that the sources of a folder may include.
declare -A may_include=(
    [platform]="platform"
    [data]="platform data"
    [ledger]="platform data ledger"
    [drafts]="platform data ledger drafts"
    [launch]="platform data ledger drafts launch"
    [control]="platform data ledger drafts launch control"
    [files]="platform files"
    [output]="platform files output"
    [store]="platform data files store"
    [query]="platform data store query"
    [commands]="platform data ledger drafts launch files output store query commands"
    [records]="platform data store records"
    [fec]="platform data store records fec"
    [made_up]="platform data store records made_up"
    [host]="platform data ledger drafts launch control files output store query commands host"
    [window]="platform data ledger drafts launch control files output store commands host window"
)
core=" platform data ledger drafts launch control "

# The libraries, by the beginning of their headers, and the only folders that may know each.
libraries=(
    "sqlite3 store"
    "qpdf output"
    "libdeflate output"
    "hb output"
    "nlohmann records fec host"
)

faults=0
fault() {
    echo "$1"
    faults=$((faults + 1))
}

check_angle() {
    local folder=$1 header=$2 where=$3 entry name allowed
    # Headers of the C++ standard library, and no others, are lower-case words without ending or folder.
    [[ $header =~ ^[a-z_]+[0-9]*$ ]] && return
    if [[ $core == *" $folder "* ]]; then
        fault "$where: <$header> n'est pas de la bibliothèque standard ; le noyau n'inclut rien d'autre"
        return
    fi
    for entry in "${libraries[@]}"; do
        read -r name allowed <<<"$entry"
        if [[ $header == "$name"[./-]* && " $allowed " != *" $folder "* ]]; then
            fault "$where: <$header> ne s'inclut que dans : $allowed"
        fi
    done
    case $header in
    Q*) [[ $folder == window ]] || fault "$where: <$header> ; Qt ne s'inclut que dans src/window" ;;
    esac
}

check_quoted() {
    local folder=$1 header=$2 where=$3
    if [[ ! -f $header ]]; then
        fault "$where: \"$header\" ne part pas de src/ (écrire dossier/fichier.h)"
    elif [[ " ${may_include[$folder]} " != *" ${header%%/*} "* ]]; then
        fault "$where: \"$header\" ; src/$folder n'inclut que : ${may_include[$folder]}"
    fi
}

for folder in */; do
    folder=${folder%/}
    if [[ -z ${may_include[$folder]+known} ]]; then
        fault "src/$folder : dossier sans règle d'inclusion ; l'ajouter à tests/checks/includes.sh"
        continue
    fi
    [[ -f $folder/README.md ]] || fault "src/$folder : il manque README.md (rôle, inclusions, par où commencer)"
    while IFS=: read -r file line text; do
        where="src/$file:$line"
        if [[ $text =~ \<([^\>]+)\> ]]; then
            check_angle "$folder" "${BASH_REMATCH[1]}" "$where"
        elif [[ $text =~ \"([^\"]+)\" ]]; then
            check_quoted "$folder" "${BASH_REMATCH[1]}" "$where"
        else
            fault "$where: inclusion illisible : $text"
        fi
    done < <(grep -rnE --include='*.h' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include' "$folder" || true)
done

((faults == 0)) || exit 1
