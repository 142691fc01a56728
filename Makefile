# Every target installs what is missing first, so each works on a fresh Debian 12 machine.
BUILD        ?= build
ASAN_BUILD   ?= build-asan
FUZZ_BUILD   ?= build-fuzz
JOBS         ?= 2
FUZZ_SECONDS ?= 600

.PHONY: all deps build build-asan test run bench fuzz format check-format demo clean install package screenshot \
        screenshots

all: build

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

build-asan: deps
	@cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQUORVANE_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_BUILD) -j $(JOBS)

# Format check, every test, every test again under AddressSanitizer and
# UndefinedBehaviorSanitizer, then a minute of fuzzing the WAV reader from its seeds.
test: deps
	@scripts/run-tests

# Fuzzes the WAV reader for FUZZ_SECONDS, going on from the corpus of earlier runs.
fuzz: deps
	@FUZZ_BUILD=$(FUZZ_BUILD) JOBS=$(JOBS) fuzz/run-fuzzer $(FUZZ_SECONDS)

demo: build
	@scripts/make-demo $(BUILD)/demo

run: demo
	@scripts/run-editor $(BUILD)

bench: build
	@scripts/run-benchmarks $(BUILD)

# The programs, the bus activation file, the desktop entry, the icon and the manual, under
# PREFIX (default /usr/local); DESTDIR is honoured.
PREFIX ?= /usr/local
install: build
	@cmake --install $(BUILD) --prefix $(PREFIX)

# A Debian package of the same files, in $(BUILD)/.
package: build
	@cd $(BUILD) && cpack -G DEB

# The editor on the demo project under a virtual display: $(BUILD)/screenshot.png.
screenshot: demo
	@scripts/screenshot $(BUILD)

# The window at three sizes and scales and every dialog: $(BUILD)/screenshots/.
screenshots: demo
	@scripts/screenshot-set $(BUILD)

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

check-format:
	@scripts/check-format

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
