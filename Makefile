# A front end for people; everything real is in CMakePresets.json and scripts/.
#
#   make          build the tool and the tests: build/release/bin/flx
#   make demo     set up, build, run an example scene into build/demo
#   make test     set up, build, run every test
#   make help     the rest

JOBS   ?= $(shell nproc)
PREFIX ?= /usr/local

# Targets build in the order they are named even under -j; the parallel work happens inside ninja and ctest.
.NOTPARALLEL:
.PHONY: all help setup build demo test bench instructions compilers asan tsan format lint install clean

all: build

help:
	@echo 'make            build into build/release (tool: build/release/bin/flx)'
	@echo 'make setup      install the Debian packages that are missing (root or sudo)'
	@echo 'make demo       setup, build, simulate an example into build/demo'
	@echo 'make test       setup, build, run every test'
	@echo 'make bench      build and run the benchmarks, table in bench/results.md'
	@echo 'make instructions  hold the instructions per particle against bench/instructions/expected.txt'
	@echo 'make compilers  the same results from Clang as from GCC'
	@echo 'make asan tsan  build and test with sanitizers'
	@echo 'make format     reformat the sources; make lint checks them'
	@echo 'make install    PREFIX=$(PREFIX), DESTDIR is honoured'
	@echo 'make clean      remove build/'

setup:
	@scripts/setup

build:
	@command -v cmake ninja >/dev/null || { echo 'cmake or ninja is missing: run "make setup"' >&2; exit 1; }
	cmake --preset release
	cmake --build --preset release --parallel $(JOBS)

demo: setup build
	scripts/demo

test: setup build
	ctest --test-dir build/release --output-on-failure --parallel $(JOBS)

bench: setup
	cmake --preset bench
	cmake --build --preset bench --parallel $(JOBS)
	scripts/bench

instructions: setup
	cmake --preset release
	cmake --build --preset release --target flx_instructions --parallel $(JOBS)
	scripts/instructions

# What the compiler can have a hand in: the scenes' hashes, the tests of expressions, loops over particles and operators.
compilers: setup
	cmake --preset release
	cmake --build --preset release --target flx_cli --parallel $(JOBS)
	cmake --preset clang
	cmake --build --preset clang --target flx_cli test_host_expr test_core test_ops --parallel $(JOBS)
	scripts/compare-hashes build/release/bin/flx build/clang/bin/flx
	for test in host_expr core ops; do build/clang/bin/test_$$test --gtest_brief=1 || exit 1; done

# A sanitizer's shadow memory may clash with a randomised address space, so it is switched off where that is allowed.
asan tsan: setup
	cmake --preset $@
	scripts/no-aslr cmake --build --preset $@ --parallel $(JOBS)
	scripts/no-aslr ctest --test-dir build/$@ --output-on-failure --parallel $(JOBS)

format:
	find src tests bench -name '*.h' -print0 -o -name '*.cpp' -print0 | xargs -0r clang-format-14 -i

lint: setup
	cmake --preset release
	scripts/lint

install: build
	cmake --install build/release --prefix $(PREFIX)

clean:
	rm -rf build
