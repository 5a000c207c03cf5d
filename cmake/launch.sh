#!/bin/bash
# Runs a compiler or linker with paths relative to the build tree: launch.sh SOURCE RELATIVE BUILD COMMAND...
# A PDB contains both command lines. It must not contain a path of the building machine, which LIBRARY_PATH
# would add, nor SOURCE_DATE_EPOCH, which newer versions of clang add: the bytes would depend on the caller.
source=$1 relative=$2 build=$3
shift 3

command=()
for argument; do
    [[ $argument =~ ^(-[[:alnum:]_-]*=?)?(.*)$ ]]
    option=${BASH_REMATCH[1]} path=${BASH_REMATCH[2]}
    case $path in
    "$build"/*) path=${path#"$build/"} ;;
    "$source"/*) path=$relative${path#"$source/"} ;;
    esac
    command+=("$option$path")
done
exec env -u LIBRARY_PATH -u SOURCE_DATE_EPOCH "${command[@]}"
