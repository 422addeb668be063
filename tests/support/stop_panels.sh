# Shell function for scripts that run generated installations: stops the
# panels whose pid files are under var/run of the current directory and
# waits (up to 5 s each) until every one is gone. Source it, then call
# stop_panels.
stop_panels() {
  local pid
  for pid in var/run/*.pid; do
    [ -f "$pid" ] || continue
    pid="$(cat "$pid")"
    kill "$pid" 2>/dev/null || true
    for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
  done
}
