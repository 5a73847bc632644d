# The two commands of the README, and what they are made of.
#   make demo   installs what is missing, builds, and runs the reference host's demo
#   make test   installs what is missing, builds, and runs every test
# make test-sanitize runs the suite again under AddressSanitizer and UBSan (build-asan/).

BUILD ?= build
ASAN_BUILD ?= build-asan
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps build demo test test-sanitize bench fuzz format clean

all: build

deps:
	@./scripts/install-deps

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS)

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	./$(BUILD)/vellum-host demo

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

$(ASAN_BUILD)/build.ninja: | deps
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVELL_SANITIZE=ON \
	    -DVELL_BENCH=OFF $(CMAKE_FLAGS)

test-sanitize: deps $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && ctest --output-on-failure -j $(JOBS)

bench: build
	for b in values xml soap; do ./$(BUILD)/bench/$${b}_bench --benchmark_min_time=2 || exit 1; done
	BUILD=$(BUILD) ./bench/soap_vs_php.sh

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
