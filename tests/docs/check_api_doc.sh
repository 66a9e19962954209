#!/usr/bin/env bash
# docs/api.md lists exactly the functions of zeqj.h and zeqcore.h, under the
# same family headings and in the same order as the headers.
#   check_api_doc.sh docs/api.md include/zeqj.h include/zeqcore.h
set -euo pipefail
doc=$1 header=$2 core=$3

# Family headings (only those with functions) and function names, in order.
from_headers() {
  awk '
    /^\/\* ---- .* -+ \*\/$/ {
      title = $0; sub(/^\/\* ---- /, "", title); sub(/ -+ \*\/$/, "", title); printed = 0; next }
    /ZEQJ_API/ && !/^#/ {
      if (!printed) { print "## " title; printed = 1 }
      match($0, /(zeq[A-Za-z0-9_]*|ownGetNumThreads)\(/)
      print substr($0, RSTART, RLENGTH - 1) }
  ' "$header"
  echo "## Companion core (zeqcore.h)"
  grep -v '^#' "$core" | grep -oE '\b(zeq[A-Za-z0-9_]*|ownGetNumThreads)\(' | sed 's/($//'
}

from_doc() {
  awk '
    /^## / && seen { print }
    /^## Conventions/ { seen = 1 }
    /^\| `(zeq|own)[A-Za-z0-9_]*` \|/ { name = $2; gsub(/`/, "", name); print name }
  ' "$doc"
}

if ! diff <(from_headers) <(from_doc); then
  echo "$doc and the headers differ (< headers, > doc)"
  exit 1
fi
echo "$(from_headers | grep -vc '^## ') functions documented in the headers' order"
