#!/usr/bin/env bash
# Measures thumbnails on a machine at rest: builds, then runs in alternation, medians at the end.
cd "$(dirname "$0")/.."
. scripts/common.sh
scripts/install-deps build bench
build release -DCORVY_BENCH=ON
# Functions are bound before the fork, as in the service.
LD_BIND_NOW=1 build/release/bench/image_bench --benchmark_min_time=0.5 \
    --benchmark_repetitions=7 --benchmark_enable_random_interleaving=true \
    --benchmark_report_aggregates_only=true "$@"
