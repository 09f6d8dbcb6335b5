#!/usr/bin/env bash
# clang-tidy over the sources of library and host, or with --all over every source file that the dev preset compiles.
# With --quick without the static analyser (clang-analyzer-*), which takes half of the time.
# A file that has been found clean is not looked at again until it, a header, or the list of checks changes.
set -eu
cd "$(dirname "$0")/.."
[ -e build/dev/compile_commands.json ] || scripts/quietly.sh cmake --preset dev
clean=build/tidy
mkdir -p "$clean"
# The commands of the dev preset, without the one option of g++ that clang does not know.
sed 's/ -fno-gnu-unique//' build/dev/compile_commands.json >"$clean/compile_commands.json"
less=
which=some
for option in "$@"; do
    case $option in
    --all) which=all ;;
    --quick) less=,-clang-analyzer-* ;;
    esac
done
export less
if [ "$which" = all ]; then
    mapfile -t files < <(git ls-files 'gnss/*.cpp' 'host/*.cpp' 'tests/*.cpp' 'examples/*.cpp')
else
    mapfile -t files < <(git ls-files 'gnss/*.cpp' 'host/*.cpp')
fi
headers=$(cat <(echo "$less") .clang-tidy $(git ls-files '*.h') | sha256sum | cut -c1-16)
todo=()
for file in "${files[@]}"; do
    mark=$clean/$(cat "$file" <(echo "$headers") | sha256sum | cut -c1-16)
    [ -e "$mark" ] || todo+=("$file" "$mark")
done
# The marks are made by xargs' children, file by file, so that a run cut short is not lost.
[ ${#todo[@]} -eq 0 ] || printf '%s\0' "${todo[@]}" | xargs -0 -n 2 -P "$(nproc)" bash -c '
    log=$(clang-tidy-14 --quiet ${less:+--checks="$less"} -p build/tidy "$0" 2>&1) && touch "$1" || { echo "$log" | grep -v "warnings generated"; exit 1; }'
echo "clang-tidy: ${#files[@]} files clean"
