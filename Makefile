# Everything a developer types. `make run` and `make test` set a fresh
# Debian 12 machine up from nothing.
JOBS ?= $(shell nproc)
BUILD ?= build
CMAKE_FLAGS ?=

DEMO_CONFIG := $(CURDIR)/examples/tessbus-demo.conf
DEMO_PROJECT := $(CURDIR)/examples/demo.vtlprj

FUZZ_SECONDS ?= 60

.PHONY: all deps build run test package test-asan test-tsan fuzz bench format clean

all: build

deps:
	@bash scripts/install-deps.sh

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

# Starts Vistrel on the simulated demo bus of the driver.
run: build
	cd examples && TESSBUS_CONFIG=$(DEMO_CONFIG) $(CURDIR)/$(BUILD)/bin/vistrel $(wildcard $(DEMO_PROJECT))

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The Debian package, $(BUILD)/vistrel_<version>_<arch>.deb.
package: build
	cmake --build $(BUILD) --target package

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer.
test-asan:
	@$(MAKE) --no-print-directory test BUILD=build-asan \
		CMAKE_FLAGS="-DVISTREL_SANITIZE=address,undefined -DVISTREL_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug"

# The tests where threads meet, under ThreadSanitizer.
test-tsan: deps
	cmake -S . -B build-tsan -DVISTREL_SANITIZE=thread -DVISTREL_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug
	cmake --build build-tsan -j $(JOBS) --target threads_tests
	cd build-tsan && ctest --output-on-failure -j $(JOBS) -L threads

# Every file reader under libFuzzer (clang-14, in a build of its own), each
# for FUZZ_SECONDS on its seeds in fuzz/corpus/; fails on any finding.
fuzz:
	@bash scripts/install-deps.sh clang-14 libclang-rt-14-dev
	cmake -S fuzz -B build-fuzz -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14
	cmake --build build-fuzz -j $(JOBS)
	bash fuzz/run.sh build-fuzz $(FUZZ_SECONDS)

bench: build
	cmake --build $(BUILD) --target bench

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h' '*.c')

clean:
	rm -rf build build-asan build-tsan build-fuzz
