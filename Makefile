# Set-up and everyday commands. `make run` and `make test` install what is
# missing first, so both work on a fresh Debian 12 machine.
BUILD_DIR ?= build
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 30
TSAN_DIR ?= build-tsan
# Where `make install` puts the programs, the menu entry and the icon.
PREFIX ?= /usr/local
# The tests whose code runs on several threads, run again under ThreadSanitizer.
TSAN_TESTS ?= tst_integrity tst_membermapping tst_search tst_saving
# What runs of them: saving forks in most of its cases, which the race detector
# cannot follow, so only its threaded cases run (tests/CMakeLists.txt).
TSAN_RUN ?= tst_integrity tst_membermapping tst_search tst_saving_threads
# Kernels that randomise mappings more widely than the sanitizer expects make
# it stop at once; without address randomisation it runs anywhere it can.
TSAN_LAUNCH := $(shell setarch $$(uname -m) -R true 2>/dev/null && echo setarch $$(uname -m) -R)
JOBS ?= $(shell nproc)
# A compiler cache speeds up rebuilds where one is installed; the build never needs it.
LAUNCHER := $(if $(shell command -v ccache),-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: deps configure build run test bench fuzz tsan screens package install clean

deps:
	bash scripts/install-deps.sh

configure:
	@test -f $(BUILD_DIR)/build.ninja || cmake -S . -B $(BUILD_DIR) -G Ninja $(LAUNCHER)

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: deps build
	./$(BUILD_DIR)/quillarc

test: deps build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

screens: deps configure
	bash scripts/render-screens.sh $(BUILD_DIR)

bench: deps build
	bash scripts/run-benchmarks.sh $(BUILD_DIR)

fuzz: deps
	@test -f $(FUZZ_DIR)/build.ninja || CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -G Ninja \
	  -DQUILLARC_FUZZ=ON -DQUILLARC_TESTS=OFF -DQUILLARC_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target fuzz_all
	bash scripts/run-fuzzers.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

# A separate build with ThreadSanitizer: tests only, no benchmarks or fuzzers.
# Any report fails the run; tests/tsan.supp says what is left out and why.
tsan: deps
	@test -f $(TSAN_DIR)/build.ninja || cmake -S . -B $(TSAN_DIR) -G Ninja $(LAUNCHER) \
	  -DQUILLARC_TSAN=ON -DQUILLARC_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(TSAN_DIR) -j $(JOBS) --target $(TSAN_TESTS)
	cd $(TSAN_DIR) && QT_QPA_PLATFORM=offscreen \
	  TSAN_OPTIONS="halt_on_error=1 exitcode=66 second_deadlock_stack=1 suppressions=$(CURDIR)/tests/tsan.supp" \
	  $(TSAN_LAUNCH) ctest --output-on-failure -R "^($$(echo $(TSAN_RUN) | tr ' ' '|'))$$"

# The Debian package, built from the normal build folder: its files go under
# /usr whatever prefix the folder had, so the prefix set here costs no rebuild.
package: deps configure
	cmake -S . -B $(BUILD_DIR) -DCMAKE_INSTALL_PREFIX=/usr
	cmake --build $(BUILD_DIR) -j $(JOBS)
	cd $(BUILD_DIR) && cpack -G DEB
	@ls -1t $(CURDIR)/$(BUILD_DIR)/quillarc_*.deb | head -n 1

# The programs, the menu entry and the icon under PREFIX (sudo for system folders).
install: deps build
	cmake --install $(BUILD_DIR) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD_DIR) $(FUZZ_DIR) $(TSAN_DIR)
