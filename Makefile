# The commands that people type. Every target installs what it needs (on Debian, as root or with
# sudo).
JOBS ?= $(shell nproc)
SECONDS ?= 60
OUT ?= demo
BENCH_FILTER ?= .
ROUNDS ?= 9

.PHONY: all demo test asan tsan windows bench wall bench-windows fuzz faults valgrind coverage package wheel docs format style lint clean

all: build/release/build.ninja
	cmake --build --preset release -j $(JOBS)

# Only a change of the presets configures the build again here; ninja sees all other changes.
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

# Cross-builds the DLL for 64-bit Windows and runs its tests under Wine, which compare it with
# `all`.
windows: all
	scripts/setup windows
	JOBS=$(JOBS) scripts/windows-deps
	cmake --preset windows
	cmake --build --preset windows -j $(JOBS)
	ctest --preset windows -j $(JOBS)

# Prints the ratios to the peers; `make bench UPDATE=1` also writes them to docs/performance.md, with
# CLIP=video also for a real clip.
bench:
	scripts/setup bench
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	$(if $(CLIP),ZTLIB_BENCH_CLIP='$(CLIP)') scripts/bench-table build/bench '$(BENCH_FILTER)' \
	  $(ROUNDS) $(if $(UPDATE),docs/performance.md)

# What a wall of cameras costs, beside the peers; INPUT names clips instead of the drawn street.
wall:
	scripts/setup bench
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS) --target ztlib_wall
	build/bench/ztlib_wall $(if $(INPUT),--input $(INPUT))

# Compares the DLL under Wine with the library for this system.
bench-windows: windows
	cmake --build --preset release --target ztlib_systems
	cmake --build --preset windows --target ztlib_systems
	scripts/bench-systems build/release build/windows

# Runs every fuzz target for SECONDS seconds. KEEP=1 adds what it found to fuzz/corpus, and its
# executions to fuzz/LEDGER.md.
fuzz:
	scripts/setup fuzz
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	scripts/fuzz build/fuzz $(SECONDS)
	$(if $(KEEP),scripts/fuzz-keep build/fuzz)

# Lets each call of the heap fail once in the library, and POINTS of the calls in each command.
faults: all
	build/release/ztlib_allocation_tests --gtest_brief=1 --gtest_filter='FailingMemory.*'
	scripts/faults build/release $(POINTS)

# Runs the library's tests under Valgrind, with the kernels for every processor. FILTER chooses some
# of them, as GoogleTest names them.
valgrind: all
	scripts/setup valgrind
	scripts/valgrind build/release $(JOBS) '$(FILTER)'

# Compares what the tests and the corpora reach of the library with docs/uncovered.txt.
coverage:
	scripts/setup fuzz coverage
	cmake --preset coverage
	cmake --build --preset coverage -j $(JOBS)
	scripts/coverage build/coverage $(JOBS)

# Makes the packages for Debian and for Windows in build/packages.
package: windows
	scripts/setup package
	rm -rf build/packages
	cmake --preset package
	cmake --build --preset package -j $(JOBS)
	cmake --build --preset package --target package
	cmake --build --preset windows --target package
	scripts/check-packages build/packages

# Makes the wheel for Python in build/python, with Debian's interpreter.
wheel:
	scripts/setup python
	rm -rf build/python
	mkdir -p build/python
	cp -r bindings/python/pyproject.toml bindings/python/ztlib build/python
	cd build/python && /usr/bin/python3 -m build --no-isolation --wheel --outdir .

# Makes the pages of the headers and of docs/ in build/docs; a warning is an error.
docs:
	scripts/setup docs
	mkdir -p build/docs
	doxygen docs/Doxyfile

format:
	scripts/setup style
	git ls-files '*.cpp' '*.h' '*.hpp' '*.c' '*.inc' | xargs clang-format -i

style:
	scripts/setup style
	scripts/check-style

# DEEP=1 runs the analyser of paths through functions instead, which takes several times as long.
ANALYSER = -*,clang-analyzer-*
lint: build/release/build.ninja
	scripts/setup lint
	scripts/lint build/release $(JOBS) $(if $(DEEP),'$(ANALYSER)')

clean:
	rm -rf build $(OUT)
