# The words people type. Every target installs what it needs and is missing (Debian, root or sudo).
JOBS ?= $(shell nproc)
SECONDS ?= 60
OUT ?= demo
BENCH_FILTER ?= .

.PHONY: all demo test asan tsan windows bench fuzz faults valgrind package format style lint clean

all: build/release/build.ninja
	cmake --build --preset release -j $(JOBS)

# Configured anew only when something about the build itself changed.
build/release/build.ninja: CMakePresets.json
	scripts/setup
	cmake --preset release

# A synthetic street scene goes through encoder and decoder; INPUT=file takes a video of yours.
demo: build/release/build.ninja
	cmake --build --preset release -j $(JOBS) --target ztclient ztinside
	build/release/ztclient demo $(INPUT) --out $(OUT)

test: all
	ctest --preset release -j $(JOBS)

asan tsan:
	scripts/setup
	cmake --preset $@
	cmake --build --preset $@ -j $(JOBS)
	ctest --preset $@ -j $(JOBS) $(if $(filter tsan,$@),-L threads)

# The DLL for 64-bit Windows, cross-built, and its tests under Wine. Those compare with `all`.
windows: all
	scripts/setup windows
	JOBS=$(JOBS) scripts/windows-deps
	cmake --preset windows
	cmake --build --preset windows -j $(JOBS)
	ctest --preset windows -j $(JOBS)

# Prints the ratios to the peers; `make bench UPDATE=1` also writes them to docs/performance.md.
bench:
	scripts/setup bench
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	scripts/bench-table build/bench '$(BENCH_FILTER)' $(if $(UPDATE),docs/performance.md)

# Every target for SECONDS seconds each.
fuzz:
	scripts/setup fuzz
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	scripts/fuzz build/fuzz $(SECONDS)

# Memory fails: each call of the heap once in the library, POINTS of them in each command.
faults: all
	build/release/ztlib_allocation_tests --gtest_brief=1 --gtest_filter='FailingMemory.*'
	scripts/faults build/release $(POINTS)

# The tests of the library under Valgrind, with the kernels that every processor has.
valgrind: all
	scripts/setup valgrind
	scripts/valgrind build/release $(JOBS)

# For Debian and for Windows, into build/packages.
package: windows
	scripts/setup package
	rm -rf build/packages
	cmake --preset package
	cmake --build --preset package -j $(JOBS)
	cmake --build --preset package --target package
	cmake --build --preset windows --target package
	scripts/check-packages build/packages

format:
	scripts/setup style
	git ls-files '*.cpp' '*.h' '*.c' '*.inc' | xargs clang-format -i

style:
	scripts/setup style
	scripts/check-style

# With DEEP=1 by the analyser that follows paths through functions, which takes several times as long.
ANALYSER = -*,clang-analyzer-*
lint: build/release/build.ninja
	scripts/setup lint
	scripts/lint build/release $(JOBS) $(if $(DEEP),'$(ANALYSER)')

clean:
	rm -rf build $(OUT)
