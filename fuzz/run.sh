#!/usr/bin/env bash
# fuzz/run.sh [BUILD] [SECONDS]: runs every fuzz target built in BUILD/fuzz (default
# build-fuzz) for SECONDS (default 20) each, starting from its seed corpus in
# fuzz/corpus/<target> and the inputs earlier runs found (BUILD/fuzz-work/<target>/corpus;
# the checked-in corpus is never written). A crash, leak, sanitizer report or time-out
# fails the run and prints the report; the input that caused it is kept under
# BUILD/fuzz-work/<target>/artifacts. Leaks inside the system's codec libraries are
# suppressed (fuzz/lsan.supp).
set -euo pipefail
build=${1:-build-fuzz}
seconds=${2:-20}
here=$(cd "$(dirname "$0")" && pwd)
export ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
export LSAN_OPTIONS="suppressions=$here/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

status=0
found=0
for target in "$build"/fuzz/*_fuzz; do
  [ -x "$target" ] || continue
  found=1
  name=$(basename "$target")
  work="$build/fuzz-work/$name"
  mkdir -p "$work/corpus" "$work/artifacts"
  extra=()
  [ -f "$here/$name.dict" ] && extra+=("-dict=$here/$name.dict")
  seeds=()
  [ -d "$here/corpus/$name" ] && seeds+=("$here/corpus/$name")
  if "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
       -artifact_prefix="$work/artifacts/" "${extra[@]}" "$work/corpus" "${seeds[@]}" \
       > "$work/log" 2>&1; then
    echo "fuzz: $name: $(grep -o 'Done [0-9]* runs in [0-9]* second(s)' "$work/log" | tail -n 1)"
  else
    echo "fuzz: $name FAILED (inputs kept in $work/artifacts):"
    tail -n 60 "$work/log"
    status=1
  fi
done
if [ "$found" = 0 ]; then
  echo "fuzz: no fuzz targets in $build/fuzz" >&2
  exit 1
fi
exit $status
