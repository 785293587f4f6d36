#!/usr/bin/env bash
# Runs the libFuzzer targets for a while each (`make fuzz` calls it) and prints one summary line
# per target: seconds, inputs executed, coverage (libFuzzer's counters and features), corpus size
# at the end, findings (crashes, failed checks, leaks, timeouts, running out of memory) and slow
# inputs (over 10 s, not failures).
#   fuzz/run.sh BUILD_DIR SECONDS [TARGET...]
# New inputs go to BUILD_DIR/fuzz-work/<target> (the checked-in seeds stay as they are), findings
# to BUILD_DIR/fuzz-findings/<target>/, logs to BUILD_DIR/fuzz-logs/<target>.log. A finding is
# replayed with: BUILD_DIR/fuzz/fuzz_<target> FILE
set -uo pipefail

build=$(cd "$1" && pwd)
seconds=$2
shift 2
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then targets=(Settings parsePageRange TextTemplate LinkText Pdf); fi
here=$(cd "$(dirname "$0")" && pwd)
shared_corpus=${PDFA_CORPUS_DIR:-$here/../../shared/corpus}

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

status=0
printf '%-15s %8s %10s %14s %7s %9s %5s\n' target seconds executed cov/features corpus findings slow
for target in "${targets[@]}"; do
  work=$build/fuzz-work/$target
  findings=$build/fuzz-findings/$target
  log=$build/fuzz-logs/$target.log
  mkdir -p "$work" "$findings" "$(dirname "$log")"
  seeds=("$here/corpus/$target")
  # Fork mode goes on after a finding, so one slow input cannot end the run; every finding is
  # still written to the findings folder.
  options=(-fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 -timeout=30
           -rss_limit_mb=3072)
  case $target in
    Pdf)
      # Long enough for every seed, so none is cut short into a different file.
      options+=(-dict="$here/pdf.dict" -max_len=4194304)
      if [ -d "$shared_corpus" ]; then seeds+=("$shared_corpus"); fi
      ;;
    LinkText) options+=(-max_len=8192) ;;
    *) options+=(-max_len=4096) ;;
  esac
  before=$(find "$findings" -type f ! -name 'slow-unit-*' | wc -l)
  slow_before=$(find "$findings" -type f -name 'slow-unit-*' | wc -l)
  "$build/fuzz/fuzz_$target" "${options[@]}" -max_total_time="$seconds" \
    -artifact_prefix="$findings/" "$work" "${seeds[@]}" >"$log" 2>&1
  after=$(find "$findings" -type f ! -name 'slow-unit-*' | wc -l)
  slow_after=$(find "$findings" -type f -name 'slow-unit-*' | wc -l)
  # Fork mode reports "#<executed>: cov: <n> ft: <n> corp: <n> ..." as it goes.
  last=$(grep -E '^#[0-9]+: cov:' "$log" | tail -1)
  executed=$(sed -nE 's/^#([0-9]+):.*/\1/p' <<<"$last")
  coverage=$(sed -nE 's/.*cov: ([0-9]+) ft: ([0-9]+).*/\1\/\2/p' <<<"$last")
  corpus=$(sed -nE 's/.*corp: ([0-9]+).*/\1/p' <<<"$last")
  printf '%-15s %8s %10s %14s %7s %9s %5s\n' "$target" "$seconds" "${executed:-?}" \
    "${coverage:-?}" "${corpus:-?}" "$((after - before))" "$((slow_after - slow_before))"
  if [ "$after" -ne "$before" ]; then
    status=1
    grep -E '(ERROR|SUMMARY|check failed)' "$log" | sort | uniq -c | head -5
  fi
done
exit $status
