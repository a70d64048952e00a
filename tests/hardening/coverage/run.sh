#!/bin/sh
# Runs a fuzzer for KAVRIN_FUZZ_SECONDS: run.sh fuzzer folder-of-what-it-finds corpus
fuzzer=$1
found=$2
corpus=$3
dictionary=$corpus.dict
if [ -f "$dictionary" ]; then set -- -dict="$dictionary"; else set --; fi
exec "$fuzzer" "$@" -max_total_time="${KAVRIN_FUZZ_SECONDS:-10}" -max_len=4096 -timeout=20 \
  -rss_limit_mb=2048 -verbosity=1 -print_final_stats=1 -artifact_prefix="$found-failed-" \
  "$found" "$corpus"
