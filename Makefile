# Every target installs what is missing first, so a fresh Debian machine (or a Mac with
# Homebrew) needs nothing but `make`.
CMAKE ?= cmake
CTEST ?= ctest
FUZZ_SECONDS ?= 20

.PHONY: all deps build test asan fuzz bench demo tidy format clean

all: build

deps:
	@scripts/install-deps

build: deps
	$(CMAKE) --preset dev
	$(CMAKE) --build --preset dev

test: build
	$(CTEST) --preset dev

asan: deps
	$(CMAKE) --preset asan
	$(CMAKE) --build --preset asan
	$(CTEST) --preset asan

fuzz: deps
	$(CMAKE) --preset fuzz
	$(CMAKE) --build --preset fuzz
	scripts/run-fuzzers build/fuzz $(FUZZ_SECONDS)

bench: deps
	$(CMAKE) --preset release
	$(CMAKE) --build --preset release
	scripts/run-benchmarks build/release

demo: build
	scripts/demo build/dev

# Not part of `make test`: clang-tidy takes minutes over the whole tree.
tidy: build
	run-clang-tidy -p build/dev -quiet -extra-arg=-Wno-unknown-warning-option \
		"$(CURDIR)/(core|cli)/.*\.cpp$$"

format:
	git ls-files '*.cpp' '*.hpp' | xargs clang-format -i

clean:
	rm -rf build
