#!/usr/bin/env bash
# Installs the Debian packages that the named groups need and that are missing; does nothing when all are there.
# Groups: build (library, program, examples), test (tests, fuzz targets, checks), bench (another program of the field to
# compare with), docs, coverage.
set -eu

wanted=()
reasons=()
for group in "$@"; do
    case $group in
    build)
        reasons+=("to compile")
        wanted+=(g++ cmake ninja-build ccache pkg-config libeigen3-dev libboost-dev zlib1g-dev libcli11-dev
            libfmt-dev libtomlplusplus-dev libcairo2-dev libpango1.0-dev fonts-dejavu-core libcpp-httplib-dev
            nlohmann-json3-dev)
        # Fetches what the console's page is made of; a hand-installed one will do.
        command -v npm >/dev/null || wanted+=(npm)
        ;;
    test)
        reasons+=("to test and check")
        wanted+=(g++ cmake ninja-build ccache pkg-config libeigen3-dev libboost-dev libgtest-dev libbenchmark-dev
            libgeographiclib-dev liberfa-dev locales clang-14 libclang-rt-14-dev clang-format-14 clang-tidy-14 python3 git faketime
            rtklib socat chromium fonts-inter)
        # For the console's page in a browser; a hand-installed one will do.
        command -v npm >/dev/null || wanted+=(npm)
        ;;
    bench)
        reasons+=("to compare the speed")
        wanted+=(rtklib time python3)
        ;;
    docs)
        reasons+=("to make the reference documentation")
        wanted+=(doxygen)
        ;;
    coverage)
        reasons+=("to measure coverage")
        wanted+=(gcovr)
        ;;
    *)
        echo "install-packages: no group '$group'" >&2
        exit 2
        ;;
    esac
done

missing=()
for package in "${wanted[@]}"; do
    # Both Debian's compilers and a hand-installed one will do.
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

why=$(IFS=,; echo "${reasons[*]}" | sed 's/,/ and /g')
echo "Installing, $why: ${missing[*]}"
if ! command -v apt-get >/dev/null; then
    echo "There is no apt-get here. Please install these packages (Debian 12 names): ${missing[*]}" >&2
    exit 1
fi
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Not root and no sudo. Please run as root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
if ! { "${as_root[@]}" apt-get update -q &&
    "${as_root[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "The packages could not be installed: ${missing[*]}" >&2
    exit 1
fi
