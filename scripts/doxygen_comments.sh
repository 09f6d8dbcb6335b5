#!/usr/bin/env bash
# Shows a header's ordinary comments to Doxygen as documentation: a // block above a declaration, and a // remark behind
# one. The first block of a file describes the file. A backslash of a comment is a backslash, not a command. Markdown
# passes as it is.
case $1 in
*.h) sed -E '/^[ \t]*\/\//s/\\/\\\\/g' "$1" | awk '
    NR == 1 && /^\/\// { print "/// @file"; infile = 1 }
    infile && !/^\/\// { infile = 0; print ""; }
    /^[ \t]*\/\/( |$)/ { sub(/\/\//, "///"); print; next }
    /[;,}{] *\/\/ / { sub(/ \/\/ /, " ///< "); print; next }
    { print }' ;;
*) cat "$1" ;;
esac
