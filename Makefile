# The everyday entry points over the CMake presets; `make help` lists them.
# Builds go to build/<preset>, two compile jobs at a time (JOBS=n for another number).

JOBS ?= 2
RELEASE := build/release
SECONDS ?= 60

.PHONY: help build debug asan fuzz demo test test-asan bench format clean deps-build deps-test

build: deps-build
	cmake --preset release
	cmake --build $(RELEASE) -j$(JOBS)

help:
	@echo "make [build]     the release build in $(RELEASE), internal checks on"
	@echo "make demo        build, then one C program through every tool"
	@echo "make test        build, then the whole net"
	@echo "make debug       no optimization, validators after every step"
	@echo "make asan        address and undefined-behaviour sanitizers (make test-asan runs the tests in it)"
	@echo "make fuzz        libFuzzer targets; each runs for SECONDS=$(SECONDS)"
	@echo "make bench       read and write beside LLVM, and the micro benchmarks"
	@echo "make format      clang-format over all sources"
	@echo "make clean       remove build/"

deps-build:
	@tools/install-deps.sh build

deps-test:
	@tools/install-deps.sh build test

debug: deps-test
	cmake --preset debug
	cmake --build build/debug -j$(JOBS)

asan: deps-test
	cmake --preset asan-ubsan
	cmake --build build/asan-ubsan -j$(JOBS)

fuzz: build
	@tools/install-deps.sh fuzz
	cmake --preset fuzz
	cmake --build build/fuzz -j$(JOBS)
	tests/fuzz/run.sh --bin $(RELEASE) --fuzz build/fuzz $(SECONDS)

demo: deps-build
	cmake --preset release
	cmake --build $(RELEASE) -j$(JOBS) --target nxopt nxparse nxrun nxdis nxas
	@examples/demo.sh $(RELEASE)

test: deps-test
	cmake --preset release
	cmake --build $(RELEASE) -j$(JOBS)
	cd $(RELEASE) && ctest --output-on-failure -j$(JOBS)

test-asan: asan
	cd build/asan-ubsan && ctest --output-on-failure -j$(JOBS)

bench: build
	@tools/install-deps.sh bench
	python3 bench/readwrite.py --bin $(RELEASE)
	if [ -x $(RELEASE)/bench/nxbench ]; then $(RELEASE)/bench/nxbench; fi

format:
	@tools/install-deps.sh format
	find src tools tests bench \( -name '*.cpp' -o -name '*.h' \) -print0 | xargs -0 clang-format-14 -i

clean:
	rm -rf build
