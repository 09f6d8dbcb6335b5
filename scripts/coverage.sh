#!/usr/bin/env bash
# Line coverage of the library by the tests.
set -eu
cd "$(dirname "$0")/.."
scripts/quietly.sh cmake --preset coverage
scripts/quietly.sh cmake --build --preset coverage
scripts/quietly.sh ctest --preset coverage
gcovr --root . --filter gnss/ --filter host/ --html-details build/coverage/index.html --print-summary build/coverage
