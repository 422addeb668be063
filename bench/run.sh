#!/usr/bin/env bash
# Times full runs of msglint on generated managers of growing size.
#
#   bench/run.sh [options] [N ...]        (default N: 500 1000 2000 4000 8000)
#
#   --seed S       generator seed (default 1)
#   --runs R       runs per size; the table shows the median time (default 3)
#   --mode M       -f (default) or -s
#   --realistic    managers with catalogs like real grown ones
#                  (make_manager.py --realistic): far more to report
#   --identity     also run each size once with every query evaluated as
#                  written (build/tests/literal_msglint) and check that the
#                  standard output, var/test_msgs, ecl.xml and the exit status
#                  are the same bytes (slow on large sizes)
#   --keep         keep the scratch installations (their paths are printed)
#
# For each N it builds the project if needed, installs it into a scratch
# directory, writes a manager of N objects with make_manager.py (four
# languages, with the gaps of real catalogs) and runs `sbin/msglint big -f
# en ru fr de` R times under the no-sleep preload library (the fixed pause
# returns at once). It prints one table:
#   N, bytes of XML in etc/xml, the median wall time of a run, the time
#   libxml2 takes to parse once every XML file the run read (etc/xml and
#   the whole cache it left, checked files included), their ratio, the
#   growth of the run time from the previous N, the pnlctl runs (from the
#   panel's log), the peak RSS of the module's process and of the panel,
#   and which targets are met:
#     ratio <= 5 at N = 2000; growth <= 2.05 at every doubling up to
#     N = 8000; peak RSS of module and panel <= 4x the XML bytes at
#     N = 4000.
# and a second one of what the runs found in the catalogs
# (catalog_figures.py): the report's lines, the messages per language the
# repeated and unused audits read, their mean length, the shares reported
# unused and repeated, each language's untranslated share (missing or
# empty), the pnlctl runs and the functions they asked for.
# In full mode a last line per N gives the texts audit's share of the last
# run (its time, from the module's log).
# A third table is the findings page of each N (sbin/msglint-report
# --format html of the last run): its bytes and the median time of three
# renderings by headless Chromium (--dump-dom, from disk), with the ratio to
# the time of the example installation's page (tests/report/data); the
# targets: at most 8 MB at N = 1000, at most 3 times the example's time.
# Without /usr/bin/chromium (tools/setup.sh --tests) the table is left out.
# Every run stops the panels named kern (killall), so the script runs
# itself in a private PID namespace. The installations are made under
# $TMPDIR (default /tmp). A run removes and writes tens of thousands of
# cache files: on ext4 without a journal, creating a file scans past the
# recently deleted inodes and that kernel time grows faster than the
# manager, so TMPDIR=/dev/shm measures the program rather than the file
# system there.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"

if [ -z "${MSGLINT_BENCH_IN_NS:-}" ]; then
  export MSGLINT_BENCH_IN_NS=1
  exec unshare -p -f --mount-proc bash "$0" "$@"
fi

seed=1
runs=3
mode=-f
identity=0
keep=0
realistic=()
sizes=()
while [ $# -gt 0 ]; do
  case "$1" in
    --seed) seed="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --mode) mode="$2"; shift 2 ;;
    --identity) identity=1; shift ;;
    --keep) keep=1; shift ;;
    --realistic) realistic=(--realistic); shift ;;
    -h|--help) sed -n '2,50p' "$0"; exit 0 ;;
    *) sizes+=("$1"); shift ;;
  esac
done
[ ${#sizes[@]} -gt 0 ] || sizes=(500 1000 2000 4000 8000)

build="$here/build"
[ -d "$build" ] || cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target kern pnlctl msglint_launcher msglint_module nosleep \
  parse_files literal_msglint msglint_report >/dev/null
nosleep="$build/tests/libnosleep.so"
python=/usr/bin/python3

. "$here/tests/support/stop_panels.sh"

# Peak RSS in kB of the running panels (the largest).
panel_rss() {
  local pid best=0 kb
  for pid in var/run/*.pid; do
    [ -f "$pid" ] || continue
    kb="$(awk '/^VmHWM:/ { print $2 }' "/proc/$(cat "$pid")/status" 2>/dev/null || echo 0)"
    [ "${kb:-0}" -gt "$best" ] && best="$kb"
  done
  echo "$best"
}

median() { sort -g | awk '{ a[NR] = $1 } END { print a[int((NR + 1) / 2)] }'; }

table="$(mktemp)"
prev_time=""
prev_n=0
failed=0
printf '| N | XML in etc/xml | run | parse once | ratio | growth | pnlctl runs | module peak RSS | panel peak RSS | targets |\n' >"$table"
printf '|---|---|---|---|---|---|---|---|---|---|\n' >>"$table"
figures="$(mktemp)"
printf '| N | report lines | messages per language | mean length | unused | repeated | untranslated | pnlctl runs | functions |\n' >"$figures"
printf '|---|---|---|---|---|---|---|---|---|\n' >>"$figures"

# The median wall time of three renderings of the page at $1 by headless
# Chromium, from disk, until its DOM is dumped.
chromium=/usr/bin/chromium
render_time() {
  local r profile start end times=()
  for r in 1 2 3; do
    profile="$(mktemp -d)"
    start="$(date +%s.%N)"
    timeout 300 "$chromium" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
      --disable-background-networking --disable-component-update --disable-sync \
      --user-data-dir="$profile" --dump-dom "file://$1" >/dev/null 2>&1 || true
    end="$(date +%s.%N)"
    rm -rf "$profile"
    times+=("$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.2f", b - a }')")
  done
  printf '%s\n' "${times[@]}" | median
}

pages=""
example_render=""
if [ -x "$chromium" ]; then
  pages="$(mktemp)"
  example_page="$(mktemp --suffix=.html)"
  "$build/src/report/msglint-report" --format html "$here/tests/report/data/example_findings.json" \
    >"$example_page"
  example_render="$(render_time "$example_page")"
  rm -f "$example_page"
  printf '| N | page | render | example page | ratio | targets |\n' >"$pages"
  printf '|---|---|---|---|---|---|\n' >>"$pages"
fi

shares=()
for n in "${sizes[@]}"; do
  dir="$(mktemp -d "${TMPDIR:-/tmp}/msglint-bench-XXXXXX")"
  cmake --install "$build" --prefix "$dir" >/dev/null
  "$python" "$here/bench/make_manager.py" "$dir" big "$n" "$seed" ${realistic[@]+"${realistic[@]}"}
  ln -s kern "$dir/bin/big"
  cd "$dir"
  xml_bytes="$(cat etc/xml/*.xml | wc -c)"

  times=()
  module_kb=0
  panel_kb=0
  for r in $(seq "$runs"); do
    stop_panels
    rm -rf var/log
    status=0
    LD_PRELOAD="$nosleep" /usr/bin/time -f '%e %M' -o time.txt \
      sbin/msglint big "$mode" en ru fr de >report.txt 2>stderr.txt || status=$?
    read -r secs kb < <(tail -n 1 time.txt)
    times+=("$secs")
    [ "$kb" -gt "$module_kb" ] && module_kb="$kb"
    kb="$(panel_rss)"
    [ "$kb" -gt "$panel_kb" ] && panel_kb="$kb"
  done
  run_time="$(printf '%s\n' "${times[@]}" | median)"
  pnlctl_runs="$(grep -c 'request: func=' var/log/big.log || true)"
  sessions="$(grep -c 'request: func=session&\|request: func=actionlist&' var/log/big.log || true)"
  pnlctl_runs=$((pnlctl_runs - sessions))
  catalog="$("$python" "$here/bench/catalog_figures.py" . big report.txt en ru fr de)"
  # The texts audit's share of the last run, from the module's log.
  texts_ms="$(sed -n 's/.*texts audit: \([0-9]*\) ms.*/\1/p' var/log/msglint.log | tail -n 1)"
  if [ -n "$texts_ms" ]; then
    shares+=("N=$n: the texts audit took $texts_ms ms of the last run ($(awk -v t="$texts_ms" -v r="$secs" 'BEGIN { printf "%.1f", (r > 0 ? t / 10 / r : 0) }')%)")
  fi

  # Every XML file the run read: the installation's and the whole cache.
  parse="$(find etc/xml var/.xmlcache -name '*.xml' -type f | "$build/bench/parse_files")"
  parse_time="${parse%% *}"
  ratio="$(awk -v a="$run_time" -v b="$parse_time" 'BEGIN { printf "%.1f", (b > 0 ? a / b : 0) }')"
  growth=""
  [ -n "$prev_time" ] && growth="$(awk -v a="$run_time" -v b="$prev_time" 'BEGIN { printf "%.2f", a / b }')"

  targets=""
  if [ "$n" = 2000 ]; then
    ok="$(awk -v r="$ratio" 'BEGIN { print (r <= 5 ? "met" : "NOT met") }')"
    targets="ratio <= 5: $ok"
  fi
  if [ -n "$growth" ] && [ "$n" -le 8000 ] && [ "$n" = $((prev_n * 2)) ]; then
    ok="$(awk -v g="$growth" 'BEGIN { print (g <= 2.05 ? "met" : "NOT met") }')"
    targets="${targets:+$targets; }growth <= 2.05: $ok"
  fi
  if [ "$n" = 4000 ]; then
    ok="$(awk -v m="$module_kb" -v p="$panel_kb" -v x="$xml_bytes" \
      'BEGIN { print (m * 1024 <= 4 * x && p * 1024 <= 4 * x ? "met" : "NOT met") }')"
    targets="${targets:+$targets; }RSS <= 4x XML: $ok"
  fi

  if [ "$identity" = 1 ]; then
    stop_panels
    mkdir -p fast
    cp report.txt fast/stdout; cp var/test_msgs fast/test_msgs; cp ecl.xml fast/ecl.xml
    echo "$status" >fast/status
    lstatus=0
    LD_PRELOAD="$nosleep" "$build/tests/literal_msglint" big "$mode" en ru fr de \
      >literal_stdout.txt 2>/dev/null || lstatus=$?
    same=yes
    cmp -s fast/stdout literal_stdout.txt || same=no
    cmp -s fast/test_msgs var/test_msgs || same=no
    cmp -s fast/ecl.xml ecl.xml || same=no
    [ "$status" = "$lstatus" ] || same=no
    targets="$targets; identical to literal: $same"
    [ "$same" = yes ] || failed=1
  fi

  printf '| %s | %.1f MB | %.2f s | %.2f s | %s× | %s | %s | %d MB | %d MB | %s |\n' \
    "$n" "$(awk -v b="$xml_bytes" 'BEGIN { print b / 1e6 }')" "$run_time" "$parse_time" \
    "$ratio" "$growth" "$pnlctl_runs" $((module_kb / 1024)) $((panel_kb / 1024)) \
    "${targets#; }" >>"$table"
  printf '| %s | %s |\n' "$n" "$catalog" >>"$figures"
  if [ -n "$pages" ]; then
    sbin/msglint-report --format html >page.html
    page_bytes="$(wc -c <page.html)"
    page_render="$(render_time "$dir/page.html")"
    page_ratio="$(awk -v a="$page_render" -v b="$example_render" 'BEGIN { printf "%.1f", (b > 0 ? a / b : 0) }')"
    targets="render <= 3x example: $(awk -v r="$page_ratio" 'BEGIN { print (r <= 3 ? "met" : "NOT met") }')"
    if [ "$n" = 1000 ]; then
      targets="page <= 8 MB: $(awk -v b="$page_bytes" 'BEGIN { print (b <= 8e6 ? "met" : "NOT met") }'); $targets"
    fi
    printf '| %s | %.1f MB | %.2f s | %.2f s | %s× | %s |\n' "$n" \
      "$(awk -v b="$page_bytes" 'BEGIN { print b / 1e6 }')" "$page_render" "$example_render" \
      "$page_ratio" "$targets" >>"$pages"
  fi
  echo "N=$n done: run ${run_time}s, status $status, report $(wc -l <report.txt) lines ($dir)" >&2

  stop_panels
  cd /
  if [ "$keep" = 0 ]; then rm -rf "$dir"; fi
  prev_time="$run_time"
  prev_n="$n"
done

cat "$table"
echo
cat "$figures"
if [ -n "$pages" ]; then
  echo
  cat "$pages"
  rm -f "$pages"
fi
if [ ${#shares[@]} -gt 0 ]; then
  echo
  printf '%s\n' "${shares[@]}"
fi
rm -f "$table" "$figures"
exit "$failed"
