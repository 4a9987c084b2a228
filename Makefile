# The commands of the project. Each installs what it lacks (scripts/bootstrap), configures and builds; see `make help`.
SHELL := /bin/bash
.SHELLFLAGS := -eu -o pipefail -c

# ccache is used where it is installed.
ccache := $(shell command -v ccache)
ifneq ($(ccache),)
export CMAKE_C_COMPILER_LAUNCHER ?= $(ccache)
export CMAKE_CXX_COMPILER_LAUNCHER ?= $(ccache)
endif
jobs := $(shell nproc)
FUZZ_SECONDS ?= 120
BENCH_ARGS ?=

.PHONY: help run test test-clang test-asan test-tsan test-windows fuzz build-bench bench docs format check-format

help: ## show this list
	@grep -hE '^[a-z-]+:.*##' $(MAKEFILE_LIST) | sed -E 's/^([a-z-]+):.*## /  make \1\t/' | expand -t 24

# What is built goes to standard error: standard output is qv's own.
run: ## run qv with ARGS="..."; without them convert, inspect and measure real recordings
	@scripts/bootstrap run >&2
	@test -f build/release/build.ninja || cmake --preset release -DQV_BUILD_TESTS=OFF >&2
	@cmake --build --preset release --target qv >&2
	@$(if $(ARGS),build/release/bin/qv $(ARGS),scripts/demo build/release/bin/qv)

test: ## build and run every native test
	scripts/bootstrap test
	cmake --preset release -DQV_BUILD_TESTS=ON
	cmake --build --preset release
	ctest --preset release -j $(jobs)

test-clang: ## the native tests, built with Clang
	scripts/bootstrap ci
	cmake --preset clang-release
	cmake --build --preset clang-release
	ctest --preset clang-release -j $(jobs)

test-asan: ## the native tests under AddressSanitizer and UndefinedBehaviorSanitizer
	scripts/bootstrap test
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan -j $(jobs)

test-tsan: ## the native tests under ThreadSanitizer
	scripts/bootstrap test
	cmake --preset tsan
	cmake --build --preset tsan
	ctest --preset tsan -j $(jobs)

test-windows: ## cross-build the DLL and run its tests under Wine
	scripts/bootstrap ci
	cmake --preset windows
	cmake --build --preset windows
	scripts/test-windows -j $(jobs)

fuzz: ## replay the kept corpora, then run all fuzz targets for FUZZ_SECONDS in total (120)
	scripts/bootstrap ci
	cmake --preset fuzz
	cmake --build --preset fuzz
	ctest --preset fuzz -j $(jobs)
	scripts/fuzz $(FUZZ_SECONDS)

build-bench: ## build the benchmarks
	scripts/bootstrap bench
	cmake --preset bench
	cmake --build --preset bench

bench: build-bench ## run the benchmarks; BENCH_ARGS go to each
	for program in build/bench/bin/bench_*; do $$program $(BENCH_ARGS); done

docs: ## build the reference to build/docs
	scripts/bootstrap ci
	scripts/build-docs

format: ## format the sources in place
	scripts/bootstrap ci
	scripts/format

check-format: ## fail when a source file is not formatted
	scripts/bootstrap ci
	scripts/format --check
