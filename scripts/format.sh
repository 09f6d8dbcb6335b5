#!/usr/bin/env bash
# clang-format over the sources: --check reports what differs, --fix rewrites it.
set -eu
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files --cached --others --exclude-standard '*.h' '*.cpp' | while read -r f; do [ -e "$f" ] && echo "$f"; done)
case ${1:---check} in
--fix) clang-format-14 -i "${files[@]}" ;;
*) clang-format-14 --dry-run -Werror "${files[@]}" ;;
esac
