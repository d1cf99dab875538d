# The words people type. Every target installs what it needs and is missing (Debian, root or sudo).
JOBS ?= $(shell nproc)
SECONDS ?= 60
OUT ?= demo
BENCH_FILTER ?= .

.PHONY: all demo test asan tsan bench fuzz package format style lint clean

all: build/release/build.ninja
	cmake --build --preset release -j $(JOBS)

# Configured anew only when something about the build itself changed.
build/release/build.ninja: CMakePresets.json
	scripts/setup
	cmake --preset release

# A synthetic street scene goes through encoder and decoder; INPUT=file takes a video of yours.
demo: all
	build/release/ztclient demo $(INPUT) --out $(OUT)

test: all
	ctest --preset release -j $(JOBS)

asan tsan:
	scripts/setup
	cmake --preset $@
	cmake --build --preset $@ -j $(JOBS)
	ctest --preset $@ -j $(JOBS) $(if $(filter tsan,$@),-L threads)

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

package: all
	cmake --build --preset release --target package

format:
	scripts/setup style
	git ls-files '*.cpp' '*.h' '*.c' '*.inc' | xargs clang-format -i

style:
	scripts/setup style
	scripts/check-style

lint: all
	scripts/setup lint
	git ls-files 'main/*.cpp' 'client/*.cpp' | xargs -P $(JOBS) -n 4 clang-tidy -p build/release --quiet --extra-arg=-Wno-unknown-warning-option

clean:
	rm -rf build $(OUT)
