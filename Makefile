# Set-up and everyday commands. `make run` and `make test` install what is
# missing first, so both work on a fresh Debian 12 machine.
BUILD_DIR ?= build
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 30
JOBS ?= $(shell nproc)
# A compiler cache speeds up rebuilds where one is installed; the build never needs it.
LAUNCHER := $(if $(shell command -v ccache),-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: deps configure build run test bench fuzz screens clean

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

clean:
	rm -rf $(BUILD_DIR) $(FUZZ_DIR)
