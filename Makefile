# Entry points. Every target first runs tools/setup.sh, which installs missing Debian packages
# (idempotent; quick when nothing is missing).
#
#   make            build everything into build/ (programs in build/bin/)
#   make demo       the main job: build and run the client's tools on the sample inputs
#   make test       the test job: the ASan+UBSan build in build-asan/, CTest, fuzz regression
#   make tsan       the ThreadSanitizer build of the tests in build-tsan/
#   make bench      build and run the benchmarks (results in build-bench/results/), then the
#                   fetch and interpreter comparisons against curl and Debian's lua5.1
#   make fuzz       build the libFuzzer targets (clang) in build-fuzz/
#   make fuzz-run   run every fuzz target for FUZZ_SECONDS (default 300) each

SHELL := /bin/bash
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 300
CMAKE_GEN := -G Ninja

.PHONY: all setup build demo test test-asan tsan bench fuzz fuzz-run fuzz-smoke clean

all: build

setup:
	@tools/setup.sh

build: setup
	@cmake -S . -B build $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build build -j $(JOBS)

demo: build
	@tools/demo.sh build/bin

test: setup test-asan fuzz-smoke

test-asan:
	@cmake -S . -B build-asan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DKELO_SANITIZE=address \
	    -DKELO_BUILD_BENCH=OFF >/dev/null
	@cmake --build build-asan -j $(JOBS)
	@cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 \
	    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	    ctest --output-on-failure -j $(JOBS)

tsan: setup
	@cmake -S . -B build-tsan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DKELO_SANITIZE=thread \
	    -DKELO_BUILD_BENCH=OFF >/dev/null
	@cmake --build build-tsan -j $(JOBS)
	@cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=$(CURDIR)/tests/tsan.supp \
	    ctest --output-on-failure -j $(JOBS)

bench: setup
	@cmake -S . -B build-bench $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DKELO_BUILD_TESTS=OFF >/dev/null
	@cmake --build build-bench -j $(JOBS)
	@tools/run-benchmarks.sh build-bench/bin build-bench/results
	@tools/bench-fetch.sh build-bench/bin/kelotool
	@tools/bench-lua.sh build-bench/bin/kelo-lua 5

fuzz: setup
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	    -DKELO_SANITIZE=fuzz >/dev/null
	@cmake --build build-fuzz -j $(JOBS)

# Replays the seed corpora and fuzzes each target briefly: a regression check inside `make test`.
fuzz-smoke: fuzz
	@tools/run-fuzzers.sh build-fuzz/bin 10

fuzz-run: fuzz
	@tools/run-fuzzers.sh build-fuzz/bin $(FUZZ_SECONDS)

clean:
	rm -rf build build-asan build-tsan build-bench build-fuzz
