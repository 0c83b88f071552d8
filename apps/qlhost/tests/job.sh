#!/usr/bin/env bash
# Runs jobs from JSON files: a good one whose summary stands alone on standard output, and wrong ones.
#
#   job.sh QLHOST
set -euo pipefail
host=$1
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT

"$host" generate clip --frames 3 --width 64 --height 36 >/dev/null
echo '{"clip": "clip", "out": "out", "rate": "25", "passes": 9, "json": true, "english": true}' >job.json
"$host" --job job.json --passes 1 >summary 2>/dev/null
grep -qx '{"clip":{"frames":3,"readable":3,"rate":"25".*"run":{"rendered":3,.*"files":\["out/memory.png",.*\]}' summary

# refuse JOB SENTENCE
refuse() {
    echo "$1" >job.json
    status=0
    "$host" --job job.json >/dev/null 2>error || status=$?
    [ "$status" = 2 ] && grep -qF -- "$2" error || { echo "$1: $status, $(cat error)"; exit 1; }
}
refuse '{"clip": "clip", "thread": 2}' "there is no key 'thread'"
refuse '{"clip": "clip", "threads": {"most": 2}}' "the key 'threads' needs"
refuse '{"clip": "clip", "threads": "many"}' "--threads: Value many"
refuse '{"clip": "mixed-media"}' "the one at 9"
refuse '{"clip": "clip",}' "not a JSON object: syntax error at 16"
refuse '{"rate": "25"}' "clip is required"
