# The commands that people type. Everything is built by CMake; see CMakePresets.json.
PREFIX ?= /usr/local
DESTDIR ?=

.PHONY: build demo test bench fuzz sanitize lint install package clean

build:            ## the program at build/release/corvystack
	@bash -c '. scripts/common.sh && scripts/install-deps build && build release'

demo:             ## build, then import examples/
	@scripts/demo

test:             ## build with warnings as errors, run all tests
	@scripts/test

bench:            ## all benchmarks; figures are kept in bench/RESULTS.md
	@scripts/bench

fuzz:             ## every fuzz target for FUZZ_SECONDS (60) each
	@scripts/fuzz

sanitize:         ## all tests under the address and undefined-behaviour sanitizers
	@bash -c '. scripts/common.sh && scripts/install-deps build test && build asan && \
	    ctest --preset asan -j "$$jobs"'

lint:             ## layout and static checks
	@scripts/lint

install: build    ## to PREFIX (/usr/local) below DESTDIR
	DESTDIR="$(DESTDIR)" cmake --install build/release --prefix "$(PREFIX)"

package:          ## Debian packages in build/release
	@bash -c '. scripts/common.sh && scripts/install-deps build package && build release && \
	    cd build/release && cpack'

clean:
	rm -rf build
