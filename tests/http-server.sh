#!/usr/bin/env bash
# The tests' web server: python3's http.server, bound to 127.0.0.1 on a port the
# system picks, serving one folder. Tests find the port in <state>.port.
#
#   http-server.sh start <folder> <state>   start; writes <state>.port and <state>.pid
#   http-server.sh stop <state>             stop the server that start left
set -euo pipefail

# Ends the server named in <state>.pid, if that process is still our server (a
# stale file may name a process id the system has given to another program).
stop_server() {
  local state=$1 pid
  [ -f "$state.pid" ] || return 0
  pid=$(cat "$state.pid")
  if tr '\0' ' ' <"/proc/$pid/cmdline" 2>/dev/null | grep -q 'http.server'; then
    kill "$pid" 2>/dev/null || true
    for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
  fi
  rm -f "$state.pid" "$state.port"
}

case "${1:-}" in
start)
  folder=$2
  state=$3
  stop_server "$state"
  mkdir -p "$folder"
  # Unbuffered, so the line with the port reaches the log at once; no output to
  # CTest's pipes, which would keep the test open as long as the server runs.
  python3 -u -m http.server --bind 127.0.0.1 --directory "$folder" 0 </dev/null >"$state.log" 2>&1 &
  echo $! >"$state.pid"
  for _ in $(seq 100); do
    port=$(sed -n 's/^Serving HTTP on .* port \([0-9][0-9]*\) .*/\1/p' "$state.log" | head -n 1)
    if [ -n "$port" ]; then
      echo "$port" >"$state.port"
      echo "http server for $folder on 127.0.0.1:$port"
      exit 0
    fi
    kill -0 "$(cat "$state.pid")" 2>/dev/null || break
    sleep 0.1
  done
  echo "the http server did not start:" >&2
  cat "$state.log" >&2
  stop_server "$state"
  exit 1
  ;;
stop)
  stop_server "$2"
  ;;
*)
  echo "usage: $0 start <folder> <state> | stop <state>" >&2
  exit 2
  ;;
esac
