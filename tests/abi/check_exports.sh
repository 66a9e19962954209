#!/usr/bin/env bash
# The dynamic symbol table of libzeqj.so holds exactly the functions that
# zeqj.h declares: every declared function is exported and nothing else is.
set -euo pipefail
lib=$1 header=$2

declared=$(grep -oE '\b(zeq[a-zA-Z]*)_?[A-Za-z0-9_]*[[:space:]]*\(' "$header" |
           sed -E 's/[[:space:]]*\($//' | grep -E '^zeq' | sort -u)
exported=$(nm -D --defined-only "$lib" | awk '{print $NF}' | sed 's/@.*//' | sort -u)

missing=$(comm -23 <(echo "$declared") <(echo "$exported"))
extra=$(comm -13 <(echo "$declared") <(echo "$exported"))
status=0
if [ -n "$missing" ]; then echo "declared in $header but not exported:"; echo "$missing"; status=1; fi
if [ -n "$extra" ]; then echo "exported but not declared in $header:"; echo "$extra"; status=1; fi
[ $status -eq 0 ] && echo "$(echo "$declared" | wc -l) functions declared and exported"
exit $status
