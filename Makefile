# SPDX-License-Identifier: Apache-2.0
# Short commands around CMake. `make test` and `make demo` work on a fresh
# Debian 12 machine: missing packages are installed with apt-get first.

SHELL := /bin/bash
JOBS      ?= $(shell nproc)
BUILD     ?= build
ASAN_DIR  ?= build-asan
TSAN_DIR  ?= build-tsan
FUZZ_DIR  ?= build-fuzz
FUZZ_SECONDS ?= 60
COV_DIR   ?= build-cov
# Build-tree folders whose tests make coverage runs (the soak and the install check aside), e.g. COV_DIRS="tests/srl tests/plc".
COV_DIRS  ?= tests
SOAK_MINUTES ?= 30
# Extra CMake options for every configure, e.g. CMAKE_ARGS=-DSRCI_WERROR=ON (as .ci/run does).
CMAKE_ARGS ?=
FORMAT_FILES = $(shell git ls-files '*.cpp' '*.h' '*.hpp')

DEB_PACKAGES := cmake g++ make libgtest-dev libgmock-dev libbenchmark-dev \
                clang libclang-rt-14-dev procps liborocos-kdl-dev ccache \
                libcli11-dev nlohmann-json3-dev libcpp-httplib-dev tshark chromium \
                gnuplot-nox help2man gcovr pkg-config dpkg-dev file lintian fakeroot clang-format clang-tidy

.PHONY: all deps build test asan tsan fuzz fuzz-ci soak bench bench-cycle coverage demo package clean format format-check tidy

all: build

deps:
	@missing=""; for p in $(DEB_PACKAGES); do \
	  dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "installing missing Debian packages:$$missing"; \
	  if [ "$$(id -u)" = 0 ]; then SUDO=""; else SUDO=sudo; fi; \
	  $$SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq $$missing; \
	fi

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS) -LE soak

asan: deps
	cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DSRCI_SANITIZE=ON -DSRCI_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(ASAN_DIR) -j $(JOBS)
	cd $(ASAN_DIR) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS) -LE "no_sanitizer|soak"

# The threaded tests, the in-process adapter and the fault tests (a whole srci_server per fault).
tsan: deps
	cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DSRCI_TSAN=ON -DSRCI_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(TSAN_DIR) -j $(JOBS)
	cd $(TSAN_DIR) && ctest --output-on-failure -j $(JOBS) -L "tsan|faults"

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=Debug -DSRCI_FUZZ=ON -DSRCI_TESTS=OFF -DSRCI_BENCH=OFF
	cmake --build $(FUZZ_DIR) -j $(JOBS)

# Runs every fuzz target for FUZZ_SECONDS each; a finding fails the run. Each runs in a work
# folder of its own (the adapter's store writes srci.ini where it starts); paths are absolute.
fuzz-ci: fuzz
	@set -e; for f in $(CURDIR)/$(FUZZ_DIR)/fuzz/*/fuzz_*; do \
	  [ -x "$$f" ] || continue; name=$$(basename $$f); \
	  corpus=$(CURDIR)/fuzz/$$(basename $$(dirname $$f))/corpus; \
	  mkdir -p $(FUZZ_DIR)/corpus-$$name $(FUZZ_DIR)/work-$$name; \
	  echo "== $$name for $(FUZZ_SECONDS) s"; \
	  ( cd $(FUZZ_DIR)/work-$$name && exec $$f -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
	    -artifact_prefix=$(CURDIR)/$(FUZZ_DIR)/ $(CURDIR)/$(FUZZ_DIR)/corpus-$$name \
	    $$( [ -d $$corpus ] && echo $$corpus ) ) 2>&1 | tail -n 12; \
	  test $${PIPESTATUS[0]} -eq 0; \
	done

# Moves, tool writes and reconnects for SOAK_MINUTES; one CSV row a minute in $(BUILD)/soak.csv.
# Uses the process image keys: run it where no other adapter runs. Then the soak-labelled tests.
# SOAK_KILLS=no leaves out the 200-kill srci.ini test (CI: its 20-kill version runs in `make test`).
SOAK_KILLS ?= yes
soak: build
	$(BUILD)/tests/soak/srci_soak --minutes $(SOAK_MINUTES) --csv $(BUILD)/soak.csv
	@if [ "$(SOAK_KILLS)" = yes ]; then cd $(BUILD) && ctest -L soak --output-on-failure --no-tests=ignore; fi

bench: build
	@mkdir -p $(BUILD)/bench-results
	@for b in $(BUILD)/bench/*/bench_*; do [ -x "$$b" ] || continue; \
	  echo "== $$(basename $$b)"; $$b --benchmark_out=$(BUILD)/bench-results/$$(basename $$b).json --benchmark_out_format=json; done
	@echo "figures written to $(BUILD)/bench-results/"

# Which lines of the project's own code the tests run (tests, fuzz targets and benchmarks aside):
# $(COV_DIR)/coverage.json (per line) and a summary. Compare two runs with
# tools/coverage/covered_lines.py BEFORE.json AFTER.json.
coverage: deps
	cmake -S . -B $(COV_DIR) -DCMAKE_BUILD_TYPE=Debug -DSRCI_COVERAGE=ON -DSRCI_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(COV_DIR) -j $(JOBS)
	find $(COV_DIR) -name '*.gcda' -delete
	@set -e; for d in $(COV_DIRS); do echo "== tests in $$d"; \
	  ( cd $(COV_DIR)/$$d && ctest -j $(JOBS) -LE "soak|install" --output-on-failure ); done
	gcovr -r $(CURDIR) --object-directory $(COV_DIR) -j $(JOBS) --gcov-ignore-parse-errors \
	  --filter '$(CURDIR)/(srci|srl|srciport|zlog|qxutil|tools)/' \
	  --json $(COV_DIR)/coverage.json --print-summary

# Style: .clang-format. format rewrites the tracked sources, format-check only reports.
format:
	clang-format -i $(FORMAT_FILES)

format-check:
	clang-format --dry-run --Werror $(FORMAT_FILES)

# .clang-tidy's checks over the project's own sources (tests, fuzz targets and benchmarks aside).
tidy: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_EXPORT_COMPILE_COMMANDS=ON $(CMAKE_ARGS)
	run-clang-tidy -p $(BUILD) -quiet -j $(JOBS) '$(CURDIR)/(srci|srl|srciport|zlog|qxutil|tools)/.*\.cpp$$'

# The running adapter's 4 ms cycle against a bare usleep(4000) loop; see README "Cycle benchmark".
# BENCH_CYCLE_ARGS=--quick for a short run; the full run takes about 15 minutes.
BENCH_CYCLE_ARGS ?=
bench-cycle: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS) --target cycle_bench
	bench/cycle/run_bench_cycle.sh $(BUILD) $(BENCH_CYCLE_ARGS)

# Only the programs the demo runs, not every test and benchmark.
DEMO_TARGETS := srci_server pnio-sim srci-plc srciport-ctl
demo: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS) --target $(DEMO_TARGETS)
	tools/demo/run_demo.sh $(BUILD)

# Debian packages srci-server and srci-server-dev (CPack) in $(PKG_DIR), installed under /usr.
PKG_DIR ?= build-package
package: deps
	cmake -S . -B $(PKG_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr -DSRCI_TESTS=OFF -DSRCI_BENCH=OFF
	cmake --build $(PKG_DIR) -j $(JOBS)
	cd $(PKG_DIR) && cpack -G DEB
	@ls -l $(PKG_DIR)/*.deb

clean:
	rm -rf $(BUILD) $(ASAN_DIR) $(TSAN_DIR) $(FUZZ_DIR) $(PKG_DIR) $(COV_DIR)
