#!/usr/bin/env bash
# Formats C++ with clang-format and Python with black.
#   --check   changes nothing; exits with an error if a file would change, or a line of C++ or Python or a
#             comment elsewhere has more than 110 columns
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh black
cpp=(clang-format -i)
python=(black --quiet --line-length 110 --skip-magic-trailing-comma)
if [ "${1:-}" = --check ]; then
    cpp=(clang-format --dry-run --Werror)
    python+=(--check --diff)
    export LC_ALL=C.UTF-8 # columns are characters, not bytes
    long=$({
        git ls-files -z '*.cpp' '*.h' '*.hpp' '*.c' '*.py' | xargs -0 grep -nE '^.{111}'
        git ls-files -z '*.sh' '*.cmake' '*CMakeLists.txt' '*.js' '*.nsi' | xargs -0 grep -nE '^.{111}' |
            grep -E '^[^:]*:[0-9]*: *(//|#|;)'
    } || true)
    [ -z "$long" ] || { printf 'format.sh: more than 110 columns:\n%s\n' "$long" >&2; exit 1; }
fi
git ls-files -z '*.cpp' '*.h' '*.hpp' | xargs -0 "${cpp[@]}"
git ls-files -z '*.py' | xargs -0 "${python[@]}"
