#!/usr/bin/env bash
# Runs a command; shows its output only when it fails.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
"$@" >"$log" 2>&1
status=$?
[ $status -eq 0 ] || cat "$log" >&2
exit $status
