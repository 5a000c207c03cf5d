#!/bin/bash
# Runs a compiler or linker with paths relative to the build tree: launch.sh SOURCE RELATIVE BUILD COMMAND...
# A PDB contains both command lines and must not contain a path of the building machine. LIBRARY_PATH adds some.
source=$1 relative=$2 build=$3
shift 3
set -- "${@//"$build/"/}"
exec env -u LIBRARY_PATH "${@//"$source/"/"$relative"}"
