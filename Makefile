# The README's two commands: `make demo` (the main job) and `make test` (the whole suite).
# Both install what they need first through scripts/install-deps.

PRESET ?= ci
JOBS ?= $(shell nproc)
FORMAT_FILES = $(shell git ls-files -co --exclude-standard -- '*.cpp' '*.h' 2>/dev/null)

.PHONY: all deps configure build test ctest fuzz bench demo screenshots package format format-check clean

all: build

deps:
	@scripts/install-deps

configure: deps
	@cmake --preset $(PRESET) >/dev/null

build: configure
	cmake --build --preset $(PRESET) -j $(JOBS)

# The whole suite: formatting, the fuzzers, then every CTest test (sanitizer build), whose
# summary closes the run.
test: format-check build
	@$(MAKE) --no-print-directory fuzz
	ctest --preset $(PRESET) -j $(JOBS)

fuzz: deps
	@scripts/run-fuzzers

# The windows in English and German, rendered under Xvfb into docs/screenshots/.
screenshots: build
	@scripts/screenshots build

bench: deps
	@cmake --preset release >/dev/null
	cmake --build --preset release -j $(JOBS)
	@bench/run-all build-release

# The Debian package, from a release build of its own in build-pkg/ (packaging/build-package):
# build-pkg/faxolino_<version>_<arch>.deb.
package: deps
	@JOBS=$(JOBS) packaging/build-package

demo: deps
	@if [ -x scripts/demo ]; then scripts/demo; \
	else echo "make demo: the end-to-end demo arrives with the sending engine; see README.md"; fi

format:
	@clang-format -i $(FORMAT_FILES)

format-check:
	@command -v clang-format >/dev/null || scripts/install-deps
	@clang-format --dry-run --Werror $(FORMAT_FILES)
	@echo "format-check: $(words $(FORMAT_FILES)) files formatted"

clean:
	rm -rf build build-dev build-asan build-release build-fuzz build-pkg
