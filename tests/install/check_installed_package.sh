#!/usr/bin/env bash
# Installs the build tree into a scratch prefix, then configures, builds and runs a small
# outside project against it through find_package(kt).
set -euo pipefail
build_dir=$1 consumer_dir=$2 work_dir=$3
rm -rf "$work_dir"
cmake --install "$build_dir" --prefix "$work_dir/prefix" > /dev/null
cmake -S "$consumer_dir" -B "$work_dir/build" -DCMAKE_PREFIX_PATH="$work_dir/prefix" > /dev/null
cmake --build "$work_dir/build" > /dev/null
"$work_dir/build/consumer"
