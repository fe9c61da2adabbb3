#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The whole chain on one machine: pnio-sim (the PROFINET I/O manager stand-in), srci_server with
# its simulated arm, and the srci-plc client running demo.srci. Usage: run_demo.sh [BUILD_DIR]
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
port=${SRCI_DEMO_PORT:-0}  # 0: pnio-sim picks a free port and says which one
work=$(mktemp -d /tmp/srci-demo-XXXXXX)
pnio=$build/tools/pnio_sim/pnio-sim
server=$build/srci/srci_server
plc=$build/tools/srci_plc/srci-plc

for bin in "$pnio" "$server" "$plc"; do
  [ -x "$bin" ] || { echo "missing $bin - run 'make build' first" >&2; exit 1; }
done

pids=()
stop_all() {
  for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
}
trap stop_all EXIT

echo "== working directory: $work"
echo "== starting pnio-sim"
(cd "$work" && exec "$pnio" --port "$port" --trace "$work/telegrams.pcapng" >"$work/pnio-sim.log" 2>&1) &
pids+=($!)
for _ in $(seq 100); do grep -q "listening on" "$work/pnio-sim.log" 2>/dev/null && break; sleep 0.1; done
port=$(sed -n 's/.*listening on [0-9.]*:\([0-9]*\).*/\1/p' "$work/pnio-sim.log" | head -1)
[ -n "$port" ] || { echo "pnio-sim did not start:" >&2; cat "$work/pnio-sim.log" >&2; exit 1; }
echo "   pnio-sim listens on 127.0.0.1:$port"

echo "== starting srci_server (attaches the process image, powers the arm)"
(cd "$work" && exec "$server" >"$work/srci_server.out" 2>&1) &
server_pid=$!
pids=("$server_pid" "${pids[@]}")

echo -n "== waiting for the adapter to answer"
for i in $(seq 60); do
  if "$plc" --port "$port" status >/dev/null 2>&1; then echo " ok"; break; fi
  kill -0 "$server_pid" 2>/dev/null || { echo; echo "srci_server ended; its output:"; tail -20 "$work/srci_server.out"; exit 1; }
  echo -n "."; sleep 0.5
  [ "$i" = 60 ] && { echo; echo "no answer after 30 s" >&2; exit 1; }
done

echo "== running the demo script $root/tools/demo/demo.srci"
status=0
"$plc" --port "$port" run "$root/tools/demo/demo.srci" || status=$?

echo "== stopping srci_server and pnio-sim"
stop_all
trap - EXIT
echo
echo "Results in $work:"
echo "  log/errorlog, log/rvodbg.log, log/bus   the adapter's logs (errorlog starts with the start banner)"
echo "  srci.ini                                 tools, frames, loads and dynamics kept across restarts"
echo "  srci_server.out, pnio-sim.log            what the two processes printed"
echo "  telegrams.pcapng                         every telegram both ways: srci-plc trace $work/telegrams.pcapng,"
echo "                                           or Wireshark with tools/wireshark/srci.lua (README, \"Tracing\")"
exit $status
