#!/usr/bin/env bash
# The program given holds the whole core and nothing else; the shared libraries that it asks for must be
# those of the compiler and of the C library.
#
#     linked.sh PROGRAM
set -euo pipefail
faults=0
needed=$(readelf -d "$1" | sed -nE 's/.*\(NEEDED\).*\[(.*)\].*/\1/p')
if [[ -z $needed ]]; then
    echo "$1 : aucune bibliothèque partagée n'a été lue"
    exit 1
fi
for library in $needed; do
    case $library in
    libstdc++.so.* | libm.so.* | libgcc_s.so.* | libc.so.* | ld-linux*) ;;
    libasan.so.* | libubsan.so.*) ;; # of a build with sanitizers
    *)
        echo "le noyau demande $library : il ne doit lier que la bibliothèque standard"
        faults=1
        ;;
    esac
done
exit $faults
