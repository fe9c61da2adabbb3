#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs cycle_bench in private IPC, network and mount namespaces (loopback up, private /dev/shm),
# so the fixed process-image keys, pnio-sim's port and the log channels never meet another run.
# Usage: run_bench_cycle.sh BUILD_DIR [cycle_bench run options]
set -euo pipefail
build=$1
shift
bench=$build/bench/cycle/cycle_bench
[ -x "$bench" ] || { echo "bench-cycle: $bench is missing; build first" >&2; exit 1; }
out=$(realpath -m "$build/bench-results")
mkdir -p "$out"
inner='ip link set lo up && mount -t tmpfs tmpfs /dev/shm && exec "$@"'
if [ "$(id -u)" = 0 ]; then
  exec unshare --ipc --net --mount --fork --kill-child -- bash -c "$inner" bench "$bench" run --out "$out" "$@"
fi
echo "bench-cycle: not root; trying an unprivileged user namespace (the scale run may be skipped)" >&2
exec unshare --user --map-root-user --ipc --net --mount --fork --kill-child -- bash -c "$inner" bench "$bench" run --out "$out" "$@"
