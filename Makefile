# Everything a fresh Debian machine needs: each target installs what is missing first.
JOBS ?= $(shell nproc)
RELEASE_DIR := build/release
TEST_DIR := build/asan
PREFIX ?= /usr/local
FUZZ_DIR := build/fuzz
FUZZ_SECONDS ?= 60

.PHONY: all deps build test demo bench fuzz clean install package

all: build

deps:
	@scripts/install-deps

build: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DPDFA_TESTS=OFF >/dev/null
	cmake --build $(RELEASE_DIR) -j $(JOBS)

# Every test, under AddressSanitizer and UndefinedBehaviorSanitizer. The out-of-memory tests run
# the release tool, as a sanitizer build cannot run under an address-space limit.
test: deps
	cmake -S . -B $(RELEASE_DIR) -DCMAKE_BUILD_TYPE=Release -DPDFA_TESTS=OFF >/dev/null
	cmake --build $(RELEASE_DIR) -j $(JOBS) --target PDFAnnotations
	cmake -S . -B $(TEST_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPDFA_SANITIZE=ON >/dev/null
	cmake --build $(TEST_DIR) -j $(JOBS)
	cd $(TEST_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  PDFA_PLAIN_TOOL=$(CURDIR)/$(RELEASE_DIR)/PDFAnnotations \
	  ctest --output-on-failure -j $(JOBS)

# Each libFuzzer target for FUZZ_SECONDS (clang; fuzz/run.sh says where findings go).
fuzz: deps
	@scripts/install-deps fuzz
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPDFA_FUZZ=ON \
	  -DPDFA_TESTS=OFF >/dev/null
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target fuzzers
	fuzz/run.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

# Installs the release build under PREFIX; DESTDIR, when given, is put before it.
install: build
	DESTDIR="$(DESTDIR)" cmake --install $(RELEASE_DIR) --prefix "$(PREFIX)"

# The Debian package of the release build (CPack), written to $(RELEASE_DIR).
package: build
	cd $(RELEASE_DIR) && cpack -G DEB

demo: build
	@scripts/demo $(RELEASE_DIR)

bench: build
	@scripts/bench $(RELEASE_DIR)

clean:
	rm -rf build
