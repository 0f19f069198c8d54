#!/usr/bin/env bash
# How long a cover takes to be on screen: on a bare display, and with a compositor (picom).
set -euo pipefail
cd "$(dirname "$0")/.."
for number in $(seq 90 99); do [ -e "/tmp/.X11-unix/X$number" ] || break; done
export DISPLAY=":$number"
trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
Xvfb "$DISPLAY" -screen 0 1920x1080x24 -noreset >/dev/null 2>&1 &
for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$number" ] && break; sleep 0.1; done
openbox >/dev/null 2>&1 &
sleep 0.5
run() { "${VELMORA_BIN:-build/release/bin}/benchmarks" --benchmark_filter=Cover "$@"; }
echo "without a compositor"
run "$@"
picom --config /dev/null --backend xrender --no-vsync >/dev/null 2>&1 &
sleep 1
echo "with a compositor"
run "$@"
