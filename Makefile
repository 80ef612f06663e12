# Every target installs what is missing first, so a fresh Debian machine (or a Mac with
# Homebrew) needs nothing but `make`.
CMAKE ?= cmake
CTEST ?= ctest
FUZZ_SECONDS ?= 20
PREFIX ?= $(HOME)/.local

.PHONY: all deps build test asan libcxx fuzz bench demo tour tidy format clean release install uninstall package

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

# The core, the command line and the unit tests built with clang and LLVM's libc++, the
# standard library of macOS, which lacks features libstdc++ has: such a use fails here first.
libcxx: deps
	$(CMAKE) --preset libcxx
	$(CMAKE) --build --preset libcxx
	$(CTEST) --preset libcxx

fuzz: deps
	$(CMAKE) --preset fuzz
	$(CMAKE) --build --preset fuzz
	scripts/run-fuzzers build/fuzz $(FUZZ_SECONDS)

bench: deps
	$(CMAKE) --preset release
	$(CMAKE) --build --preset release
	scripts/run-benchmarks build/release

release: deps
	$(CMAKE) --preset release
	$(CMAKE) --build --preset release

# Into ~/.local unless PREFIX says otherwise. The files are staged and checked first, so a
# prefix that can't be written or holds another package's files is refused untouched.
install: release
	scripts/install-prefix build/release "$(PREFIX)"

uninstall:
	scripts/install-prefix --uninstall "$(PREFIX)"

# The Debian package of the release build, in build/release/package/.
package: release
	cd build/release && cpack -G DEB

# Makes a web app of the demo site in demo/site and opens it (under Xvfb without a display).
demo: build
	scripts/demo build/dev

# A tour of the command line on a scratch home folder.
tour: build
	scripts/tour build/dev

# Not part of `make test`: clang-tidy takes minutes over the whole tree.
tidy: build
	run-clang-tidy -p build/dev -quiet -extra-arg=-Wno-unknown-warning-option \
		"$(CURDIR)/(core|cli)/.*\.cpp$$"

format:
	git ls-files '*.cpp' '*.hpp' | xargs clang-format -i

clean:
	rm -rf build
