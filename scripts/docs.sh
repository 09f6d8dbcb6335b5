#!/usr/bin/env bash
# The reference documentation of the public headers; a warning fails the run.
set -eu
cd "$(dirname "$0")/.."
mkdir -p build/docs
doxygen docs/Doxyfile
echo "documentation: build/docs/html/index.html"
