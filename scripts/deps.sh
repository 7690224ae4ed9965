#!/usr/bin/env bash
# Installs the Debian packages that the build and the tests need, only those that are missing.
# With the argument fuzz, also what the fuzz build needs: clang and its libFuzzer runtime.
set -euo pipefail
wanted=(cmake g++ make pkg-config libgtest-dev libvterm-dev tmux python3 util-linux)
if [ "${1:-}" = fuzz ]; then
  wanted+=(clang libclang-rt-14-dev)
fi
missing=()
for p in "${wanted[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
